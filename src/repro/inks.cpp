#include "repro/inks.h"

#include <map>
#include <stdexcept>
#include <vector>

#include "image/held.h"
#include "repro/vector/separation_loops.h"

namespace morva {

namespace {

using Colour = std::array<float, 3>;

template <class Value>
const Value& at_name(const std::map<std::string, Value>& table, const std::string& name) {
  const auto found = table.find(name);
  if (found == table.end()) throw std::out_of_range("invalid map<K, T> key");
  return found->second;
}

vector::InkDepth depth_of(const Colour& ink) {
  vector::InkDepth depth;
  for (std::size_t ch = 0; ch < 3; ++ch)
    depth.of[ch] = 1.0f - static_cast<float>(held(ink[ch], 0.0, 1.0));
  return depth;
}

}  // namespace

Colour printing_paper(const std::string& name) {
  static const std::map<std::string, Colour> papers = {
      {"office", {0.86f, 0.85f, 0.8f}},  {"newsprint", {0.6f, 0.56f, 0.47f}},
      {"coated", {0.87f, 0.87f, 0.87f}}, {"photo", {0.89f, 0.9f, 0.925f}},
      {"art", {0.895f, 0.9f, 0.912f}},
  };
  return at_name(papers, name);
}

const InkSet& ink_set(const std::string& name) {
  static const std::map<std::string, InkSet> sets = {
      {"inkjet_office",
       {{{0.026f, 0.427f, 0.855f},
         {0.819f, 0.083f, 0.384f},
         {1.0f, 0.916f, 0.086f},
         {0.07f, 0.072f, 0.078f}}}},
      {"offset_coated",
       {{{0.023f, 0.396f, 0.748f},
         {0.775f, 0.023f, 0.219f},
         {1.0f, 0.82f, 0.011f},
         {0.024f, 0.024f, 0.023f}}}},
      {"offset_newsprint",
       {{{0.102f, 0.543f, 0.867f},
         {0.901f, 0.209f, 0.443f},
         {1.0f, 0.889f, 0.205f},
         {0.159f, 0.148f, 0.136f}}}},
      {"inkjet_photo",
       {{{0.02f, 0.37f, 0.73f},
         {0.76f, 0.02f, 0.2f},
         {1.0f, 0.8f, 0.01f},
         {0.012f, 0.012f, 0.012f}}}},
      {"offset_art",
       {{{0.02f, 0.38f, 0.74f},
         {0.77f, 0.02f, 0.205f},
         {1.0f, 0.81f, 0.01f},
         {0.015f, 0.015f, 0.014f}}}},
  };
  return at_name(sets, name);
}

void overprint(const float* const* planes, const Colour* inks, int count, const Colour& base,
               std::size_t n, float* rgb) {
  std::vector<vector::InkDepth> depths;
  for (int ink = 0; ink < count; ++ink) depths.push_back(depth_of(inks[ink]));
  vector::separation_loops().overprint(planes, depths.data(), count, base.data(), n, rgb);
}

}  // namespace morva
