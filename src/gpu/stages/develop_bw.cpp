#include "gpu/stages/develop_bw.h"

#include <stdexcept>
#include <utility>
#include <vector>

#include "film/exposure.h"
#include "film/plate_fields.h"
#include "gpu/kernels/film_layout.h"
#include "gpu/stages/element_launch.h"
#include "gpu/stages/emulsion.h"
#include "gpu/stages/film_table.h"
#include "gpu/stages/grain.h"
#include "gpu/stages/layers.h"
#include "gpu/stages/pixel_ops.h"
#include "profiles/film.h"

namespace morva::gpu {

GImage light_in_silver(const Frame& frame, const GImage& scene) {
  const StageTimer timer(frame, kEmulsionTime);
  GImage light =
      emulsion_blur(frame, weighted_plane(frame.device, scene, panchromatic_weights(frame.stock)));
  halate(frame, light, light);
  return light;
}

GImage develop_silver(Device& device, const GImage& light, const GImage& uneven,
                      const DevelopBwParams& params, Development development) {
  using namespace neg_bw_layout;
  std::vector<float> table(kNumbers);
  put_curve(&table[kCurve], params.curve);
  table[kEv] = exposure_shift(params.ev);
  table[kSign] = development == Development::reversal ? -1.0f : 1.0f;
  table[kFog] = static_cast<float>(params.curve.dmin);
  const bool is_uneven = lies_on(uneven, light);
  GImage density = device.image(light.height, light.width, 1);
  launch_elements(device, Kernel::neg_bw_main, pixels(light),
                  {word(pixels(light)), is_uneven ? 1u : 0u}, table,
                  {light.buffer.get(), uneven.buffer.get(), density.buffer.get()});
  return density;
}

GImage develop_bw(const Frame& frame, GImage scene) {
  if (plate_params(frame.stock, frame.opts).kind != PlateKind::none)
    throw std::logic_error("develop_bw: a plate is developed on the CPU");
  GImage light = light_in_silver(frame, std::exchange(scene, {}));
  check_cancel(frame.ctx);

  const HdCurve curve = silver_curve(frame.stock, frame.opts);
  GImage density;
  {
    const StageTimer timer(frame, "негатив (кривые, соседство)");
    density =
        develop_silver(frame.device, std::exchange(light, {}), uneven_on_gpu(frame),
                       {curve, exposure_total(frame.opts, frame.stock)}, Development::negative);
    check_cancel(frame.ctx);
    adjacency(frame, density);
  }
  density = add_grain(frame, std::move(density), curve);
  add_to_all(frame.device, density, -static_cast<float>(curve.dmid));
  return density;
}

}  // namespace morva::gpu
