// How large a finished sheet may be. Widths of mats, cards and borders come from a host in
// centimetres; what they make in pixels is held to this before any memory is taken.
#pragma once

#include <cstdint>
#include <new>
#include <string>
#include <utility>

namespace morva {

inline constexpr std::int32_t kLongestSheetPx = 32768;

// A failure of memory that was foreseen; the text names the size.
class SheetTooLarge : public std::bad_alloc {
 public:
  explicit SheetTooLarge(std::string text) : text_(std::move(text)) {}
  const char* what() const noexcept override { return text_.c_str(); }

 private:
  std::string text_;
};

// A length in pixels, to the nearest whole one, half to even. Throws SheetTooLarge for one that no
// sheet has, what is no number among them.
std::int32_t sheet_pixels(double length_px);

// Throws SheetTooLarge for a sheet with a side of more than kLongestSheetPx.
void require_sheet_size(std::int64_t h, std::int64_t w);

}  // namespace morva
