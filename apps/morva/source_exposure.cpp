#include "source_exposure.h"

#include <morva.h>

#include <algorithm>
#include <array>

#include "host_error.h"

namespace morva::host {

bool is_metering_mode(const std::string& mode) {
  constexpr std::array kModes = {"auto", "as_shot", "highlights", "shadows", "off"};
  return std::find(kModes.begin(), kModes.end(), mode) != kModes.end();
}

namespace {

// The option's own word; empty where there is none.
std::string wanted_mode(const nlohmann::json& options) {
  const auto wanted = options.find("src_exposure");
  if (wanted == options.end() || wanted->is_null()) return {};
  if (!wanted->is_string() || !is_metering_mode(*wanted))
    throw HostError(MORVA_OPTIONS_FAILED,
                    "src_exposure is auto, as_shot, highlights, shadows or off, not " +
                        wanted->dump(-1, ' ', false, nlohmann::json::error_handler_t::replace));
  return *wanted;
}

}  // namespace

std::string metering_mode(const std::string& chosen, const nlohmann::json& options,
                          bool scene_linear) {
  const std::string wanted = wanted_mode(options);
  const bool has_gain = options.contains(kSourceGain);
  if (has_gain && !chosen.empty())
    throw HostError(MORVA_BAD_ARGUMENT,
                    "--source-exposure and the option _source_gain exclude each other");
  if (has_gain) return "off";
  if (!chosen.empty()) return chosen;
  if (!wanted.empty()) return wanted;
  return scene_linear ? "off" : "auto";
}

MorvaSourceStats measured(const Picture& source) {
  MorvaSourceStats stats;
  morva_source_stats(source.samples.get(), source.width, source.height, &stats);
  return stats;
}

void expose_source(const MorvaSourceStats& stats, const std::string& mode,
                   nlohmann::json& options) {
  options[kSourceGain] = morva_source_gain(mode.c_str(), &stats);
}

void meter_source(const Picture& source, const std::string& mode, nlohmann::json& options) {
  if (mode != "off") expose_source(measured(source), mode, options);
}

}  // namespace morva::host
