#include "sheet_command.h"

#include <algorithm>
#include <cmath>
#include <nlohmann/json.hpp>

#include "area_reduction.h"
#include "cancel_signal.h"
#include "contact_sheet.h"
#include "engine_facts.h"
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

// The first variation across, the second down.
std::vector<PlannedCell> plan_cells(const SettingChoice& choice,
                                    const std::vector<Variation>& variations) {
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
  if (cells.size() > kMostCells)
    throw HostError(MORVA_BAD_ARGUMENT, "a sheet of " + std::to_string(cells.size()) +
                                            " pictures is too large; " +
                                            std::to_string(kMostCells) + " are the most");
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
      throw HostError(failure.code, in_words(cell) + ": " + failure.what());
    }
  }
}

// Everything that the engine could refuse of it.
void measure(PlannedCell& cell, PixelSize source, int cell_px) {
  auto& [setting, options, metering] = cell.checked;
  frame_straightened(source.width, source.height, options);
  const PixelSize whole = sheet_size(setting, options, source);
  engine_facts(setting, options, source);
  cell.reduced = times(source, scale_to(whole, cell_px));
  cell.picture = times(whole, scale_to(whole, cell_px));
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

// What an eye would see of the whole sheet from far.
Picture render_cell(const PlannedCell& cell, const Picture& source, int cell_px) {
  nlohmann::json options = cell.checked.options;
  meter_source(source, cell.checked.metering, options);
  const Picture sheet =
      render_sheet(reduced_by_area(source, cell.reduced), cell.checked.setting, options);
  const PixelSize size = sheet.size();
  return reduced_by_area(sheet, times(size, scale_to(size, cell_px)));
}

std::vector<Cell> render_cells(std::vector<PlannedCell>& planned, const Picture& source,
                               int cell_px, Progress& progress) {
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
  select_backend(request.backend);

  OrderedJson made;
  {
    Progress progress(!request.output.quiet);
    progress.step("reading " + input);
    const Picture source = read_picture(input);
    for_each_cell(planned,
                  [&](PlannedCell& cell) { measure(cell, source.size(), request.cell_px); });
    require_room_for(planned, columns, request.cell_px);
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
