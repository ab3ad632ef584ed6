// The sheet is walked from the top down. What one band shares with the next stays where it is made:
// rows of the picture at the run's size, rows of the plates, which reach further than the band by
// the plates' shifts, and rows of the printed sheet, which reach further by its blur. A plate is
// rolled round its ends, so its rows are counted without end: row u stands for row u modulo the
// height.
#include "repro/print_run.h"

#include <algorithm>
#include <cstdint>
#include <optional>
#include <utility>

#include "image/filters.h"
#include "repro/inks.h"
#include "repro/row_queue.h"
#include "repro/run_raster.h"

namespace morva {

namespace {

constexpr double kSharpSigma = 0.3;        // pixels; a blur below it is none
constexpr double kWidestBandSigma = 10.0;  // a wider one is done on a reduced raster of the whole
constexpr double kWidestKernel = 64.0;     // of a picture smaller than its blur
constexpr int kBandPixels = 1 << 19;
constexpr int kLeastBandRows = 16;
constexpr int kSlicePixels = 1 << 17;  // that are laid down at a time, to stay in the cache
constexpr int kFarBands = 4;           // plates further apart are separated each for itself

int wrapped(std::int64_t u, int n) {
  const auto rest = static_cast<int>(u % n);
  return rest < 0 ? rest + n : rest;
}

float within_sheet(float v) {
  return v > 0.0f ? std::min(v, 1.0f) : 0.0f;
}

// Rows of a raster that is w pixels wide; an even number, for both halves of an enlarged pixel.
int slice_of(int w) {
  return std::max(1, kSlicePixels / w / 2) * 2;
}

// Rows begin .. end - 1 of the values of plates first .. last, counted without end.
class SeparatedRows {
 public:
  SeparatedRows(EnlargedPicture& picture, const PrintRun& run, std::size_t first, std::size_t last)
      : picture_(picture), run_(run), first_(first), last_(last), others_(run.plates.size()) {
    planes_.assign(last - first + 1, RowQueue(width()));
  }

  void move_to(std::int64_t begin, std::int64_t end) {
    const std::int64_t kept = std::clamp(begin, begin_, end_);
    for (RowQueue& plane : planes_) plane.drop(static_cast<std::size_t>(kept - begin_));
    if (kept == end_) end_ = begin;
    begin_ = begin;
    while (end_ < end) {
      const int y = wrapped(end_, picture_.h());
      const auto left = static_cast<int>(std::min<std::int64_t>(end - end_, slice_of(width())));
      separate(y, std::min(left, picture_.h() - y));
    }
  }

  std::size_t first_plate() const { return first_; }
  std::size_t last_plate() const { return last_; }

  const float* row(std::size_t plate, std::int64_t u) const {
    return planes_[plate - first_].row(static_cast<std::size_t>(u - begin_));
  }

 private:
  int width() const { return picture_.w(); }

  void separate(int y, int count) {
    const std::size_t rows = static_cast<std::size_t>(count);
    const std::size_t pixels = rows * static_cast<std::size_t>(width());
    std::vector<float*> added;
    for (std::size_t p = 0; p < others_.size(); ++p) {
      const bool kept = first_ <= p && p <= last_;
      if (!kept) others_[p].resize(std::max(others_[p].size(), pixels));
      added.push_back(kept ? planes_[p - first_].add(rows) : others_[p].data());
    }
    run_.separate(picture_.rows(y, count), pixels, added.data());
    end_ += count;
  }

  EnlargedPicture& picture_;
  const PrintRun& run_;
  std::size_t first_, last_;
  std::vector<RowQueue> planes_;
  std::vector<std::vector<float>> others_;  // what is made beside them
  std::int64_t begin_ = 0, end_ = 0;
};

// The printed sheet before it is blurred.
class Press {
 public:
  Press(EnlargedPicture& picture, const PrintRun& run, int band_rows)
      : h_(picture.h()), w_(picture.w()), reach_(std::clamp(run.reach, 0, picture.h())), run_(run) {
    for (const Plate& plate : run.plates) {
      inks_.push_back(plate.ink);
      // The shorter way round, so that the plates stay close to each other.
      const int down = wrapped(plate.shift_y, h_);
      down_.push_back(down > h_ / 2 ? down - h_ : down);
    }
    landed_.resize(inks_.size());
    if (inks_.empty()) return;
    const auto [up_most, down_most] = std::minmax_element(down_.begin(), down_.end());
    const bool far = (*down_most - *up_most) / kFarBands > band_rows;
    if (!far) separated_.emplace_back(picture, run, 0, inks_.size() - 1);
    for (std::size_t p = 0; far && p < inks_.size(); ++p)
      separated_.emplace_back(picture, run, p, p);
  }

