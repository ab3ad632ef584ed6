// A setting that has been written down: film, lens, paper, metering and options, or some of them.
// It stands in a file of its own, and in every picture that was rendered with it.
#pragma once

#include <nlohmann/json.hpp>
#include <optional>
#include <string>

namespace morva::host {

// What is not there is left as it was.
struct Preset {
  std::optional<std::string> film;
  std::optional<std::string> lens;
  std::optional<std::string> paper;  // empty: the film's own
  std::optional<std::string> source_exposure;
  nlohmann::json options = nlohmann::json::object();
  std::string source;  // the picture that was rendered, where a picture tells; else empty
};

// Reads the object that stands in `file`. Throws for a key that no preset has, and for a value of
// the wrong kind.
Preset preset_of(const nlohmann::json& object, const std::string& file);

// As JSON, in the order in which one would read it; `source` is left out where it is empty.
nlohmann::ordered_json in_json(const Preset& preset);

// One over the other: the later one wins, option by option. How the source is metered is one
// thing, whichever of source_exposure, src_exposure and _source_gain tells it.
void put_over(Preset& below, const Preset& above);

// By the name of one in the user's own folder or beside the profiles, or by a file, which has a
// dot or a slash in it: JSON, or a picture that was rendered by this host.
Preset find_preset(const std::string& name_or_file);

// The setting that a picture was rendered with. Throws for a picture that does not tell.
Preset preset_in_picture(const std::string& file);

}  // namespace morva::host
