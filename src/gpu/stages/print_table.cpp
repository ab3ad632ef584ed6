#include "gpu/stages/print_table.h"

#include "film/exposure.h"
#include "film/look.h"
#include "gpu/kernels/film_layout.h"
#include "gpu/stages/element_launch.h"
#include "gpu/stages/film_table.h"
#include "gpu/stages/plane.h"
#include "gpu/stages/sums.h"

namespace morva::gpu {

std::array<float, 3> printer_veil(Device& device, const PrintParams& params,
                                  const GImage& density) {
  std::array<float, 3> veil = {};
  if (!(params.flare > 0.0)) return veil;
  const float exposure = exposure_shift(params.print_ev);
  for (std::int32_t channel = 0; channel < density.channels; ++channel) {
    const double light = transmittance_sum(device, plane_of(density, channel), exposure);
    veil[static_cast<std::size_t>(channel)] =
        static_cast<float>(light / static_cast<double>(pixels(density)) * params.flare);
  }
  return veil;
}

std::vector<float> print_table(const PrintParams& params, const std::array<float, 3>& veil) {
  using namespace print_layout;
  std::vector<float> table(kNumbers);
  put_curve(&table[kCurve], params.curve);
  put_black_end(&table[kBlackEnd], params.curve);
  put_white_end(&table[kWhiteEnd], params.curve);
  table[kExposure] = exposure_shift(params.print_ev);
  put(&table[kVeil], veil);
  put(&table[kTone], params.tone.value_or(std::array{1.0f, 1.0f, 1.0f}));
  put_look(&table[kLook], look_params(params.look));
  return table;
}

GImage expose_paper(Device& device, Kernel kernel, const PrintParams& params,
                    const GImage& density) {
  const std::vector<float> table = print_table(params, printer_veil(device, params, density));
  GImage print = device.image(density.height, density.width, 3);
  launch_elements(device, kernel, pixels(density), {word(pixels(density))}, table,
                  {density.buffer.get(), nullptr, print.buffer.get()});
  return print;
}

}  // namespace morva::gpu
