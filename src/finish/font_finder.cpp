#include "finish/font_finder.h"

#include <algorithm>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "profiles/opened_library.h"
#include "profiles/system.h"

#if !defined(_WIN32)
#include <strings.h>

#include <cctype>
#endif

namespace morva {

namespace {

using Accept = std::function<bool(const FontFile&)>;

bool offer_folder(const std::filesystem::path& fonts, const Accept& accept) {
  for (const char* name : {"verdanab.ttf", "arialbd.ttf", "segoeuib.ttf"})
    if (accept({fonts / name, 0})) return true;
  return false;
}

#if !defined(_WIN32)

constexpr const char* kFamilies[] = {"Verdana", "Arial", "Segoe UI"};

// Of fontconfig.h: how a match is made, and its scales of weight and slant.
constexpr int kMatchPattern = 0;
constexpr int kResultMatch = 0;
constexpr int kWeightDemiBold = 180;
constexpr int kWeightBold = 200;
constexpr int kUpright = 0;
constexpr int kProportional = 0;
constexpr int kDualWidth = 90;  // and above it, every letter of one width

// fontconfig, opened at the first stamp: a program that presses none does not load it. Its few
// functions have had these signatures since its first release.
struct FontConfig {
  struct Config;
  struct Pattern;
  struct FontSet {
    int count;
    int room;
    Pattern** fonts;
  };
  Config* (*load_config)();
  void (*config_destroy)(Config*);
  Pattern* (*pattern_create)();
  void (*pattern_destroy)(Pattern*);
  int (*add_string)(Pattern*, const char* object, const unsigned char* value);
  int (*add_integer)(Pattern*, const char* object, int value);
  int (*substitute)(Config*, Pattern*, int kind);
  void (*default_substitute)(Pattern*);
  Pattern* (*match)(Config*, Pattern*, int* result);
  FontSet* (*sort)(Config*, Pattern*, int trim, void** charset, int* result);
  void (*set_destroy)(FontSet*);
  int (*get_string)(const Pattern*, const char* object, int n, unsigned char** value);
  int (*get_integer)(const Pattern*, const char* object, int n, int* value);
};

#if defined(__APPLE__)
constexpr const char* kFontConfigFile = "libfontconfig.1.dylib";
#else
constexpr const char* kFontConfigFile = "libfontconfig.so.1";
#endif

std::optional<FontConfig> open_fontconfig() {
  const OpenedLibrary library = open_library(kFontConfigFile);
  FontConfig fc{};
  const bool whole = library.find("FcInitLoadConfigAndFonts", fc.load_config) &&
                     library.find("FcConfigDestroy", fc.config_destroy) &&
                     library.find("FcPatternCreate", fc.pattern_create) &&
                     library.find("FcPatternDestroy", fc.pattern_destroy) &&
                     library.find("FcPatternAddString", fc.add_string) &&
                     library.find("FcPatternAddInteger", fc.add_integer) &&
                     library.find("FcConfigSubstitute", fc.substitute) &&
                     library.find("FcDefaultSubstitute", fc.default_substitute) &&
                     library.find("FcFontMatch", fc.match) &&
                     library.find("FcFontSort", fc.sort) &&
                     library.find("FcFontSetDestroy", fc.set_destroy) &&
                     library.find("FcPatternGetString", fc.get_string) &&
                     library.find("FcPatternGetInteger", fc.get_integer);
  if (!whole) return std::nullopt;
  return fc;
}

std::string text_of(const FontConfig& fc, const FontConfig::Pattern* font, const char* object) {
  unsigned char* value = nullptr;
  if (fc.get_string(font, object, 0, &value) != kResultMatch || value == nullptr) return {};
  return reinterpret_cast<const char*>(value);
}

// A font of variable weight answers with a range and counts as having none.
int number_of(const FontConfig& fc, const FontConfig::Pattern* font, const char* object,
              int fallback) {
  int value = 0;
  return fc.get_integer(font, object, 0, &value) == kResultMatch ? value : fallback;
}

bool is_bold_grotesque(const FontConfig& fc, const FontConfig::Pattern* font) {
  return number_of(fc, font, "weight", 0) >= kWeightDemiBold &&
         number_of(fc, font, "slant", kUpright) == kUpright &&
         text_of(fc, font, "fontformat") == "TrueType";
}

// What fontconfig puts in a family's place may be of any kind, and says so in its names alone.
bool is_plain_sans(const FontConfig& fc, const FontConfig::Pattern* font) {
  std::string names = text_of(fc, font, "family") + ' ' + text_of(fc, font, "style");
  std::transform(names.begin(), names.end(), names.begin(),
                 [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
  for (std::size_t at = names.find("sans serif"); at != std::string::npos;
       at = names.find("sans serif", at))
    names.erase(at, std::string_view("sans serif").size());
  return names.find("serif") == std::string::npos && names.find("mono") == std::string::npos &&
         number_of(fc, font, "spacing", kProportional) < kDualWidth;
}

template <class T>
using Owned = std::unique_ptr<T, void (*)(T*)>;
using OwnedConfig = Owned<FontConfig::Config>;
using OwnedPattern = Owned<FontConfig::Pattern>;
using OwnedSet = Owned<FontConfig::FontSet>;

bool offer_font(const FontConfig& fc, const FontConfig::Pattern* font, const Accept& accept) {
  return is_bold_grotesque(fc, font) &&
         accept({path_from_utf8(text_of(fc, font, "file")), number_of(fc, font, "index", 0)});
}

// Bold `family`, with all that the system's configuration would have in its place.
OwnedPattern bold_like(const FontConfig& fc, FontConfig::Config* config, const char* family) {
  OwnedPattern wanted(fc.pattern_create(), fc.pattern_destroy);
  if (!wanted) return wanted;
  fc.add_string(wanted.get(), "family", reinterpret_cast<const unsigned char*>(family));
  fc.add_integer(wanted.get(), "weight", kWeightBold);
  fc.add_integer(wanted.get(), "slant", kUpright);
  fc.substitute(config, wanted.get(), kMatchPattern);
  fc.default_substitute(wanted.get());
  return wanted;
}

// The one font that stands in for a family.
bool offer_stand_in(const FontConfig& fc, FontConfig::Config* config, const char* family,
                    const Accept& accept) {
  const OwnedPattern wanted = bold_like(fc, config, family);
  if (!wanted) return false;
  int result = 0;
  const OwnedPattern font(fc.match(config, wanted.get(), &result), fc.pattern_destroy);
  return font && is_plain_sans(fc, font.get()) && offer_font(fc, font.get(), accept);
}

// All the system's fonts that `wanted_kind` takes, from the nearest to bold `family` on.
template <class Kind>
bool offer_sorted(const FontConfig& fc, FontConfig::Config* config, const char* family,
                  Kind wanted_kind, const Accept& accept) {
  const OwnedPattern wanted = bold_like(fc, config, family);
  if (!wanted) return false;
  int result = 0;
  const OwnedSet set(fc.sort(config, wanted.get(), 0, nullptr, &result), fc.set_destroy);
  for (int i = 0; set && i < set->count; ++i)
    if (wanted_kind(set->fonts[i]) && offer_font(fc, set->fonts[i], accept)) return true;
  return false;
}

// Reads the system's configuration into one of its own: the host may use fontconfig too.
bool offer_installed(const Accept& accept) {
  const std::optional<FontConfig> fc = open_fontconfig();
  if (!fc) return false;
  const OwnedConfig config(fc->load_config(), fc->config_destroy);
  if (!config) return false;
  for (const char* family : kFamilies) {
    const auto itself = [&](const FontConfig::Pattern* font) {
      return strcasecmp(text_of(*fc, font, "family").c_str(), family) == 0;
    };
    if (offer_sorted(*fc, config.get(), family, itself, accept)) return true;
  }
  const auto sans = [&](const FontConfig::Pattern* font) { return is_plain_sans(*fc, font); };
  return offer_stand_in(*fc, config.get(), "Arial", accept) ||
         offer_sorted(*fc, config.get(), "sans-serif", sans, accept);
}

#endif

}  // namespace

bool offer_bold_grotesques(const Accept& accept) {
  const auto windows = environment_path("WINDIR");
  if (windows && offer_folder(*windows / "Fonts", accept)) return true;
#if defined(_WIN32)
  return !windows && offer_folder(L"C:\\Windows\\Fonts", accept);
#else
  return offer_installed(accept);
#endif
}

}  // namespace morva
