#include "finish/mat_styles.h"

#include <algorithm>
#include <cmath>

#include "finish/mat_window.h"
#include "finish/sheet_scale.h"
#include "image/elementary.h"

namespace morva {

namespace {

constexpr BoardColour kWhite = {0.8626f, 0.8317f, 0.7678f};
constexpr BoardColour kCream = {0.8073f, 0.7162f, 0.5462f};
constexpr BoardColour kGrey = {0.3918f, 0.3711f, 0.3327f};
constexpr BoardColour kBlack = {0.0151f, 0.013f, 0.011f};
constexpr BoardColour kWhiteCore = {0.9136f, 0.8794f, 0.8073f};
constexpr BoardColour kCreamCore = {0.9136f, 0.8794f, 0.5771f};

// Light on the four faces of the cut, by WindowSide. It comes from above: the upper face looks down
// and away from it, the lower one up into it.
constexpr std::array<float, 4> kBevelLight = {0.86f, 1.1f, 0.95f, 1.02f};
constexpr double kThinnestBevelPx = 1.4;

BoardColour board_colour(const std::string& name) {
  return name == "cream" ? kCream : name == "grey" ? kGrey : name == "black" ? kBlack : kWhite;
}

BoardColour scaled(const BoardColour& colour, float factor) {
  return {colour[0] * factor, colour[1] * factor, colour[2] * factor};
}

void mix_in(BoardColour& pixel, const BoardColour& colour, float share) {
  for (int k = 0; k < 3; ++k) pixel[k] = (1.0f - share) * pixel[k] + share * colour[k];
}

// The distances above `past_px` and up to `reach_px`, outside the window.
struct Band {
  std::size_t first;
  std::size_t end;
};
Band band(const std::vector<BoardColour>& line, double past_px, double reach_px) {
  const double last = static_cast<double>(line.size()) - 1.0;
  const double first = std::clamp(std::floor(past_px) + 1.0, 1.0, last + 1.0);
  const double end = std::clamp(std::floor(reach_px) + 1.0, first, last + 1.0);
  return {static_cast<std::size_t>(first), static_cast<std::size_t>(end)};
}

// The cut through a board whose window lies `window_px` further out than the mat's.
void cut_bevel(BoardProfile& sides, const BoardColour& core, double window_px, double width_px) {
  for (std::size_t side = 0; side < 4; ++side) {
    auto& line = sides[side];
    const Band cut = band(line, window_px, window_px + std::max(kThinnestBevelPx, width_px));
    for (std::size_t d = cut.first; d < cut.end; ++d) line[d] = scaled(core, kBevelLight[side]);
  }
}

// Two boards, the window of the outer one wider by the reveal.
void lay_double(BoardProfile& sides, const MatBoards& boards) {
  const double reveal_px = std::max(2, sheet_pixels(boards.reveal_px));
  for (auto& line : sides) {
    const Band reveal = band(line, 0.0, reveal_px);
    std::fill(line.begin() + static_cast<std::ptrdiff_t>(reveal.first),
              line.begin() + static_cast<std::ptrdiff_t>(reveal.end), boards.reveal);
  }
  cut_bevel(sides, boards.core, reveal_px, boards.bevel_px);
  cut_bevel(sides, boards.core, 0.0, std::max(1.0, 0.55 * boards.px_per_mm));
}

// A groove pressed into the board: its inner wall lies in shade, its outer one catches light.
void press_groove(BoardProfile& sides, const MatBoards& boards) {
  constexpr double off_mm = 9.0;
  constexpr double width_mm = 1.1;
  const double off_px = off_mm * boards.px_per_mm;
  const double width_px = std::max(1.0, width_mm * boards.px_per_mm);
  for (auto& line : sides) {
    const Band board = band(line, boards.grip_px / 2.0, static_cast<double>(line.size()));
    for (std::size_t d = board.first; d < board.end; ++d) {
      const double t = static_cast<double>(d) - off_px;
      const double u = (t + width_px) / width_px;
      const double v = (t - width_px) / width_px;
      const double relief = 0.62 * elementary::exp(-v * v) - elementary::exp(-u * u);
      line[d] = scaled(line[d], static_cast<float>(1.0 + relief * 0.085));
    }
  }
}

// A French mat: a band of wash between ruled ink lines, with small squares on the corners of the
// outermost.
void wash_and_rule(MatFace& face, const MatBoards& boards) {
  constexpr std::array<double, 4> lines_mm = {5.0, 7.0, 15.0, 17.5};
  constexpr float wash_share = 0.65f;
  constexpr float ink_share = 0.75f;
  const double mm = boards.px_per_mm;
  const BoardColour ink = scaled(boards.board, 0.42f);
  const BoardColour wash = {boards.board[0] * 0.985f, boards.board[1] * 0.965f,
                            boards.board[2] * 0.905f};
  const double half_line_px = std::max(0.8, 0.28 * mm);
  const double half_square_px = std::max(2.0, 1.2 * mm);
  for (std::size_t side = 0; side < 4; ++side) {
    auto& line = face.sides[side];
    for (std::size_t d = 1; d < line.size(); ++d) {
      const double c = static_cast<double>(d);
      if (c > lines_mm[1] * mm && c < lines_mm[2] * mm) mix_in(line[d], wash, wash_share);
    }
    face.corners[side] = line;
    for (BoardColour& pixel : face.corners[side]) mix_in(pixel, ink, ink_share);
    for (std::size_t d = 1; d < line.size(); ++d) {
      const double c = static_cast<double>(d);
      const auto near = [&](double at) { return std::fabs(c - at * mm) < half_line_px; };
      if (std::any_of(lines_mm.begin(), lines_mm.end(), near)) line[d] = face.corners[side][d];
    }
  }
  const double last = static_cast<double>(face.sides[0].size()) - 1.0;
  const double at = lines_mm.back() * mm;
  face.corner_first =
      static_cast<std::int32_t>(std::clamp(std::ceil(at - half_square_px), 1.0, last + 1.0));
  face.corner_last =
      static_cast<std::int32_t>(std::clamp(std::floor(at + half_square_px), 0.0, last));
}

void hold_to_unit(BoardProfile& sides) {
  for (auto& line : sides)
    for (BoardColour& pixel : line)
      for (float& value : pixel) value = std::clamp(value, 0.0f, 1.0f);
}

}  // namespace

MatBoards mat_boards(const Json& opts, const std::string& style, double px_per_mm) {
  MatBoards boards;
  boards.style = style;
  boards.board = board_colour(get_text_or(opts, "mat_color", "white"));
  boards.core = get_text_or(opts, "mat_core", "white") == "cream" ? kCreamCore : kWhiteCore;
  boards.reveal = board_colour(get_text_or(opts, "mat_reveal_color", "black"));
  boards.px_per_mm = px_per_mm;
  boards.bevel_px = option_px(opts, "mat_bevel_mm", 1.6, px_per_mm);
  boards.reveal_px = option_px(opts, "mat_reveal_mm", 6.0, px_per_mm);
  boards.grip_px = plain_grip_px(opts, px_per_mm);
  return boards;
}

MatFace mat_face(const MatBoards& boards, std::int32_t farthest) {
  MatFace face;
  face.sides.fill(std::vector<BoardColour>(static_cast<std::size_t>(farthest) + 1, boards.board));
  if (boards.style == "double")
    lay_double(face.sides, boards);
  else
    cut_bevel(face.sides, boards.core, 0.0, boards.bevel_px);
  if (boards.style == "emboss") press_groove(face.sides, boards);
  if (boards.style == "french") wash_and_rule(face, boards);
  hold_to_unit(face.sides);
  hold_to_unit(face.corners);
  return face;
}

}  // namespace morva
