// The C boundary: what every export does before and after its work, so that no exception crosses
// it.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

#include "image/image.h"
#include "morva.h"

namespace morva {

// Fills `err`, which may be null, and returns `code`. A text longer than the record is cut.
std::int32_t fail(MorvaError* err, std::int32_t code, std::string_view text) noexcept;

void clear(MorvaError* err) noexcept;

// Turn the exception in flight into a code and a text. The first tells options, profiles and
// cancellation apart; the second, for exports that only read a file or resample, knows 5 alone; the
// third, for those whose only doubtful argument is the options, 3 alone; the fourth, for questions
// about a setting, 2 for a profile and 3 for all else.
std::int32_t render_failure(MorvaError* err) noexcept;
std::int32_t plain_failure(MorvaError* err) noexcept;
std::int32_t options_failure(MorvaError* err) noexcept;
std::int32_t query_failure(MorvaError* err) noexcept;

// The exception in flight under one code whatever it is, its text after `prefix`.
std::int32_t failure_as(MorvaError* err, std::int32_t code, std::string_view prefix) noexcept;

// For exports that hand out a text: there is none, 0.
std::int32_t no_text(MorvaError* err) noexcept;

// Runs `body`, which returns a code, and hands what it throws to `failure`.
template <class Body>
std::int32_t guarded(MorvaError* err, std::int32_t (*failure)(MorvaError*) noexcept,
                     Body&& body) noexcept {
  try {
    return body();
  } catch (...) {
    return failure(err);
  }
}

// The host's height * width * 3 samples as an image.
Image copy_in(const float* rgb, std::int32_t width, std::int32_t height);

// The same for a scene: its light is bounded (input/bounded_light.h).
Image copy_light_in(const float* rgb, std::int32_t width, std::int32_t height);

// Copies `image` into a block that the host owns.
void hand_out(const Image& image, MorvaImage* out);

// Copies `text` into the host's buffer, cut at `cap` - 1 bytes; returns the whole text's length.
std::int32_t hand_out(const std::string& text, char* buf, std::int32_t cap) noexcept;

}  // namespace morva
