#include "sheet_command.h"

#include <algorithm>
#include <cmath>
#include <nlohmann/json.hpp>
#include <optional>

#include "area_reduction.h"
#include "cancel_signal.h"
#include "contact_sheet.h"
#include "engine_render.h"
#include "framing.h"
#include "host_error.h"
#include "output_file.h"
#include "picture_reader.h"
#include "progress.h"
#include "sheet_size.h"
#include "source_exposure.h"
#include "variation.h"

namespace morva::host {
namespace {

using OrderedJson = nlohmann::ordered_json;

constexpr std::size_t kMostCells = 400;
constexpr int kTrialPx = 32;

struct PlannedCell {
  SettingChoice choice;
  std::vector<std::string> labels;
  CheckedSetting checked;
  PixelSize reduced;  // the source, so far that its sheet comes out at about the size of a cell
  PixelSize picture;  // what stands on the sheet then, to a pixel or two
};

std::vector<Variation> variations_of(const SheetRequest& request) {
  std::vector<Variation> variations;
  for (const std::string& text : request.variations) {
    variations.push_back(variation_of(text));
    refuse_flag_of(variations.back(), request.setting);
  }
  if (variations.empty() || variations.size() > 2)
    throw HostError(MORVA_BAD_ARGUMENT,
                    "a sheet takes --vary once, for a row, or twice, for a grid");
  return variations;
}

void require_few(const std::vector<Variation>& variations) {
  std::size_t cells = 1;  // no overflow: a command line holds far fewer values of each
  for (const Variation& variation : variations) cells *= variation.values.size();
  if (cells > kMostCells)
    throw HostError(MORVA_BAD_ARGUMENT, "a sheet of " + std::to_string(cells) +
                                            " pictures is too large; " +
                                            std::to_string(kMostCells) + " are the most");
}

// The first variation across, the second down.
std::vector<PlannedCell> plan_cells(const SettingChoice& choice,
                                    const std::vector<Variation>& variations) {
  require_few(variations);
  std::vector<PlannedCell> cells(1);
  cells.front().choice = choice;
  for (auto variation = variations.rbegin(); variation != variations.rend(); ++variation) {
    std::vector<PlannedCell> finer;
    for (const PlannedCell& cell : cells)
      for (const std::string& value : variation->values) {
        finer.push_back(cell);
        vary(finer.back().choice, variation->key, value);
        finer.back().labels.insert(finer.back().labels.begin(), label_of(variation->key, value));
      }
    cells = std::move(finer);
  }
  return cells;
}

std::string in_words(const PlannedCell& cell) {
  std::string words;
  for (const std::string& label : cell.labels) words += (words.empty() ? "" : ", ") + label;
  return words;
}

PixelSize times(PixelSize size, double scale) {
  const auto side = [&](int32_t px) {
    return std::max(1, static_cast<int32_t>(std::lround(px * scale)));
  };
  return {side(size.width), side(size.height)};
}

double scale_to(PixelSize size, int cell_px) {
  return std::min(1.0, static_cast<double>(cell_px) / std::max(size.width, size.height));
}

// What is wrong with a cell, under its labels.
template <class Action>
void for_each_cell(std::vector<PlannedCell>& planned, const Action& action) {
  for (PlannedCell& cell : planned) {
    check_cancelled();
    try {
      action(cell);
    } catch (const HostError& failure) {
      if (failure.code == MORVA_CANCELLED) throw;
      throw failure.under(in_words(cell));
    }
  }
}

void measure(PlannedCell& cell, PixelSize source, int cell_px) {
  auto& [setting, options, metering] = cell.checked;
  frame_straightened(source.width, source.height, options);
  const PixelSize whole = sheet_size(setting, options, source);
  const PixelSize near = times(source, scale_to(whole, cell_px));
  // Of a large source the film caps the sheet, of a small one not.
  const PixelSize sheet = sheet_size(setting, options, near);
  cell.reduced = times(near, scale_to(sheet, cell_px));
  cell.picture = times(whole, scale_to(whole, cell_px));
}

void try_cell(const PlannedCell& cell) {
  const PixelSize size = times(cell.reduced, scale_to(cell.picture, kTrialPx));
  try_out(size, cell.checked.setting, cell.checked.options);
}

void require_room_for(const std::vector<PlannedCell>& planned, std::size_t columns, int cell_px) {
  std::vector<PixelSize> sizes;
  for (const PlannedCell& cell : planned) sizes.push_back(cell.picture);
  const std::size_t labels = planned.front().labels.size();
  const std::string remedy = std::to_string(planned.size()) + " pictures of --cell " +
                             std::to_string(cell_px) + " are too many or too large";
  const std::string complaint =
      too_large(contact_sheet_size(sizes, labels, columns, cell_px), remedy);
  if (!complaint.empty()) throw HostError(MORVA_BAD_ARGUMENT, complaint);
}

// The source as each cell wants it. What one has measured or reduced serves the next.
class Source {
 public:
  explicit Source(Picture whole) : whole_(std::move(whole)) {}

