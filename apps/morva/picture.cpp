#include "picture.h"

#include <utility>

#include "host_error.h"

namespace morva::host {

void SampleRelease::operator()(float* samples) const {
  if (!from_engine) {
    delete[] samples;
    return;
  }
  MorvaImage image{samples, 0, 0, 0};
  morva_free(&image);
}

Picture new_picture(int32_t width, int32_t height) {
  Picture picture{width, height, {}};
  const std::size_t count = picture.row_samples() * static_cast<std::size_t>(height);
  // Left unwritten: a large picture is touched once, by whoever fills it.
  picture.samples.reset(new float[count]);
  return picture;
}

Picture take_picture(MorvaImage& image) {
  if (image.channels != 3) {
    morva_free(&image);
    throw HostError(MORVA_FAILED, "the engine returned a picture that is not RGB");
  }
  Picture picture{image.width, image.height, {image.data, SampleRelease{.from_engine = true}}};
  image = MorvaImage{};
  return picture;
}

}  // namespace morva::host
