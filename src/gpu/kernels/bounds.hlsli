// Numbers held within bounds. What is no number becomes the least: a GPU's own max, min and clamp may then give
// either operand.
#ifndef MORVA_BOUNDS
#define MORVA_BOUNDS

float at_least(float x, float least) { return x > least ? x : least; }
float within(float x, float least, float most) { return min(at_least(x, least), most); }
float3 within(float3 x, float least, float most) {
  return float3(within(x.r, least, most), within(x.g, least, most), within(x.b, least, most));
}

#endif
