// Random words by counter: Philox 4x32 with ten rounds, Salmon, Moraes, Dror and Shaw 2011. Any word can be had
// without those before it, so threads share nothing. A draw's number is 64 bits wide, low word first.

// The 64 bits of a product, low word first, out of 16-bit halves.
uint2 wide_product(uint a, uint b) {
  const uint a_low = a & 0xffffu, a_high = a >> 16;
  const uint b_low = b & 0xffffu, b_high = b >> 16;
  const uint cross = a_low * b_high;
  const uint middle = a_high * b_low + (cross & 0xffffu) + ((a_low * b_low) >> 16);
  return uint2(a * b, a_high * b_high + (cross >> 16) + (middle >> 16));
}

uint4 philox(uint4 counter, uint2 key) {
  [unroll]
  for (uint round = 0; round < 10; ++round) {
    const uint2 first = wide_product(0xD2511F53u, counter.x);
    const uint2 second = wide_product(0xCD9E8D57u, counter.z);
    counter = uint4(second.y ^ counter.y ^ key.x, second.x, first.y ^ counter.w ^ key.y, first.x);
    key += uint2(0x9E3779B9u, 0xBB67AE85u);
  }
  return counter;
}

// The draw of a raster's sample at column x of a row.
uint2 draw_number(uint row, uint width, uint x) {
  const uint2 first = wide_product(row, width);
  const uint low = first.x + x;
  return uint2(low, first.y + (low < x ? 1u : 0u));
}

// A dispatch draws under the key q(12), q(13) and the tag q(14).
uint4 drawn_words(uint2 number) { return philox(uint4(number, q(14), 0), uint2(q(12), q(13))); }

// 24 bits, in [0, 1).
float uniform_of(uint word) { return float(word >> 8) * 5.9604644775390625e-8; }

// Box and Muller, the cosine half only. The logarithm of a number next to 1 may come out above 0, and the cosine
// is only good within half a turn of 0.
float normal_of(uint4 words) {
  const float turn = uniform_of(words.x);
  const float chance = float((words.y >> 8) + 1) * 5.9604644775390625e-8;
  return sqrt(max(-2.0 * log(chance), 0.0)) * -cos(6.2831853 * (turn - 0.5));
}
