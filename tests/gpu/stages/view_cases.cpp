// The view's kernel against a plain one that follows each pixel back into the picture. Places are
// reckoned in floats on both sides: a sample on the border of two pixels is to fall to the same.

#include <algorithm>
#include <array>
#include <cmath>

#include "gpu/stages/kernel_case.h"
#include "gpu/view.h"

namespace morva::gpu {

namespace {

struct Drawing {
  float scale;
  float x;
  float y;
  float angle_deg;
};

struct Place {
  float x;
  float y;
};

using Colour = std::array<double, 3>;

constexpr std::uint32_t kBackground = 0x4080C0;

// How far the bytes may be apart, in units in the last place of 255.
constexpr double kOneByte = 65536.0;

class PlainView {
 public:
  PlainView(const Image& picture, const Drawing& drawing) : picture_(picture), drawing_(drawing) {
    const float angle = drawing.angle_deg * 3.1415927f / 180.0f;
    cosine_ = static_cast<float>(std::cos(double{angle}));
    sine_ = static_cast<float>(std::sin(double{angle}));
  }

  // R, G, B, A of a pixel of the output.
  std::array<float, 4> shown(int px, int py) const {
    const Place centre = on_picture(static_cast<float>(px) + 0.5f, static_cast<float>(py) + 0.5f);
    const bool inside = centre.x >= 0.0f && centre.x < static_cast<float>(picture_.w) &&
                        centre.y >= 0.0f && centre.y < static_cast<float>(picture_.h);
    if (!inside) return {0x40, 0x80, 0xC0, 255.0f};
    if (drawing_.scale < 1.0f) return encoded(mean_under(px, py));
    return encoded(drawing_.scale < 2.0f ? interpolated(centre) : nearest(centre));
  }

 private:
  Place on_picture(float at_x, float at_y) const {
    const auto w = static_cast<float>(picture_.w), h = static_cast<float>(picture_.h);
    const float dx = at_x - (drawing_.x + w * drawing_.scale * 0.5f);
    const float dy = at_y - (drawing_.y + h * drawing_.scale * 0.5f);
    const float u = dx * cosine_ + dy * sine_;
    const float v = -dx * sine_ + dy * cosine_;
    return {u / drawing_.scale + w * 0.5f, v / drawing_.scale + h * 0.5f};
  }
  Colour pixel(double x, double y) const {
    const int column = static_cast<int>(std::clamp(x, 0.0, picture_.w - 1.0));
    const int row = static_cast<int>(std::clamp(y, 0.0, picture_.h - 1.0));
    const float* rgb = &picture_.data[static_cast<std::size_t>(row * picture_.w + column) * 3];
    return {rgb[0], rgb[1], rgb[2]};
  }
  Colour nearest(Place at) const { return pixel(std::floor(at.x), std::floor(at.y)); }
  Colour interpolated(Place at) const {
    const double x = std::floor(at.x - 0.5f), y = std::floor(at.y - 0.5f);
    const double right = at.x - 0.5f - x, below = at.y - 0.5f - y;
    Colour sum{};
    for (std::size_t k = 0; k < 3; ++k)
      sum[k] = (pixel(x, y)[k] * (1.0 - right) + pixel(x + 1, y)[k] * right) * (1.0 - below) +
               (pixel(x, y + 1)[k] * (1.0 - right) + pixel(x + 1, y + 1)[k] * right) * below;
    return sum;
  }
  Colour mean_under(int px, int py) const {
    const int n = static_cast<int>(std::min(8.0f, std::ceil(1.0f / drawing_.scale)));
    Colour mean{};
    for (int j = 0; j < n; ++j)
      for (int i = 0; i < n; ++i) {
        const auto part_of = [n](int k) {
          return (static_cast<float>(k) + 0.5f) / static_cast<float>(n);
        };
        const Place at =
            on_picture(static_cast<float>(px) + part_of(i), static_cast<float>(py) + part_of(j));
        for (std::size_t k = 0; k < 3; ++k) mean[k] += nearest(at)[k] / (n * n);
      }
    return mean;
  }
  static std::array<float, 4> encoded(const Colour& light) {
    std::array<float, 4> bytes{0.0f, 0.0f, 0.0f, 255.0f};
    for (std::size_t k = 0; k < 3; ++k) {
      const double x = std::clamp(light[k], 0.0, 1.0);
      const double coded = x <= 0.0031308 ? 12.92 * x : 1.055 * std::pow(x, 0.41666666) - 0.055;
      bytes[k] = static_cast<float>(std::nearbyint(coded * 255.0));
    }
    return bytes;
  }

  const Image& picture_;
  Drawing drawing_;
  float cosine_ = 1.0f;
  float sine_ = 0.0f;
};

std::vector<float> on_gpu(Device& device, const Image& picture, PixelSize out,
                          const Drawing& drawing) {
  View view(device, false);
  view.resize(out.w, out.h);
  view.set_image(picture.data.data(), picture.w, picture.h);
  view.draw(drawing.scale, drawing.x, drawing.y, drawing.angle_deg, kBackground);
  std::vector<std::uint8_t> bytes(static_cast<std::size_t>(out.w) * out.h * 4);
  view.readback(bytes.data(), static_cast<std::int64_t>(bytes.size()));
  return {bytes.begin(), bytes.end()};
}

std::vector<float> plainly(const Image& picture, PixelSize out, const Drawing& drawing) {
  const PlainView view(picture, drawing);
  std::vector<float> bytes;
  for (int y = 0; y < out.h; ++y)
    for (int x = 0; x < out.w; ++x)
      for (const float byte : view.shown(x, y)) bytes.push_back(byte);
  return bytes;
}

// The picture is larger than the output by a little, and shows light below black and above white.
KernelCase view_case(const char* name, const Drawing& drawing) {
  return {name, kOneByte, [drawing](Device& device, PixelSize out) {
            const Image picture = noise_picture({out.w + 3, out.h + 2}, 3, -0.1f, 1.2f);
            return Compared{on_gpu(device, picture, out, drawing), plainly(picture, out, drawing)};
          }};
}

}  // namespace

KernelCases view_cases() {
  return {view_case("view_pack, as it is", {1.0f, 0.0f, 0.0f, 0.0f}),
          view_case("view_pack, four samples a side", {0.25f, 3.0f, 2.0f, 0.0f}),
          view_case("view_pack, eight samples a side, no more", {0.05f, 0.3f, 0.4f, 0.0f}),
          view_case("view_pack, smaller and turned", {0.37f, 5.5f, 4.25f, 31.0f}),
          view_case("view_pack, hardly smaller and turned", {0.99f, -3.0f, 1.5f, -100.0f}),
          view_case("view_pack, interpolated and turned", {1.3f, -11.7f, 3.1f, 20.0f}),
          view_case("view_pack, just below twice", {1.9999f, -4.0f, -2.0f, 0.0f}),
          view_case("view_pack, twice, with hard edges", {2.0f, -4.0f, -2.0f, 0.0f}),
          view_case("view_pack, large and turned", {3.3f, -20.4f, -15.9f, 47.0f})};
}

}  // namespace morva::gpu
