// What a paper makes of a negative's density relative to mid grey. Takes the table P.
#include "hd_curve.hlsli"

// Density of the paper, its white included; `veil` is the light that the enlarger scatters.
float paper_density(float negative, float veil) {
  float exposure = P[print_layout::kExposure] - negative;
  if (veil > 0.0) exposure = log10_of(veil + ten_to(exposure));
  float density = density_at(print_layout::kCurve, exposure);
  density = with_soft_end(print_layout::kBlackEnd, density);
  return with_soft_end(print_layout::kWhiteEnd, density);
}

float paper_white() { return P[print_layout::kCurve + curve_layout::kBase]; }

// Reflectance relative to the paper's white. What is no number prints black.
float reflectance(float negative, float veil) {
  return isnan(negative) ? 0.0 : ten_to(paper_white() - paper_density(negative, veil));
}
