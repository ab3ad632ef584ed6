#include "hints.h"

#include <algorithm>
#include <array>
#include <exception>
#include <string_view>
#include <vector>

#include "nearest_names.h"
#include "option_table.h"
#include "profile_folder.h"

namespace morva::host {
namespace {

// The engine's quotation marks.
constexpr std::string_view kOpen = "«", kClose = "»";

struct KnownFailure {
  std::string_view words;
  const char* hint;
};

constexpr const char* kNoPicture =
    "the file is damaged, or no picture that the engine reads: camera raw, HEIC, JPEG, PNG, TIFF, "
    "WebP or EXR";

// In the order in which they are tried: what ends in a file's name before words that it may hold.
constexpr std::array kKnown = {
    KnownFailure{"WIC:", kNoPicture},
    KnownFailure{"libheif:", kNoPicture},
    KnownFailure{"LibRaw:", "the camera raw file is damaged, or its camera is not known"},
    KnownFailure{"каталог профилей не найден",
                 "no profile folder was found: set MORVA_PROFILES_DIR to the folder that holds "
                 "films, lenses and papers"},
    KnownFailure{"нет каталога films",
                 "that folder holds no films: MORVA_PROFILES_DIR names the one above them"},
    KnownFailure{"не открыть", "a profile's file cannot be opened: look at its permissions"},
    KnownFailure{"испорченный JSON",
                 "a profile's file is not JSON; the place of the error stands "
                 "at the end of the message"},
    KnownFailure{"опции — не JSON", "the options are not JSON"},
    KnownFailure{"опции должны быть", "the options must be one JSON object: {\"push\": 1}"},
    KnownFailure{"ожидалось число",
                 "that option or key of a profile takes a number; morva options "
                 "tells the defaults"},
    KnownFailure{"не число",
                 "that option or key of a profile takes a number; morva options tells "
                 "the defaults"},
    KnownFailure{"не вариант",
                 "the film cannot be developed so; the message ends with the values "
                 "of the option dev that it takes"},
    KnownFailure{"нет размера",
                 "the film's format has no frame of that name: morva plan --json tells those of a "
                 "film, under facts.frame_sizes"},
    KnownFailure{"нет формата", "there is no such film format: 135, half, 120, 4x5 or plate"},
    KnownFailure{"неизвестный размер", "peel-apart film has no picture of that size"},
    KnownFailure{"Паспарту", "there is no such mat: none, classic, double, emboss or french"},
    KnownFailure{"Стола", "there is no such table: none, white, grey, black or linen"},
    KnownFailure{"нет системного гротеска",
                 "stamps need a bold sans-serif font, such as Debian's "
                 "fonts-liberation2"},
    KnownFailure{"стиль",
                 "the rebate has no such style for this film: see frame_style in morva "
                 "options"},
    KnownFailure{"лист не больше", "make the picture, the crop or what surrounds it smaller"},
    KnownFailure{"crop — четыре доли", "a crop is four fractions of the picture: --crop X,Y,W,H"},
    KnownFailure{"нет ключа", "a profile lacks a key that it needs; docs/profiles.md tells them"},
    KnownFailure{"ждали", "a list in a profile or an option has the wrong length or kind"},
    KnownFailure{"ещё не портировано", "the engine names this feature but does not carry it"},
    KnownFailure{"не хватило памяти",
                 "memory ran out: render a smaller picture or crop, or fewer "
                 "at a time"},
    KnownFailure{"out of memory", "render a smaller picture or crop, or fewer at a time"},
    KnownFailure{"нет аппаратного адаптера",
                 "there is no GPU that can render: leave --backend out, "
                 "or give --backend cpu; morva probe tells more"},
    KnownFailure{"видеокарта",
                 "the GPU stopped answering: render with --backend cpu, or try again "
                 "after a while"},
    KnownFailure{"DX12",
                 "the GPU, here one under Vulkan, failed: render with --backend cpu; morva probe "
                 "tells more"},
    KnownFailure{"нет данных эталона", "the engine's data folder is not beside its library"},
};

bool has(std::string_view text, std::string_view words) {
  return text.find(words) != std::string_view::npos;
}

// The first text in the engine's quotation marks, or nothing.
std::string quoted(const std::string& text) {
  const std::size_t open = text.find(kOpen);
  if (open == std::string::npos) return {};
  const std::size_t start = open + kOpen.size();
  const std::size_t end = text.find(kClose, start);
  return end == std::string::npos ? "" : text.substr(start, end - start);
}

std::string on_missing_profile(const std::string& section, const std::string& name) {
  return "there is no profile of that name among the " + section + ": " +
         suggestion(name, profile_names(section)) + "morva list " + section + " names them all";
}

std::string on_unknown_option(const std::string& key) {
  std::vector<std::string> keys;
  for (const OptionEntry& entry : option_table()) keys.push_back(entry.key);
  return "there is no such option: " + suggestion(key, keys) + "morva options lists them";
}

std::string on_names(const std::string& text) {
  for (const char* section : {"films", "lenses", "papers", "filters"})
    if (has(text, std::string("нет профиля ") + section + " "))
      return on_missing_profile(section, quoted(text));
  if (has(text, "незнакомый ключ опций")) return on_unknown_option(quoted(text));
  return {};
}

std::string on_code(int code) {
  switch (code) {
    case MORVA_GPU_LOST:
      return "the GPU stopped answering: render with --backend cpu, or try again after a while";
    case MORVA_NOT_PORTED:
      return "the engine names this feature but does not carry it";
    default:
      return {};
  }
}

}  // namespace

std::string hint_for(const HostError& failure) {
  const std::string& text = failure.engine_words;
  if (text.empty()) return failure.hint;
  try {
    if (std::string hint = on_names(text); !hint.empty()) return hint;
  } catch (const std::exception&) {
    return "the profile folder cannot be read: MORVA_PROFILES_DIR names the one that holds films, "
           "lenses and papers";
  }
  const auto known = std::find_if(kKnown.begin(), kKnown.end(),
                                  [&](const KnownFailure& one) { return has(text, one.words); });
  return known != kKnown.end() ? known->hint : on_code(failure.code);
}

}  // namespace morva::host
