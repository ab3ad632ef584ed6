#include "camera_block.h"

#include <string>

namespace morva::host {
namespace {

using Bytes = std::vector<uint8_t>;

enum class Type : uint16_t {
  ascii = 2,
  short_ = 3,
  long_ = 4,
  rational = 5,
  undefined = 7,
  srational = 10
};

struct Entry {
  uint16_t tag;
  Type type;
  uint32_t count;
  Bytes value;
};

void put(Bytes& bytes, uint64_t number, int size) {
  for (int i = 0; i < size; ++i) bytes.push_back(static_cast<uint8_t>(number >> (8 * i)));
}

Entry whole_number(uint16_t tag, Type type, int64_t number) {
  Entry entry{tag, type, 1, {}};
  put(entry.value, static_cast<uint64_t>(number), type == Type::short_ ? 2 : 4);
  return entry;
}

Entry bytes_of(uint16_t tag, Type type, const std::string& text) {
  return {tag, type, static_cast<uint32_t>(text.size()), Bytes(text.begin(), text.end())};
}

Entry entry_of(const CameraField& field) {
  switch (field.tag.kind) {
    case CameraValue::text:
      return bytes_of(field.tag.tag, Type::ascii, field.text + '\0');
    case CameraValue::number:
      return whole_number(field.tag.tag, Type::short_, field.above);
    case CameraValue::ratio:
    case CameraValue::signed_ratio:
      break;
  }
  const bool is_signed = field.tag.kind == CameraValue::signed_ratio;
  Entry entry{field.tag.tag, is_signed ? Type::srational : Type::rational, 1, {}};
  put(entry.value, static_cast<uint64_t>(field.above), 4);
  put(entry.value, static_cast<uint64_t>(field.below), 4);
  return entry;
}

// In the order of their tags, as a directory wants them.
void insert(std::vector<Entry>& directory, Entry entry) {
  auto place = directory.begin();
  while (place != directory.end() && place->tag < entry.tag) ++place;
  directory.insert(place, std::move(entry));
}

constexpr std::size_t kHeaderBytes = 8;

std::size_t directory_bytes(const std::vector<Entry>& directory) {
  return 2 + 12 * directory.size() + 4;
}

// The directory at `at`, with the values that do not fit into it right behind.
void put_directory(Bytes& block, const std::vector<Entry>& directory) {
  std::size_t behind = block.size() + directory_bytes(directory);
  Bytes values;
  put(block, directory.size(), 2);
  for (const Entry& entry : directory) {
    put(block, entry.tag, 2);
    put(block, static_cast<uint16_t>(entry.type), 2);
    put(block, entry.count, 4);
    Bytes value = entry.value;
    if (value.size() > 4) {
      if (value.size() % 2 != 0) value.push_back(0);
      put(block, behind + values.size(), 4);
      for (const uint8_t byte : value) values.push_back(byte);
    } else {
      value.resize(4);
      for (const uint8_t byte : value) block.push_back(byte);
    }
  }
  put(block, 0, 4);  // no further directory
  for (const uint8_t byte : values) block.push_back(byte);
}

}  // namespace

std::vector<uint8_t> camera_block(const CameraData& fields, PixelSize size) {
  constexpr uint16_t kOrientation = 0x0112, kExifDirectory = 0x8769, kExifVersion = 0x9000,
                     kColourSpace = 0xA001, kWidth = 0xA002, kHeight = 0xA003;
  constexpr int kUpright = 1, kSrgb = 1;
  std::vector<Entry> picture, exposure;
  for (const CameraField& field : fields)
    insert(field.tag.of_exposure ? exposure : picture, entry_of(field));
  insert(picture, whole_number(kOrientation, Type::short_, kUpright));
  insert(exposure, bytes_of(kExifVersion, Type::undefined, "0232"));
  insert(exposure, whole_number(kColourSpace, Type::short_, kSrgb));
  insert(exposure, whole_number(kWidth, Type::long_, size.width));
  insert(exposure, whole_number(kHeight, Type::long_, size.height));

  // The pointer has its room before it has its value.
  insert(picture, whole_number(kExifDirectory, Type::long_, 0));
  Bytes draft(kHeaderBytes);
  put_directory(draft, picture);
  for (Entry& entry : picture)
    if (entry.tag == kExifDirectory)
      entry = whole_number(kExifDirectory, Type::long_, static_cast<int64_t>(draft.size()));

  Bytes block = {'I', 'I', 42, 0};
  put(block, kHeaderBytes, 4);
  put_directory(block, picture);
  put_directory(block, exposure);
  return block;
}

}  // namespace morva::host
