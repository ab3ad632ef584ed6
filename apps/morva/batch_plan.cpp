#include "batch_plan.h"

#include <algorithm>
#include <array>
#include <cctype>
#include <filesystem>
#include <map>
#include <set>
#include <string_view>

#include "folder_files.h"
#include "host_error.h"
#include "output_file.h"
#include "standard_streams.h"

namespace morva::host {
namespace {

namespace fs = std::filesystem;

// What a folder's pictures are told by; a file that is named itself is taken whatever its name.
constexpr std::array kPictureExtensions = {
    ".png", ".jpg", ".jpeg", ".tif", ".tiff", ".exr", ".webp", ".heic", ".heif",
    ".dng", ".nef", ".nrw",  ".cr2", ".cr3",  ".crw", ".arw",  ".srf",  ".sr2",
    ".raf", ".orf", ".rw2",  ".raw", ".pef",  ".srw", ".x3f",  ".3fr",  ".fff",
    ".iiq", ".mrw", ".dcr",  ".kdc", ".erf",  ".mef", ".mos",  ".rwl"};

std::string lower_case(std::string text) {
  std::transform(text.begin(), text.end(), text.begin(),
                 [](unsigned char letter) { return static_cast<char>(std::tolower(letter)); });
  return text;
}

bool is_picture_name(const fs::path& file) {
  const std::string extension = lower_case(file.extension().string());
  const bool hidden = file.filename().string().starts_with('.');
  return !hidden && std::find(kPictureExtensions.begin(), kPictureExtensions.end(), extension) !=
                        kPictureExtensions.end();
}

std::vector<std::string> pictures_in(const std::string& folder) {
  const std::optional<std::vector<fs::path>> all = files_in(folder);
  if (!all) throw HostError(MORVA_BAD_ARGUMENT, "cannot read the folder: " + folder);
  std::vector<std::string> files;
  for (const fs::path& file : *all)
    if (is_picture_name(file)) files.push_back(file.string());
  if (files.empty()) throw HostError(MORVA_BAD_ARGUMENT, "no pictures in the folder: " + folder);
  std::sort(files.begin(), files.end());
  return files;
}

std::vector<std::string> all_inputs(const std::vector<std::string>& inputs) {
  std::vector<std::string> files;
  for (const std::string& input : inputs) {
    std::error_code error;
    if (input == kStandardStream)
      throw HostError(MORVA_BAD_ARGUMENT, "a batch reads no picture from standard input");
    if (!fs::is_directory(input, error)) {
      files.push_back(input);
      continue;
    }
    for (std::string& file : pictures_in(input)) files.push_back(std::move(file));
  }
  return files;
}

struct Placeholder {
  std::string name;
  std::string value;
};

// "{name}-{film}" with each name's value in place of it.
std::string filled_in(const std::string& pattern, const std::vector<Placeholder>& values) {
  std::string text;
  for (std::size_t at = 0; at < pattern.size();) {
    const std::size_t end = pattern[at] == '{' ? pattern.find('}', at) : std::string::npos;
    if (end == std::string::npos) {
      text += pattern[at++];
      continue;
    }
    const std::string name = pattern.substr(at + 1, end - at - 1);
    const auto known = std::find_if(values.begin(), values.end(),
                                    [&](const Placeholder& one) { return one.name == name; });
    if (known == values.end())
      throw HostError(MORVA_BAD_ARGUMENT,
                      "--name knows {name}, {film}, {paper}, {n} and {ext}, not {" + name + "}");
    text += known->value;
    at = end + 1;
  }
  return text;
}

std::string numbered(std::size_t number, std::size_t count) {
  std::string digits = std::to_string(number);
  const std::size_t width = std::to_string(count).size();
  return std::string(width - digits.size(), '0') + digits;
}

std::string extension_of(const fs::path& file) {
  const std::string extension = file.extension().string();
  return extension.empty() ? "" : extension.substr(1);
}

// The pattern with an extension that tells the format.
std::string whole_pattern(const BatchChoice& choice) {
  const std::string pattern = choice.pattern.empty() ? "{name}" : choice.pattern;
  const std::string& format = choice.output.format;
  if (!format.empty()) return pattern + "." + format;
  return fs::path(pattern).has_extension() && !pattern.ends_with("}") ? pattern : pattern + ".png";
}

std::vector<BatchItem> name_outputs(const BatchChoice& choice, const RenderSetting& setting,
                                    const std::vector<std::string>& files) {
  const std::string paper = setting.paper.empty() ? "own" : setting.paper;
  const std::string pattern = whole_pattern(choice);
  std::vector<BatchItem> items;
  for (const std::string& file : files) {
    const std::string name = filled_in(pattern, {{"name", fs::path(file).stem().string()},
                                                 {"film", setting.film},
                                                 {"paper", paper},
                                                 {"n", numbered(items.size() + 1, files.size())},
                                                 {"ext", extension_of(file)}});
    if (name.find_first_of("/\\") != std::string::npos)
      throw HostError(MORVA_BAD_ARGUMENT, "a sheet's name cannot hold a slash: " + name);
    items.push_back({file, (fs::path(choice.folder) / name).string()});
  }
  return items;
}

void refuse_same_names(const std::vector<BatchItem>& items) {
  std::map<std::string, std::string> taken;
  for (const BatchItem& item : items) {
    const auto [other, fresh] = taken.try_emplace(item.output, item.input);
    if (!fresh)
      throw HostError(MORVA_BAD_ARGUMENT, other->second + " and " + item.input +
                                              " would both become " + item.output +
                                              " (--name with {ext} or {n} tells them apart)");
  }
}

// Another render may still have to read it.
void refuse_inputs_as_outputs(const std::vector<BatchItem>& items) {
  std::set<fs::path> inputs;
  for (const BatchItem& item : items) inputs.insert(place_of(item.input));
  for (const BatchItem& item : items)
    if (!item.skipped && inputs.contains(place_of(item.output)))
      throw HostError(MORVA_BAD_ARGUMENT,
                      "a sheet would take the place of a picture of the batch: " + item.output);
}

void look_for_existing(const BatchChoice& choice, std::vector<BatchItem>& items) {
  std::size_t there = 0;
  const BatchItem* first = nullptr;
  for (BatchItem& item : items) {
    std::error_code error;
    if (!fs::exists(fs::symlink_status(item.output, error))) continue;
    item.skipped = choice.skip_existing;
    if (there++ == 0) first = &item;
  }
  if (there > 0 && !choice.skip_existing && !choice.output.force)
    throw HostError(MORVA_BAD_ARGUMENT,
                    std::to_string(there) + " of " + std::to_string(items.size()) +
                        " outputs exist, such as " + first->output +
                        " (--skip-existing leaves them, --force writes over them)");
}

void make_folder(const std::string& folder) {
  std::error_code error;
  fs::create_directories(folder, error);
  if (!fs::is_directory(folder, error))
    throw HostError(MORVA_BAD_ARGUMENT, "cannot make the folder for the output: " + folder);
}

}  // namespace

std::vector<BatchItem> plan_batch(const BatchChoice& choice, const RenderSetting& setting) {
  if (choice.folder == kStandardStream)
    throw HostError(MORVA_BAD_ARGUMENT, "a batch writes into a folder, not to standard output");
  std::vector<BatchItem> items = name_outputs(choice, setting, all_inputs(choice.inputs));
  refuse_same_names(items);
  for (const BatchItem& item : items) {
    OutputChoice output = choice.output;
    output.file = item.output;
    encoding_of(output);
  }
  look_for_existing(choice, items);
  refuse_inputs_as_outputs(items);
  make_folder(choice.folder);
  return items;
}

}  // namespace morva::host
