// Three dye layers: what moves their differences and leaves their mean. Takes the table P.

float3 three_at(int at) { return float3(P[at], P[at + 1], P[at + 2]); }

float layer_mean(float3 d) { return ((d.r + d.g) + d.b) / 3.0; }

// By the matrix in row order that begins at P[at].
float3 mixed(int at, float3 d) {
  return float3((P[at] * d.r + P[at + 1] * d.g) + P[at + 2] * d.b,
                (P[at + 3] * d.r + P[at + 4] * d.g) + P[at + 5] * d.b,
                (P[at + 6] * d.r + P[at + 7] * d.g) + P[at + 8] * d.b);
}

float3 with_mixed_differences(int at, float3 d) {
  const float mean = layer_mean(d);
  return mixed(at, d - mean) + mean;
}

float3 with_wider_differences(float factor, float3 d) {
  const float mean = layer_mean(d);
  return (d - mean) * factor + mean;
}
