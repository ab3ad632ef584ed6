#include "gpu/stages/slide.h"

#include <utility>
#include <vector>

#include "film/couplers.h"
#include "film/look.h"
#include "gpu/kernels/film_layout.h"
#include "gpu/stages/element_launch.h"
#include "gpu/stages/emulsion.h"
#include "gpu/stages/film_table.h"
#include "gpu/stages/grain.h"
#include "gpu/stages/layers.h"
#include "gpu/stages/plane.h"
#include "gpu/stages/positive.h"
#include "print/paper.h"

namespace morva::gpu {

GImage develop_reversal_dyes(Device& device, const GImage& light, const GImage& uneven,
                             const SlideParams& params) {
  LayerDevelopment layers;
  layers.curves = params.curves;
  layers.exposure.ev = params.ev;
  layers.development = Development::reversal;
  layers.matrix = params.interlayer;
  layers.widening = dye_widening(params.saturation);
  return develop_layers(device, light, uneven, layers);
}

GImage develop_slide(const Frame& frame, GImage scene) {
  GImage light = light_in_layers(frame, std::move(scene));
  check_cancel(frame.ctx);

  const SlideParams params = slide_params(frame.stock, frame.opts, frame.uneven);
  GImage density;
  {
    const StageTimer timer(frame, "негатив (кривые, соседство)");
    density =
        develop_reversal_dyes(frame.device, std::exchange(light, {}), uneven_on_gpu(frame), params);
    adjacency(frame, density);
  }
  density = add_grain(frame, std::move(density), params.curves);
  check_cancel(frame.ctx);
  return show_dyes(frame.device, density, params.clear,
                   look_params(get_object(frame.stock, "look")));
}

GImage print_transmission(Device& device, const GImage& slide, const ReversalPrintParams& params,
                          const std::optional<std::array<float, 3>>& tone) {
  using namespace slide_print_layout;
  const std::optional<float> widening = dye_widening(params.dye_purity);
  std::vector<float> table(kNumbers);
  put_curve(&table[kCurve], params.curve);
  put_black_end(&table[kBlackEnd], params.curve);
  put_white_end(&table[kWhiteEnd], params.curve);
  table[kExposure] = static_cast<float>(exposure_under_clear_film(params));
  table[kWiden] = widening.value_or(1.0f);
  put(&table[kTone], tone.value_or(std::array{1.0f, 1.0f, 1.0f}));
  GImage print = device.image(slide.height, slide.width, 3);
  launch_elements(device, Kernel::slide_print, pixels(slide),
                  {word(pixels(slide)), widening ? 1u : 0u}, table,
                  {slide.buffer.get(), print.buffer.get()});
  return print;
}

GImage print_reversal(const Frame& frame, GImage scene) {
  const GImage slide = develop_slide(frame, std::move(scene));
  check_cancel(frame.ctx);
  const StageTimer timer(frame, "печать");
  return print_transmission(frame.device, slide, reversal_print_params(frame.paper, frame.opts),
                            paper_tone(frame.paper));
}

}  // namespace morva::gpu