  PixelSize size() const { return whole_.size(); }

  const MorvaSourceStats& stats() {
    if (!stats_) stats_ = measured(whole_);
    return *stats_;
  }

  const Picture& reduced(PixelSize size) {
    if (reduced_.width != size.width || reduced_.height != size.height)
      reduced_ = reduced_by_area(whole_, size);
    return reduced_;
  }

 private:
  Picture whole_;
  Picture reduced_;
  std::optional<MorvaSourceStats> stats_;
};

// What an eye would see of the whole sheet from far.
Picture render_cell(const PlannedCell& cell, Source& source, int cell_px) {
  auto [setting, options, metering] = cell.checked;
  if (metering != "off") expose_source(source.stats(), metering, options);
  const Picture sheet = render_sheet(source.reduced(cell.reduced), setting, options);
  const PixelSize size = sheet.size();
  return reduced_by_area(sheet, times(size, scale_to(size, cell_px)));
}

std::vector<Cell> render_cells(std::vector<PlannedCell>& planned, Source& source, int cell_px,
                               Progress& progress) {
  std::vector<Cell> cells;
  for_each_cell(planned, [&](const PlannedCell& cell) {
    progress.step("rendering " + std::to_string(cells.size() + 1) + " of " +
                  std::to_string(planned.size()) + ": " + in_words(cell));
    cells.push_back({render_cell(cell, source, cell_px), cell.labels});
  });
  return cells;
}

}  // namespace

void run(const SheetRequest& request) {
  const Encoding encoding = encoding_of(request.output);
  OutputFile output(request.output.file, request.output.force);
  const std::vector<Variation> variations = variations_of(request);
  const std::size_t down = variations.size() > 1 ? variations[1].values.size() : 1;
  const std::size_t columns = columns_of(variations[0].values.size(), down);
  std::vector<PlannedCell> planned = plan_cells(request.setting, variations);
  for_each_cell(planned, [](PlannedCell& cell) { cell.checked = check_setting(cell.choice); });
  const std::string input = planned.front().checked.setting.input;
  refuse_input_as_output(input, request.output.file);
  select_backend(request.backend);

  OrderedJson made;
  {
    Progress progress(!request.output.quiet);
    progress.step("reading " + input);
    Source source(read_picture(input));
    for_each_cell(planned,
                  [&](PlannedCell& cell) { measure(cell, source.size(), request.cell_px); });
    require_room_for(planned, columns, request.cell_px);
    progress.step("checking " + std::to_string(planned.size()) + " settings");
    for_each_cell(planned, try_cell);
    const std::vector<Cell> cells = render_cells(planned, source, request.cell_px, progress);
    const Picture sheet = contact_sheet(cells, columns, request.cell_px);
    progress.step("writing " + request.output.file);
    write_picture(sheet, encoding, {}, output.create_temporary());
    check_cancelled();
    output.commit();
    made = {{"output", request.output.file},
            {"width", sheet.width},
            {"height", sheet.height},
            {"pictures", cells.size()},
            {"seconds", progress.elapsed_s()}};
  }
  announce(request.output, made);
}

}  // namespace morva::host
