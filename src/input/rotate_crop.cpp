#include "input/rotate_crop.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <stdexcept>
#include <utility>

#include "image/growing_image.h"
#include "image/vector/turn_loops.h"
#include "input/orientation.h"

namespace morva {

namespace {

// What an output pixel sees moves through the source along a slanted line. Square tiles keep the
// rows that it touches in the cache.
constexpr int kTile = 64;

Image turned_part(const Image& image, const PixelRect& rect, double angle) {
  const Straightening turn = straightening(angle);
  const vector::TurnedPicture picture = {image.data.data(), image.h,     image.w,
                                         image.c,           turn.cosine, turn.sine};
  const auto turned_row = vector::turn_loops().turned_row;
  Image out = reserve_image(rect.h(), rect.w(), image.c);
  for (int top = 0, rows = 0; top < out.h; top += rows) {
    rows = std::min(kTile, out.h - top);
    add_rows(out, static_cast<std::size_t>(rows));
    for (int left = 0, columns = 0; left < out.w; left += columns) {
      columns = std::min(kTile, out.w - left);
      const double x = left + rect.x0 + 0.5 - image.w / 2.0;
      for (int i = top; i < top + rows; ++i) {
        const double y = i + rect.y0 + 0.5 - image.h / 2.0;
        turned_row(picture, x, y, &out.at(i, left), static_cast<std::size_t>(columns));
      }
    }
  }
  return out;
}

Image cut_out(const Image& image, const PixelRect& rect) {
  Image out = reserve_image(rect.h(), rect.w(), image.c);
  for (int y = rect.y0; y < rect.y1; ++y) {
    const std::size_t first = (static_cast<std::size_t>(y) * image.w + rect.x0) * image.c;
    std::copy_n(&image.data[first], out.row_samples(), add_rows(out, 1));
  }
  return out;
}

PixelRect crop_rect(const Json& crop, PixelSize size) {
  return crop.is_null() ? PixelRect{0, 0, size.w, size.h} : crop_pixels(crop, size);
}

double whole_degrees(const Json& options) {
  return std::trunc(get_number(options, "rotate", 0.0));
}

}  // namespace

Image rotate_crop_input(Image image, const Json& crop, double angle) {
  const PixelSize size = {image.w, image.h};
  const PixelRect rect = crop_rect(crop, size);
  if (is_straight(angle)) {
    const bool whole = rect.w() == size.w && rect.h() == size.h;
    return whole ? std::move(image) : cut_out(image, rect);
  }
  if (image.c < 1 || image.c > 4)
    throw std::invalid_argument("rotate_crop_input: не больше 4 каналов");
  return turned_part(image, rect, angle);
}

Image upright_source(Image source, const Json& options) {
  const double angle = get_number(options, "crop_angle", 0.0);
  const bool mirror = get_bool(options, "mirror", false);
  Image cropped = rotate_crop_input(std::move(source), get(options, "crop"), angle);
  return mirror_rotate(std::move(cropped), whole_degrees(options), mirror);
}

bool is_upright(PixelSize source, const Json& options) {
  const double angle = get_number(options, "crop_angle", 0.0);
  const bool mirror = get_bool(options, "mirror", false);
  const PixelSize crop = upright_size(source, options).crop;
  return is_straight(angle) && turn_of_degrees(whole_degrees(options), mirror).identity() &&
         crop.w == source.w && crop.h == source.h;
}

UprightSize upright_size(PixelSize source, const Json& options) {
  const PixelRect rect = crop_rect(get(options, "crop"), source);
  const PixelSize crop = {rect.w(), rect.h()};
  const bool on_its_side = turn_of_degrees(whole_degrees(options), false).swaps_sides();
  return {crop, on_its_side ? PixelSize{crop.h, crop.w} : crop};
}

}  // namespace morva
