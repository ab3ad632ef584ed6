// What every kernel sees of a dispatch: sixteen constants, the first row of its band, a table of floats,
// six buffers. A kernel names the buffers it uses by MORVA_BUFFER and the table by MORVA_TABLE; what
// stands in those it does not name has no meaning.

struct DispatchConstants {
  uint4 words[4];
  uint band_row;
};

[[vk::push_constant]] ConstantBuffer<DispatchConstants> constants;

#define MORVA_TABLE [[vk::binding(0, 0)]] StructuredBuffer<float> P;
#define MORVA_BUFFER(slot) [[vk::binding(slot + 1, 0)]] RWStructuredBuffer<float> U##slot;

#define MORVA_GROUP [numthreads(256, 1, 1)]

// The constants by number: q(0) .. q(15).
uint q(uint index) { return constants.words[index >> 2][index & 3]; }

// The number of a thread in a launch of any shape: bands of a cut launch go on where the last ended.
uint linear_id(uint3 thread) { return (thread.y + constants.band_row) * q(15) + thread.x; }
