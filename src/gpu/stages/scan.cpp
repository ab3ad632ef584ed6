#include "gpu/stages/scan.h"

#include <utility>
#include <vector>

#include "gpu/kernels/film_layout.h"
#include "gpu/stages/element_launch.h"
#include "gpu/stages/film_table.h"
#include "gpu/stages/filters.h"
#include "gpu/stages/pixel_ops.h"

namespace morva::gpu {

namespace {

std::vector<float> table_of(const ScanParams& params) {
  using namespace scan_layout;
  std::vector<float> table(kNumbers);
  table[kFlare] = static_cast<float>(params.flare);
  table[kFlaredWhite] = static_cast<float>(1.0 + params.flare);
  const ScanParams::Black black = params.black.value_or(ScanParams::Black{});
  table[kBlack] = black.light;
  table[kAboveBlack] = black.range;
  table[kGain] = static_cast<float>(params.gain);
  table[kContrast] = static_cast<float>(params.contrast);
  table[kDmax] = static_cast<float>(params.ends.dmax);
  put_black_end(&table[kBlackEnd], params.ends);
  put_white_end(&table[kWhiteEnd], params.ends);
  return table;
}

}  // namespace

void read_positive(Device& device, const GImage& positive, const ScanParams& params) {
  const auto flag = [](bool set) { return set ? 1u : 0u; };
  launch_elements(device, Kernel::scan_positive, pixels(positive),
                  {word(pixels(positive)), flag(params.flare > 0.0), flag(params.black.has_value()),
                   flag(has_contrast(params)), flag(has_ends(params))},
                  table_of(params), {positive.buffer.get()});
}

void sharpen(Device& device, const GImage& picture, const GImage& blurred, float factor) {
  launch_elements(device, Kernel::sharpen, floats(picture), {word(floats(picture))}, {factor},
                  {picture.buffer.get(), blurred.buffer.get()});
}

void press_highlights(Device& device, const GImage& picture, float knee) {
  launch_elements(device, Kernel::scan_clip, floats(picture), {word(floats(picture))},
                  {knee, kPressedSlope}, {picture.buffer.get()});
}

GImage scan_positive(Device& device, GImage positive, const Json& paper, const Json& options) {
  read_positive(device, positive, scan_params(paper, options));
  return positive;
}

GImage scan_finish(Device& device, GImage positive, const Json& paper) {
  const ScanFileParams file = scan_file_params({positive.width, positive.height}, paper);
  if (file.optics_sigma_px > 0.0) positive = blur_image(device, positive, file.optics_sigma_px);
  positive = resize(device, positive, file.size.w, file.size.h, kResizeLanczos);
  if (file.sharpen > 0.0f)
    sharpen(device, positive, blur_image(device, positive, file.sharpen_sigma_px), file.sharpen);
  if (file.knee) press_highlights(device, positive, *file.knee);
  clamp_light(device, positive, true);
  return positive;
}

}  // namespace morva::gpu
