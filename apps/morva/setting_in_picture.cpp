#include "setting_in_picture.h"

#include <ImfHeader.h>
#include <ImfInputFile.h>
#include <ImfStringAttribute.h>
#include <tiffio.h>

#include <algorithm>
#include <array>
#include <cstdarg>
#include <exception>
#include <fstream>
#include <memory>
#include <string_view>

#include "exr_header.h"
#include "exr_reader.h"
#include "picture_blocks.h"

namespace morva::host {
namespace {

constexpr tmsize_t kMostBytes = tmsize_t{1} << 24;  // of a tag

std::string head_of(const std::filesystem::path& file) {
  std::array<char, 12> head{};
  std::ifstream in(file, std::ios::binary);
  in.read(head.data(), head.size());
  return {head.data(), static_cast<std::size_t>(in.gcount())};
}

bool is_tiff(std::string_view head) {
  constexpr std::array<std::string_view, 4> kHeads = {
      std::string_view("II*\0", 4), std::string_view("MM\0*", 4), std::string_view("II+\0", 4),
      std::string_view("MM\0+", 4)};
  return std::any_of(kHeads.begin(), kHeads.end(),
                     [&](std::string_view known) { return head.starts_with(known); });
}

std::string text_of(const std::vector<uint8_t>& bytes) {
  return {bytes.begin(), bytes.end()};
}

// PNG, section 11.3.3.4: keyword, NUL, two bytes on its packing, language, NUL, the keyword again
// in that language, NUL, text. Only plain text is the host's own.
std::string international_text(const std::string& chunk) {
  const std::string head = std::string(kSettingName) + std::string(3, '\0');
  if (!chunk.starts_with(head)) return {};
  const std::size_t language_end = chunk.find('\0', head.size());
  if (language_end == std::string::npos) return {};
  const std::size_t keyword_end = chunk.find('\0', language_end + 1);
  return keyword_end == std::string::npos ? "" : chunk.substr(keyword_end + 1);
}

std::string in_blocks(const std::filesystem::path& file) {
  for (const PictureBlock& block : picture_blocks(file)) {
    if (block.kind == "COM" && !block.bytes.empty() && block.bytes[0] == '{')
      return text_of(block.bytes);
    if (block.kind != "iTXt") continue;
    if (const std::string text = international_text(text_of(block.bytes)); !text.empty())
      return text;
  }
  return {};
}

int say_nothing(TIFF*, void*, const char*, const char*, std::va_list) {
  return 1;
}

std::string in_tiff(const std::filesystem::path& file) {
  struct Close {
    void operator()(TIFF* tiff) const { TIFFClose(tiff); }
  };
  TIFFOpenOptions* options = TIFFOpenOptionsAlloc();
  if (options == nullptr) throw std::bad_alloc();
  TIFFOpenOptionsSetMaxSingleMemAlloc(options, kMostBytes);
  TIFFOpenOptionsSetErrorHandlerExtR(options, say_nothing, nullptr);
  TIFFOpenOptionsSetWarningHandlerExtR(options, say_nothing, nullptr);
  const std::unique_ptr<TIFF, Close> tiff(TIFFOpenExt(file.string().c_str(), "r", options));
  TIFFOpenOptionsFree(options);
  const char* text = nullptr;
  const bool found =
      tiff && TIFFGetField(tiff.get(), TIFFTAG_IMAGEDESCRIPTION, &text) && text != nullptr;
  return found ? text : "";
}

std::string in_exr(const std::filesystem::path& file) {
  try {
    check_exr_header(file);
    const Imf::InputFile in(file.string().c_str());
    const auto* text = in.header().findTypedAttribute<Imf::StringAttribute>(kSettingName);
    return text != nullptr ? text->value() : "";
  } catch (const std::exception&) {
    return {};  // a broken file tells nothing
  }
}

}  // namespace

bool is_picture(const std::filesystem::path& file) {
  const std::string head = head_of(file);
  return is_tiff(head) || is_exr(file) || head.starts_with("\xFF\xD8") ||
         head.starts_with("\x89PNG") || (head.starts_with("RIFF") && head.ends_with("WEBP"));
}

std::string setting_in_picture(const std::filesystem::path& file) {
  if (is_tiff(head_of(file))) return in_tiff(file);
  return is_exr(file) ? in_exr(file) : in_blocks(file);
}

}  // namespace morva::host
