// The picture U0 as an output shows it, in U1: a word a pixel, R in the low byte, then G, B and 0xFF, encoded
// for an sRGB display. A picture made smaller is averaged, one up to twice its size is interpolated, and a
// larger one keeps the hard edges of its pixels.
#include "bilinear.hlsli"
#include "srgb.hlsli"
#include "view_layout.h"

MORVA_TABLE
[[vk::binding(2, 0)]] RWStructuredBuffer<uint> U1;

static const uint kOpaque = 0xFF000000;
static const uint kMostSamples = 8;  // along each side of an output pixel

uint2 picture_size() { return uint2(q(view_sizes::kPictureWidth), q(view_sizes::kPictureHeight)); }

// The place in the picture, in its pixels, that a place on the output shows.
float2 on_picture(float2 place, float2 turn) {
  const float scale = P[view_place::kScale];
  const float2 size = float2(picture_size());
  const precise float2 corner_to_centre = size * scale * 0.5;
  const precise float2 from_centre =
      place - (float2(P[view_place::kX], P[view_place::kY]) + corner_to_centre);
  const precise float2 turned = float2(from_centre.x * turn.x + from_centre.y * turn.y,
                                       from_centre.y * turn.x - from_centre.x * turn.y);
  const precise float2 found = turned / scale + size * 0.5;
  return found;
}

float3 pixel_at(float2 place) {
  const uint2 size = picture_size();
  const uint2 pixel = min(uint2(max(place, 0.0)), size - 1);
  const uint first = (pixel.y * size.x + pixel.x) * 3;
  return float3(U0[first], U0[first + 1], U0[first + 2]);
}

float3 between_pixels(float2 place) {
  const uint2 size = picture_size();
  const Between y = between(place.y - 0.5, size.y);
  const Between x = between(place.x - 0.5, size.x);
  return float3(bilinear(y, x, size.x, 3, 0), bilinear(y, x, size.x, 3, 1), bilinear(y, x, size.x, 3, 2));
}

// Samples enough for the picture's pixels under one of the output. GPUs agree on products, not on quotients.
uint samples_a_side(float scale) {
  uint n = 1;
  while (n < kMostSamples && float(n) * scale < 1.0) ++n;
  return n;
}

float3 mean_under(uint2 pixel, float2 turn) {
  const uint n = samples_a_side(P[view_place::kScale]);
  precise float3 sum = 0.0;
  for (uint j = 0; j < n; ++j) {
    for (uint i = 0; i < n; ++i) {
      const precise float2 place = float2(pixel) + (float2(i, j) + 0.5) / float(n);
      sum = sum + pixel_at(on_picture(place, turn));
    }
  }
  return sum / float(n * n);
}

uint display_byte(float light) { return uint(round(srgb_encoded(light) * 255.0)); }

uint packed(float3 light) {
  return kOpaque | display_byte(light.b) << 16 | display_byte(light.g) << 8 | display_byte(light.r);
}

uint background() {
  const uint rgb = q(view_sizes::kBackground);
  return kOpaque | (rgb & 0xFF) << 16 | (rgb & 0xFF00) | (rgb >> 16 & 0xFF);
}

uint shown_at(uint2 pixel) {
  if (q(view_sizes::kPictureWidth) == 0) return background();
  const float2 turn = float2(P[view_place::kCosine], P[view_place::kSine]);
  const float2 place = on_picture(float2(pixel) + 0.5, turn);
  const float2 size = float2(picture_size());
  if (!(place.x >= 0.0 && place.x < size.x && place.y >= 0.0 && place.y < size.y)) return background();
  const float scale = P[view_place::kScale];
  if (scale < 1.0) return packed(mean_under(pixel, turn));
  if (scale < 2.0) return packed(between_pixels(place));
  return packed(pixel_at(place));
}

MORVA_GROUP void main(uint3 thread : SV_DispatchThreadID) {
  const uint id = linear_id(thread);
  const uint width = q(view_sizes::kOutWidth);
  if (id >= width * q(view_sizes::kOutHeight)) return;
  const uint2 pixel = uint2(id % width, id / width);
  U1[pixel.y * q(view_sizes::kPitch) + pixel.x] = shown_at(pixel);
}
