// What each process and finish costs on a picture of 6 megapixels, beside the growth of grain on
// the same raster. One thread; each figure is processor time, the best of three.

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <ctime>
#include <functional>
#include <utility>

#include "film/grain.h"
#include "film/plate_development.h"
#include "film/plate_fields.h"
#include "film/uneven_development.h"
#include "finish/instant_card.h"
#include "finish/mat.h"
#include "finish/plate_mark.h"
#include "finish/rebate.h"
#include "finish/stamps.h"
#include "finish/table.h"
#include "flow/flow.h"
#include "flow/options.h"
#include "flow/stock.h"
#include "plates/plate_view.h"
#include "plates/tricolor.h"
#include "print/instant_positive.h"
#include "print/process_print.h"
#include "print/reversal_print.h"
#include "print/scan.h"
#include "print/slide.h"
#include "profiles/seeds.h"
#include "profiles/store.h"

namespace {

using namespace morva;

constexpr int kWidth = 3000;
constexpr int kHeight = 2000;
constexpr double kLongUm = 36000.0;  // a frame of 135
constexpr double kPxUm = kLongUm / kWidth;
constexpr double kPrintPxUm = 100.0;

Image painted() {
  Image scene(kHeight, kWidth, 3);
  for (int y = 0; y < kHeight; ++y)
    for (int x = 0; x < kWidth; ++x)
      for (int k = 0; k < 3; ++k) {
        const double wave = std::sin(40.0 * x / kWidth + k) * std::cos(30.0 * y / kWidth);
        scene.at(y, x, k) = static_cast<float>(0.18 * std::exp2(3.0 * wave));
      }
  return scene;
}

void measure(const char* name, const std::function<void()>& run) {
  double best = HUGE_VAL;
  for (int i = 0; i < 3; ++i) {
    const std::clock_t start = std::clock();
    run();
    best = std::min(best, static_cast<double>(std::clock() - start) / CLOCKS_PER_SEC);
  }
  std::printf("%-44s %7.2f s\n", name, best);
}

// Everything that a film, or an aged or hand-made positive, adds of its own. The scene is copied in
// the measured call, as the flow hands it over by moving.
class Bench {
 public:
  explicit Bench(const ProfileStore& store)
      : store_(store), scene_(painted()), opts_(merged_options(Json())) {
    opts_["_format_long_um"] = kLongUm;
    opts_["_growth_seed"] = stream_key(opts_, kFilmStream);
    opts_["print_px_um"] = kPrintPxUm;
    plain_ = opts_;
    plain_["grain_mult"] = 0;
  }

  void grain() {
    const Json film = stock("silver_400");
    const HdCurve curve = negative_curve(film.at("negative"));
    const Image density(kHeight, kWidth, 1, 1.0f);
    measure("growth of grain, black and white",
            [&] { add_grain(density, film, opts_, kPxUm, curve, ctx_); });
    const Json colour = stock("everyday_400");
    const Json& layers = colour.at("layers");
    const std::array<HdCurve, 3> curves = {layer_curve(layers.at("r")), layer_curve(layers.at("g")),
                                           layer_curve(layers.at("b"))};
    const Image dyes(kHeight, kWidth, 3, 1.5f);
    measure("growth of grain, colour",
            [&] { add_grain(dyes, colour, opts_, kPxUm, curves, ctx_); });
  }

  void positives() {
    const Json slide = stock("slide_50");
    measure("slide, without grain",
            [&] { develop_slide(scene_, slide, plain_, kPxUm, nullptr, ctx_); });
    const Json paper = store_.load("papers", "reversal_gloss");
    measure("print on reversal paper, from the slide on", [&] {
      Image positive = scene_;
      print_transmission(positive, reversal_print_params(paper, plain_));
    });
    const Json scanner = store_.load("papers", "scan_flatbed");
    measure("scan of a positive", [&] { scan_positive(scene_, scanner, plain_); });
    measure("the scanner's blur and sharpening", [&] { scan_finish(scene_, scanner); });
    const Json plates = stock("tricolor_plates");
    measure("three-colour plates, without grain",
            [&] { develop_tricolor(scene_, plates, plain_, kPxUm, nullptr, ctx_); });
    measure("instant positive with its texture",
            [&] { develop_instant(scene_, stock("instant_square"), opts_, kPxUm, ctx_); });
    const Json peel = stock("peel_apart_100");
    measure("peel-apart positive with its texture",
            [&] { develop_instant(scene_, peel, opts_, kPxUm, ctx_); });
    measure("instant card", [&] { instant_finish(scene_, stock("instant_wide"), plain_); });
  }

  void plates() {
    const Json film = stock("collodion_glass");
    const PlateParams plate = plate_params(film, opts_);
    measure("a plate's pour and edge", [&] { plate_fields(plate, kWidth, kHeight, 34.0); });
    const HdCurve curve = negative_curve(film.at("negative"));
    const Image density(kHeight, kWidth, 1, 1.0f);
    PlateFields fields = plate_fields(plate, kWidth, kHeight, 34.0);
    measure("veil and crystals", [&] { develop_plate_post(density, plate, curve, 34.0, fields); });
    const Json paper = store_.load("papers", "ambrotype");
    measure("a plate on black", [&] { plate_view(density, film, paper, plain_, 0.05); });
    Rng rng = seeded_rng(opts_, kDevelopStream);
    measure("uneven development", [&] { uneven_field(kWidth, kHeight, kPxUm, "135", 1.0, rng); });
  }

  void prints() {
    const Json film = stock("silver_125");
    for (const char* process : {"cyanotype", "salted_paper", "gum", "carbon_transfer", "platinum",
                                "photogravure", "bromoil", "woodblock"}) {
      const Json paper = store_.load("papers", process);
      measure((std::string(process) + ", with a negative without grain").c_str(),
              [&] { print_process(scene_, film, paper, plain_, kPxUm, nullptr, nullptr, ctx_); });
    }
  }

  void finishes() {
    Json opts = plain_;
    opts["frame_style"] = "wide";
    const RebateStyle style = rebate_style(opts);
    Rng rng = seeded_rng(opts, kFrameStream);
    const RebatePlan rebate = plan_rebate_by_fraction(scene_.h, scene_.w, style);
    measure("rebate", [&] { lay_rebate(scene_, rebate, style, rng); });
    opts["mat"] = "french";
    opts["table"] = "linen";
    measure("mat", [&] { apply_mat(scene_, opts); });
    measure("linen table", [&] { apply_table(scene_, opts, 1.6, rng, nullptr); });
    opts["_border_px"] = 300.0;
    opts["stamp_text"] = "H. Morva 1931";
    opts["blind_stamp"] = "4/12";
    opts["emboss_line"] = "double";
    measure("stamps and embossed lines", [&] { apply_stamps(scene_, opts); });
    opts["_plate_px"] = 150.0;
    const Json paper = store_.load("papers", "photogravure");
    measure("plate mark", [&] { press_plate_mark(scene_, paper, opts); });
  }

 private:
  Json stock(const char* name) const { return developed_stock(store_.load("films", name), opts_); }

  const ProfileStore& store_;
  Image scene_;
  Json opts_;
  Json plain_;  // without grain
  RenderContext ctx_;
};

}  // namespace

int main(int argc, char** argv) {
  const ProfileStore store(argc > 1 ? argv[1] : find_profiles_dir());
  Bench bench(store);
  std::printf("%d x %d\n", kWidth, kHeight);
  bench.grain();
  bench.positives();
  bench.plates();
  bench.prints();
  bench.finishes();
  return 0;
}