  // Rows that are best printed at a time: many, where each is laid down with others beside it.
  int slice_rows() const {
    return static_cast<int>(std::clamp<std::int64_t>(std::int64_t{4} * reach_, slice_of(w_),
                                                     std::max(h_, slice_of(w_))));
  }

  // Rows y .. y + count - 1, from the top down without gaps.
  void print_rows(int y, int count, float* rgb) {
    const std::size_t pixels = static_cast<std::size_t>(count) * static_cast<std::size_t>(w_);
    std::vector<const float*> planes;
    for (SeparatedRows& rows : separated_) {
      reach_for(y, count, rows);
      for (std::size_t p = rows.first_plate(); p <= rows.last_plate(); ++p) {
        landed_[p].resize(std::max(landed_[p].size(), pixels));
        lay_plate(p, y, count, rows, landed_[p].data());
        planes.push_back(landed_[p].data());
      }
    }
    overprint(planes.data(), inks_.data(), static_cast<int>(inks_.size()), run_.base, pixels, rgb);
  }

 private:
  void reach_for(int y, int count, SeparatedRows& rows) const {
    std::int64_t begin = INT64_MAX, end = INT64_MIN;
    for (std::size_t p = rows.first_plate(); p <= rows.last_plate(); ++p) {
      const std::int64_t first = std::int64_t{y} - down_[p], last = first + count - 1;
      begin = std::min(begin, first - std::min(reach_, wrapped(first, h_)));
      end = std::max(end, last + 1 + std::min(reach_, h_ - 1 - wrapped(last, h_)));
    }
    rows.move_to(begin, end);
  }

  // Rows of a plate where they come to lie, in runs that do not pass its lower end.
  void lay_plate(std::size_t p, int y, int count, const SeparatedRows& separated, float* to) {
    const auto stride = static_cast<std::size_t>(w_);
    std::int64_t u = std::int64_t{y} - down_[p];
    for (int done = 0; done < count;) {
      const int first = wrapped(u, h_);
      const int rows = std::min(count - done, h_ - first);
      const int above = std::min(reach_, first);
      const int below = std::min(reach_, h_ - (first + rows));
      take_rows(p, first - above, separated.row(p, u - above), above + rows + below);
      run_.lay_down(part_);
      for (int j = 0; j < rows; ++j)
        roll(part_.coverage.data.data() + static_cast<std::size_t>(above + j) * stride,
             run_.plates[p].shift_x, to + static_cast<std::size_t>(done + j) * stride);
      done += rows;
      u += rows;
    }
  }

  void take_rows(std::size_t p, int y, const float* from, int count) {
    part_.plate = static_cast<int>(p);
    part_.y = y;
    Image& rows = part_.coverage;
    rows.h = count;
    rows.w = w_;
    rows.c = 1;
    rows.data.assign(from, from + rows.pixels());
  }

  void roll(const float* from, int shift_x, float* to) const {
    const int right = wrapped(shift_x, w_);
    std::copy_n(from, w_ - right, to + right);
    std::copy_n(from + (w_ - right), right, to);
  }

  int h_, w_, reach_;
  const PrintRun& run_;
  std::vector<SeparatedRows> separated_;  // one for all plates, or one for each
  std::vector<std::array<float, 3>> inks_;
  std::vector<int> down_;
  PlateRows part_;  // that is being laid down
  std::vector<std::vector<float>> landed_;
};

// The sheet as it is seen, band by band.
class SheetBands {
 public:
  SheetBands(EnlargedPicture& picture, const PrintRun& run, double sigma_px, int band_rows)
      : h_(picture.h()),
        w_(picture.w()),
        sigma_px_(sigma_px),
        run_(run),
        press_(picture, run, band_rows) {
    if (sigma_px_ > 0.0)
      reach_ = static_cast<int>(std::min<std::int64_t>(gaussian_radius(sigma_px_), h_));
    if (run.mottle > 0.0) mottle_.emplace(run.mottle_field);
    printed_.w = w_;
    printed_.c = 3;
  }

