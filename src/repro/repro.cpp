// A print run is made in bands and enlarges its own rows. A tube's light spreads over the whole
// screen, so its picture is enlarged, shown and reduced whole.
#include "repro/repro.h"

#include <string>
#include <utility>

#include "image/resample.h"
#include "repro/crt.h"
#include "repro/inkjet.h"
#include "repro/offset.h"
#include "repro/raster_plan.h"

namespace morva {

namespace {

Image resized(Image picture, int h, int w, int filter) {
  if (picture.h == h && picture.w == w) return picture;
  return resize_image(picture, w, h, filter);
}

Image show_enlarged(Image picture, const Json& paper, const Json& options, double px_um,
                    const RasterScale& scale, Rng& rng, RenderContext& ctx) {
  const int h = picture.h, w = picture.w;
  const int up_h = enlarged_side(h, scale.up), up_w = enlarged_side(w, scale.up);
  picture = resized(std::move(picture), up_h, up_w, kResizeBicubic);
  picture = resized(std::move(picture), enlarged_side(up_h, scale.over),
                    enlarged_side(up_w, scale.over), kResizeBicubic);
  picture = show_on_tube(std::move(picture), paper, options, enlarged_px_um(px_um, scale),
                         enlarged_plan(scale, px_um), rng, ctx);
  picture = resized(std::move(picture), up_h, up_w, kResizeBox);
  return resized(std::move(picture), h, w, kResizeBox);
}

}  // namespace

Json with_tube_of(const Json& film, Json paper) {
  if (!truthy(get(paper, "crt")) && truthy(get(film, "crt"))) paper["crt"] = get(film, "crt");
  return paper;
}

Image repro_stage(Image print, const Json& paper, const Json& options, double print_px_um, Rng& rng,
                  RenderContext& ctx) {
  const std::string medium = get_text_or(paper, "repro", "");
  if (medium.empty()) return print;
  if (medium != "crt" && medium != "offset" && medium != "inkjet")
    throw NotPorted("печать: тираж (reproprint — " + medium + ")");
  const RasterScale scale = plan_raster_scale(paper, options, print.h, print.w, print_px_um);
  if (medium == "inkjet")
    return print_inkjet(std::move(print), paper, options, print_px_um, scale, rng, ctx);
  if (medium == "offset")
    return print_offset(std::move(print), paper, print_px_um, scale, rng, ctx);
  return show_enlarged(std::move(print), paper, options, print_px_um, scale, rng, ctx);
}

}  // namespace morva
