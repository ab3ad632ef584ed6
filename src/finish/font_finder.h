// Where the system keeps a bold grotesque, the plain heavy letter that presses clean into paper.
#pragma once

#include <filesystem>
#include <functional>

namespace morva {

// A face within a font file; a collection holds several.
struct FontFile {
  std::filesystem::path path;
  int face = 0;
};

// Offers font files, the best first, until `accept` takes one; false when there are no more. Where
// the environment names WINDIR, Verdana, Arial and Segoe UI, bold, of its Fonts folder come first.
// Beyond Windows fontconfig is then asked for the same families, then for what it has in Arial's
// place, then for any bold sans of letters of their own widths. What `accept` throws passes
// through.
bool offer_bold_grotesques(const std::function<bool(const FontFile&)>& accept);

}  // namespace morva