  // Rows y .. y + count - 1, bands from the top down without gaps.
  void see(int y, int count, ReducedSheet& sheet, RenderContext& ctx) {
    print_up_to(std::min(h_, y + count + reach_), std::max(0, y - reach_), ctx);
    if (sigma_px_ > 0.0) {
      Image blurred = blur_image(printed_, sigma_px_);
      if (y + count == h_) printed_ = Image();
      take_up(blurred.data.data() + static_cast<std::size_t>(y - first_) * blurred.row_samples(), y,
              count, sheet, ctx);
    } else {
      take_up(printed_.data.data(), y, count, sheet, ctx);
    }
  }

 private:
  void print_up_to(int end, int keep_from, RenderContext& ctx) {
    const std::size_t samples = printed_.row_samples();
    const int slice = press_.slice_rows();
    const auto gone =
        static_cast<std::ptrdiff_t>(static_cast<std::size_t>(keep_from - first_) * samples);
    printed_.data.erase(printed_.data.begin(), printed_.data.begin() + gone);
    int y = first_ + printed_.h;
    first_ = keep_from;
    printed_.h = end - keep_from;
    printed_.data.resize(printed_.pixels() * 3);
    while (y < end) {
      check_cancel(ctx);
      const int rows = std::min(slice, end - y);
      press_.print_rows(y, rows,
                        printed_.data.data() + static_cast<std::size_t>(y - first_) * samples);
      y += rows;
    }
  }

  // What the paper makes of the ink, in place, and then the picture's own pixels.
  void take_up(float* rgb, int y, int count, ReducedSheet& sheet, RenderContext& ctx) {
    for (const int end = y + count; y < end;) {
      check_cancel(ctx);
      const int rows = std::min(slice_of(w_), end - y);
      const std::size_t pixels = static_cast<std::size_t>(rows) * static_cast<std::size_t>(w_);
      if (mottle_) apply_mottle(rgb, pixels, run_.mottle, mottle_->rows(y, rows), run_.base);
      for (std::size_t i = 0; i < 3 * pixels; ++i) rgb[i] = within_sheet(rgb[i]);
      sheet.add(rgb, rows);
      rgb += 3 * pixels;
      y += rows;
    }
  }

  int h_, w_;
  double sigma_px_;
  int reach_ = 0;  // of the blur, rows
  const PrintRun& run_;
  Press press_;
  std::optional<MottleRows> mottle_;
  Image printed_;  // rows first_ and on
  int first_ = 0;
};

// Whole pixels of the picture, and rows enough that what lies beyond a band's ends does not rule.
int rows_of_band(int wanted, int h, int w, int over, double sigma_px, int plate_reach) {
  if (sigma_px > kWidestBandSigma) return h;
  const std::int64_t blur_reach = sigma_px > 0.0 ? gaussian_radius(sigma_px) : 0;
  const int reach = static_cast<int>(
      std::clamp<std::int64_t>(std::max<std::int64_t>(blur_reach, plate_reach), 0, h));
  const int rows = wanted > 0 ? wanted : std::max({kBandPixels / w, 2 * reach, kLeastBandRows});
  return (std::min(rows, h) + over - 1) / over * over;
}

}  // namespace

Image print_run(Image picture, const RasterScale& scale, const PrintRun& run, RenderContext& ctx,
                int band_rows) {
  EnlargedPicture enlarged(picture, scale);
  const int h = enlarged.h(), w = enlarged.w();
  const double widest = std::max({1.0 * h, 1.0 * w, kWidestKernel});
  const double sigma_px =
      run.psf_sigma_px >= kSharpSigma ? std::min(run.psf_sigma_px, widest) : 0.0;
  const int step = rows_of_band(band_rows, h, w, scale.over, sigma_px, run.reach);
  SheetBands bands(enlarged, run, sigma_px, step);
  ReducedSheet sheet(picture.h, picture.w, scale);
  for (int y = 0; y < h; y += step) bands.see(y, std::min(step, h - y), sheet, ctx);
  return sheet.take();
}

}  // namespace morva
