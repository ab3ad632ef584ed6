#include "input/raw_decoder.h"

#include <algorithm>
#include <charconv>
#include <cstdint>
#include <cstring>
#include <ctime>
#include <memory>
#include <stdexcept>
#include <string_view>
#include <utility>
#include <vector>

#include "image/growing_image.h"
#include "input/byte_source.h"
#include "input/pixels8.h"
#include "input/raw_library.h"

namespace morva {
namespace {

constexpr std::uint64_t kMegabyte = std::uint64_t{1} << 20;
constexpr std::uint64_t kMaxMegabytes = 4096;

// What the library holds of a picture when it is done: four 16-bit channels, and the result's
// three; and of one with oblong pixels while it is stretched, four before and four after.
constexpr double kBytesPerPixel = 8 + 6;
constexpr double kStretchBytesPerPixel = 8;

// Sensors with oblong pixels are stretched to square ones; none is longer than this.
constexpr double kMaxPixelAspect = 10.0;

[[noreturn]] void fail(const char* what, const std::string& path) {
  throw std::runtime_error(std::string("LibRaw: ") + what + " " + path);
}

std::unique_ptr<RawLibrary> open_raw(std::span<const std::uint8_t> file, const std::string& path) {
  auto raw = std::make_unique<RawLibrary>();
  if (raw->open(file) != LIBRAW_SUCCESS) {
    fail("cannot open", path);
  }
  return raw;
}

template <std::size_t N>
std::string text_of(const char (&field)[N]) {
  return plain_text({field, N});
}

// The shortest decimal that the library's single precision stands for: 5.6, not 5.599999905.
double decimal_of(float value) {
  char text[32] = {};
  const char* end = std::to_chars(text, text + sizeof text, value).ptr;
  double decimal = 0.0;
  std::from_chars(text, end, decimal);
  return known_number(decimal);
}

// The library keeps the camera's clock as an instant of the local calendar; this is the way back.
std::string clock_text(std::time_t taken) {
  std::tm clock{};
#if defined(_WIN32)
  const bool known = taken > 0 && localtime_s(&clock, &taken) == 0;
#else
  const bool known = taken > 0 && localtime_r(&taken, &clock) != nullptr;
#endif
  char text[32] = {};
  return known && std::strftime(text, sizeof text, "%Y:%m:%d %H:%M:%S", &clock) > 0 ? text : "";
}

bool has_daylight_balance(const float (&mul)[4]) {
  return mul[0] > 0.0f && mul[1] > 0.0f && mul[2] > 0.0f;
}

void set_parameters(LibRaw& raw, const std::string& wb_mode, bool half_size) {
  libraw_output_params_t& params = raw.imgdata.params;
  params.gamm[0] = params.gamm[1] = 1.0;  // linear
  params.no_auto_bright = 1;
  params.output_bps = 16;
  params.output_color = 1;  // Rec. 709 primaries
  params.half_size = half_size ? 1 : 0;
  const float(&daylight)[4] = raw.imgdata.color.pre_mul;
  if ((wb_mode == "film" || wb_mode == "custom") && has_daylight_balance(daylight)) {
    std::copy_n(daylight, 4, params.user_mul);
    if (!(daylight[3] > 0.0f)) {
      params.user_mul[3] = daylight[1];
    }
    params.use_camera_wb = 0;
  } else {
    params.use_camera_wb = 1;
  }
}

// Leaves the sensor's counts what the finished picture does not take of the 4 GiB. False when there
// is nothing left, or the sizes are beyond any camera.
bool limit_memory(RawLibrary& raw, bool half_size) {
  const libraw_image_sizes_t& sizes = raw.imgdata.sizes;
  const std::uint64_t sensor = std::uint64_t{sizes.raw_width} * sizes.raw_height;
  const std::uint64_t picture = std::uint64_t{sizes.width} * sizes.height;
  const double aspect = std::max(sizes.pixel_aspect, 1.0 / sizes.pixel_aspect);
  if (sensor == 0 || sensor > kMaxPixels || picture > kMaxPixels ||
      !(aspect >= 1.0 && aspect <= kMaxPixelAspect)) {
    return false;
  }
  const bool halved = half_size && raw.imgdata.idata.filters != 0;
  const double bytes = std::max(aspect * kBytesPerPixel, kStretchBytesPerPixel * (1.0 + aspect)) *
                       static_cast<double>(halved ? picture / 4 : picture);
  const std::uint64_t megabytes = static_cast<std::uint64_t>(bytes) / kMegabyte + 1;
  if (megabytes >= kMaxMegabytes) {
    return false;
  }
  raw.limit_sensor_memory(static_cast<std::uint32_t>(kMaxMegabytes - megabytes));
  return true;
}

struct ClearProcessed {
  void operator()(libraw_processed_image_t* image) const { LibRaw::dcraw_clear_mem(image); }
};
using ProcessedPicture = std::unique_ptr<libraw_processed_image_t, ClearProcessed>;

// The file and everything that the library took on the way are gone when this returns. The
// interpolation weighs its directions in CIE Lab, with the cube root of the system's own
// mathematics: that alone keeps a raw file's pixels from being the same bits on every machine.
ProcessedPicture process(const std::string& path, const std::string& wb_mode, bool half_size) {
  const SingleThread single_thread;
  const std::vector<std::uint8_t> file = read_file(path);
  const std::unique_ptr<RawLibrary> raw = open_raw(file, path);
  set_parameters(*raw, wb_mode, half_size);
  if (!limit_memory(*raw, half_size) || raw->unpack() != LIBRAW_SUCCESS) {
    fail("unpack failed for", path);
  }
  if (raw->dcraw_process() != LIBRAW_SUCCESS) {
    fail("processing failed for", path);
  }
  int failure = LIBRAW_SUCCESS;
  ProcessedPicture picture(raw->dcraw_make_mem_image(&failure));
  if (!picture || failure != LIBRAW_SUCCESS || picture->type != LIBRAW_IMAGE_BITMAP ||
      picture->bits != 16 || (picture->colors != 3 && picture->colors != 1) ||
      picture->width == 0 || picture->height == 0) {
    fail("unexpected output for", path);
  }
  return picture;
}

}  // namespace

PictureHeader read_raw_header(const std::string& path) {
  const std::vector<std::uint8_t> file = read_file(path);
  const std::unique_ptr<RawLibrary> raw = open_raw(file, path);
  const libraw_data_t& data = raw->imgdata;
  PictureHeader header;
  header.metadata.maker = text_of(data.idata.make);
  header.metadata.model = text_of(data.idata.model);
  header.metadata.lens = text_of(data.lens.Lens);
  header.metadata.taken = clock_text(data.other.timestamp);
  header.metadata.focal_mm = decimal_of(data.other.focal_len);
  header.metadata.f_number = decimal_of(data.other.aperture);
  header.metadata.exposure_s = decimal_of(data.other.shutter);
  header.metadata.iso = decimal_of(data.other.iso_speed);
  if (raw->adjust_sizes_info_only() != LIBRAW_SUCCESS) {
    fail("cannot open", path);
  }
  header.w = data.sizes.iwidth;
  header.h = data.sizes.iheight;
  return header;
}

Image load_raw(const std::string& path, const std::string& wb_mode, bool half_size) {
  const ProcessedPicture picture = process(path, wb_mode, half_size);
  const bool grey = picture->colors == 1;
  Image image = reserve_image(picture->height, picture->width, 3);
  const std::size_t row_samples = static_cast<std::size_t>(picture->width) * picture->colors;
  std::vector<std::uint16_t> row(row_samples);
  const unsigned char* bytes = picture->data;
  for (std::int32_t y = 0; y < image.h; ++y, bytes += row_samples * 2) {
    std::memcpy(row.data(), bytes, row_samples * 2);
    float* out = add_rows(image, 1);
    for (std::size_t i = 0; i < image.row_samples(); ++i) {
      out[i] = static_cast<float>(row[grey ? i / 3 : i]) / 65535.0f;
    }
  }
  return image;
}

}  // namespace morva
