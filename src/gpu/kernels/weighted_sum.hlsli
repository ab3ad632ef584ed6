// Three channels times three weights, in their order.

float weighted_sum(float r, float g, float b, float w0, float w1, float w2) {
  const precise float sum = (w0 * r + w1 * g) + w2 * b;
  return sum;
}
