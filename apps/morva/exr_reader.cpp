#include "exr_reader.h"

#include <ImfChannelList.h>
#include <ImfFrameBuffer.h>
#include <ImfHeader.h>
#include <ImfInputFile.h>
#include <ImfStandardAttributes.h>
#include <ImfTestFile.h>

#include <algorithm>
#include <array>
#include <optional>

#include "cancel_signal.h"
#include "exr_header.h"
#include "host_error.h"
#include "rec709_conversion.h"

namespace morva::host {
namespace {

constexpr int64_t kMostPixels = 500'000'000;  // 6 GB of samples
constexpr int kRowsAtOnce = 64;               // between two looks at the cancel flag

PixelSize checked_size(const Imath::Box2i& window) {
  const int64_t width = int64_t{window.max.x} - window.min.x + 1;
  const int64_t height = int64_t{window.max.y} - window.min.y + 1;
  if (width < 1 || height < 1) throw HostError(MORVA_FAILED, "the EXR's data window is empty");
  if (width > kMostPixels || height > kMostPixels || width * height > kMostPixels) {
    throw HostError(MORVA_FAILED, "the EXR is too large: " + std::to_string(width) + " x " +
                                      std::to_string(height) + " pixels");
  }
  return {static_cast<int32_t>(width), static_cast<int32_t>(height)};
}

std::vector<std::string> channel_names(const Imf::ChannelList& channels) {
  std::vector<std::string> names;
  for (auto channel = channels.begin(); channel != channels.end(); ++channel) {
    names.emplace_back(channel.name());
  }
  return names;
}

[[noreturn]] void refuse_channels(const Imf::ChannelList& channels) {
  std::string found;
  for (const std::string& name : channel_names(channels)) {
    found += (found.empty() ? "" : ", ") + name;
  }
  throw HostError(MORVA_FAILED, "the EXR has neither R, G, B nor Y alone; it has: " + found);
}

// The file's channel behind each of red, green and blue.
std::array<const char*, 3> colour_channels(const Imf::ChannelList& channels) {
  const auto has = [&](const char* name) { return channels.findChannel(name) != nullptr; };
  std::array<const char*, 3> names = {"R", "G", "B"};
  if (!has("R") || !has("G") || !has("B")) {
    if (!has("Y") || has("RY") || has("BY")) refuse_channels(channels);
    names = {"Y", "Y", "Y"};
  }
  for (const char* name : names) {
    const Imf::Channel* channel = channels.findChannel(name);
    if (channel->xSampling != 1 || channel->ySampling != 1) {
      throw HostError(MORVA_FAILED, std::string("the EXR's channel ") + name + " is subsampled");
    }
  }
  return names;
}

void read_rows(Imf::InputFile& in, int32_t first_row, int32_t height) {
  for (int32_t y = 0; y < height; y += kRowsAtOnce) {
    check_cancelled();
    in.readPixels(first_row + y, first_row + std::min(y + kRowsAtOnce, height) - 1);
  }
}

void spread_first_channel(Picture& picture) {
  float* sample = picture.samples.get();
  float* const end = sample + picture.row_samples() * static_cast<std::size_t>(picture.height);
  for (; sample != end; sample += 3) sample[1] = sample[2] = sample[0];
}

Picture read_all(const std::filesystem::path& file) {
  check_exr_header(file);
  Imf::InputFile in(file.string().c_str());
  const Imf::Header& header = in.header();
  const Imath::Box2i window = header.dataWindow();
  const PixelSize size = checked_size(window);
  const std::array<const char*, 3> names = colour_channels(header.channels());
  const bool grey = names[0] == names[1];
  const std::optional<ColourMatrix> conversion = !grey && Imf::hasChromaticities(header)
                                                     ? to_rec709(Imf::chromaticities(header))
                                                     : std::nullopt;

  Picture picture = new_picture(size.width, size.height);
  Imf::FrameBuffer buffer;
  for (std::size_t k = 0; k < (grey ? 1u : 3u); ++k) {
    buffer.insert(names[k],
                  Imf::Slice::Make(Imf::FLOAT, picture.samples.get() + k, window, 3 * sizeof(float),
                                   picture.row_samples() * sizeof(float)));
  }
  in.setFrameBuffer(buffer);
  read_rows(in, window.min.y, size.height);
  if (grey) spread_first_channel(picture);
  if (conversion) apply(*conversion, picture);
  return picture;
}

// Every failure of the library as one of ours, with the file's name.
template <class Read>
auto reading(const std::filesystem::path& file, const Read& read) {
  try {
    return read();
  } catch (const HostError& failure) {
    if (failure.code == MORVA_CANCELLED) throw;
    throw HostError(failure.code, file.string() + ": " + failure.what());
  } catch (const std::bad_alloc&) {
    throw;
  } catch (const std::exception& failure) {
    throw HostError(MORVA_FAILED, "cannot read the EXR " + file.string() + ": " + failure.what());
  }
}

}  // namespace

bool is_exr(const std::filesystem::path& file) {
  return Imf::isOpenExrFile(file.string().c_str());
}

Picture read_exr(const std::filesystem::path& file) {
  return reading(file, [&] { return read_all(file); });
}

ExrInfo read_exr_info(const std::filesystem::path& file) {
  return reading(file, [&] {
    check_exr_header(file);
    const Imf::InputFile in(file.string().c_str());
    const PixelSize size = checked_size(in.header().dataWindow());
    return ExrInfo{size.width, size.height, channel_names(in.header().channels())};
  });
}

}  // namespace morva::host
