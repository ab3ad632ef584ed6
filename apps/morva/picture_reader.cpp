#include "picture_reader.h"

#include <filesystem>
#include <fstream>

#include "demo_scene.h"
#include "exr_reader.h"
#include "host_error.h"
#include "standard_streams.h"

namespace morva::host {
namespace {

namespace fs = std::filesystem;

bool names_demo_scene(const std::string& input) {
  std::error_code error;
  return input == "demo" && !fs::exists(input, error);
}

// A failure under the picture's name, as it was given.
void check_decoding(const std::string& input, int32_t code, const MorvaError& error) {
  try {
    check_engine(code, error);
  } catch (const HostError& failure) {
    if (failure.code == MORVA_CANCELLED) throw;
    throw failure.under(input);
  }
}

Picture decode_by_engine(const std::string& input) {
  MorvaImage image{};
  MorvaError error{};
  check_decoding(input,
                 morva_load_linear(file_behind(input).c_str(), nullptr, 0, &image, nullptr, &error),
                 error);
  return take_picture(image);
}

}  // namespace

void check_input(const std::string& input) {
  if (!names_demo_scene(input)) check_input_file(input);
}

void check_input_file(const std::string& input) {
  if (input == kStandardStream) return;
  std::error_code error;
  if (!fs::exists(input, error)) {
    throw HostError(MORVA_BAD_ARGUMENT, "no such input file: " + input);
  }
  if (fs::is_directory(input, error)) {
    throw HostError(MORVA_BAD_ARGUMENT, "input is a folder: " + input);
  }
  if (!fs::is_regular_file(input, error)) {
    throw HostError(MORVA_BAD_ARGUMENT, "input is not an ordinary file: " + input);
  }
  if (!std::ifstream(input, std::ios::binary)) {
    throw HostError(MORVA_BAD_ARGUMENT, "cannot open the input file: " + input);
  }
}

bool is_scene_linear(const std::string& input) {
  return names_demo_scene(input) || is_exr(file_behind(input));
}

Picture read_picture(const std::string& input) {
  check_input(input);
  if (names_demo_scene(input)) return paint_demo_scene();
  const std::string file = file_behind(input);
  return is_exr(file) ? read_exr(file) : decode_by_engine(input);
}

PixelSize read_picture_size(const std::string& input) {
  check_input(input);
  if (names_demo_scene(input)) return demo_scene_size();
  if (is_exr(file_behind(input))) {
    const ExrInfo info = read_exr_info(file_behind(input));
    return {info.width, info.height};
  }
  const MorvaImageInfo info = read_photo_info(input);
  if (info.width < 1 || info.height < 1)
    throw HostError(MORVA_FAILED, "the file does not tell how large its picture is: " + input);
  return {info.width, info.height};
}

MorvaImageInfo read_photo_info(const std::string& input) {
  MorvaImageInfo info{};
  MorvaError error{};
  check_decoding(input, morva_image_info(file_behind(input).c_str(), &info, &error), error);
  return info;
}

}  // namespace morva::host
