#include "profiles/formats.h"

#include <algorithm>
#include <array>
#include <climits>
#include <cmath>
#include <span>
#include <stdexcept>
#include <string_view>

#include "profiles/peel_sizes.h"

namespace morva {

namespace {

constexpr double kFinestPitchUm = 5.5;

struct Gate {
  std::string_view name;
  double long_mm;
  double short_mm;
};

struct Family {
  Gate reference;  // named by the family
  std::span<const Gate> frames;
};

constexpr Gate k135Frames[] = {{"full", 36, 24}, {"half", 24, 18}, {"xpan", 65, 24}};

constexpr Gate k120Frames[] = {{"645", 56, 41.5}, {"6x6", 56, 56}, {"6x7", 69.5, 56},
                               {"6x8", 76, 56},   {"6x9", 84, 56}, {"6x12", 112, 56}};

constexpr Gate kSheetFrames[] = {{"3x4", 101, 76}, {"4x5", 120, 95}, {"8x10", 245, 194}};

constexpr Gate kPlateFrames[] = {
    {"ninth_plate", 57, 44},    {"sixth_plate", 76, 63}, {"6.5x9", 83, 58},
    {"quarter_plate", 101, 76}, {"9x12", 113, 83},       {"4x5", 120, 95},
    {"half_plate", 133, 101},   {"13x18", 173, 123},     {"whole_plate", 209, 158},
    {"18x24", 233, 173},        {"8x10", 245, 194}};

constexpr Family kFamilies[] = {{{"135", 36, 24}, k135Frames},
                                {{"120", 56, 56}, k120Frames},
                                {{"sheet", 120, 95}, kSheetFrames},
                                {{"plate", 101, 76}, kPlateFrames}};

struct FormatLength {
  std::string_view format;
  double long_um;
};

constexpr FormatLength kFormatLengths[] = {
    {"135", 36000}, {"120", 56000}, {"half", 24000}, {"4x5", 120000}, {"plate", 101000}};

const Family* find_family(std::string_view name) {
  for (const Family& family : kFamilies)
    if (family.reference.name == name) return &family;
  return nullptr;
}

const Gate* find_frame(const Family& family, std::string_view name) {
  for (const Gate& frame : family.frames)
    if (frame.name == name) return &frame;
  return nullptr;
}

std::string family_of_format(const std::string& format) {
  if (format == "half") return "135";
  if (format == "4x5") return "sheet";
  return format;
}

// Long side of a frame of 120 film, called by its centimetres.
std::optional<double> format_120_long_um(double cm) {
  if (cm == 6.0) return 56000.0;
  if (cm == 7.0) return 69500.0;
  if (cm == 8.0) return 76000.0;
  if (cm == 9.0) return 84000.0;
  return std::nullopt;
}

// A custom gate keeps the reference's short side and grows its long side up to the reference's.
Gate custom_gate(const Gate& reference, int width, int height) {
  const double aspect = width != 0 && height != 0 ? static_cast<double>(std::max(width, height)) /
                                                        std::max(std::min(width, height), 1)
                                                  : reference.long_mm / reference.short_mm;
  const double long_mm = std::min(reference.short_mm * aspect, reference.long_mm);
  return {"custom", long_mm, long_mm / aspect};
}

int whole_pixels(double pixels) {
  if (std::isnan(pixels)) return 0;
  return static_cast<int>(std::clamp(std::nearbyint(pixels), 0.0, static_cast<double>(INT_MAX)));
}

}  // namespace

FrameChoice resolve_frame(const std::string& format, const std::optional<std::string>& frame_size) {
  std::string name = family_of_format(format.empty() ? "135" : format);
  const Family* family = find_family(name);
  if (family == nullptr) family = &kFamilies[0];
  FrameChoice choice{std::string(family->reference.name), std::nullopt};
  if (frame_size)
    choice.name = find_frame(*family, *frame_size) != nullptr ? *frame_size : "custom";
  return choice;
}

double format_long_um(const std::string& format, const Json& opts) {
  if (format == "120") {
    const double cm = std::nearbyint(get_number_or(opts, "format_120_cm", 6, 6));
    if (const auto long_um = format_120_long_um(cm)) return *long_um;
  }
  for (const FormatLength& entry : kFormatLengths)
    if (entry.format == format) return entry.long_um;
  return kFormatLengths[0].long_um;
}

double frame_aspect(const FrameChoice& choice) {
  const Family* family = find_family(choice.family);
  if (family == nullptr || !choice.name) return 0.0;
  const Gate* frame = find_frame(*family, *choice.name);
  return frame == nullptr ? 0.0 : frame->long_mm / frame->short_mm;
}

std::vector<std::string> frame_names(const std::string& name) {
  std::vector<std::string> names;
  if (const Family* family = find_family(name))
    for (const Gate& frame : family->frames) names.emplace_back(frame.name);
  return names;
}

int frame_cm(const std::string& name) {
  if (name == "6x7") return 7;
  if (name == "6x8") return 8;
  if (name == "6x9") return 9;
  if (name == "6x12") return 12;
  return 6;
}

FramePlan frame_plan(const std::string& family_name, const std::optional<std::string>& frame_name,
                     int width0, int height0, int width1, int height1, const std::string& gate) {
  const bool named = frame_name && *frame_name != "custom";
  const Family* family = find_family(family_name);
  FramePlan plan;
  if (named) {
    const Gate* frame = family != nullptr ? find_frame(*family, *frame_name) : nullptr;
    if (frame == nullptr)
      throw std::out_of_range("FRAME_SIZES: нет размера " + *frame_name + " у формата " +
                              family_name);
    plan.long_mm = frame->long_mm;
    plan.short_mm = frame->short_mm;
  } else {
    if (family == nullptr) throw std::out_of_range("FORMAT_REF_MM: нет формата " + family_name);
    const Gate custom = custom_gate(family->reference, width0, height0);
    plan.long_mm = custom.long_mm;
    plan.short_mm = custom.short_mm;
  }

  const double frame_aspect = plan.long_mm / plan.short_mm;
  plan.fit_long_px = std::max(width0, height0);
  plan.fit_short_px = std::max(std::min(width0, height0), 1);
  if (plan.fit_long_px / plan.fit_short_px >= frame_aspect)
    plan.fit_long_px = plan.fit_short_px * frame_aspect;
  else
    plan.fit_short_px = plan.fit_long_px / frame_aspect;

  const double crop_long = std::max(width1, height1);
  const double crop_short = std::min(width1, height1);
  plan.crop_scale = crop_long / std::max(1e-9, plan.fit_long_px);
  const double tolerance = std::max(plan.fit_long_px * 0.005, 2.0);
  plan.full_gate = named && std::fabs(crop_long - plan.fit_long_px) <= tolerance &&
                   std::fabs(crop_short - plan.fit_short_px) <= tolerance;

  const double frame_long_um = plan.long_mm * 1000.0;
  const bool keeps_scale = gate == "full" || gate == "texture";
  plan.image_long_um = keeps_scale ? frame_long_um * plan.crop_scale : frame_long_um;
  plan.cap_long_um = gate == "full" ? frame_long_um * plan.crop_scale : frame_long_um;
  return plan;
}

int master_cap_px(double cap_um) {
  return whole_pixels(cap_um / kFinestPitchUm);
}

double instant_image_long_um(const Json& film, const std::string& size_name) {
  const Json& frame = get_object(film, "frame");
  double long_mm = is_peel_apart(frame) ? peel_size(frame, size_name).image_long_mm
                                        : get_number_or(frame, "image_long_mm", 0, 0);
  if (!(long_mm > 0.0))
    long_mm = get_number(get_object(film, "texture"), "card_um", 79000.0) / 1000.0;
  return long_mm * 1000.0;
}

int instant_cap_px(const Json& film, double long_um) {
  const double f50 = get_number_or(get(film, "mtf"), "f50_cyc_mm", 0, 0);
  const double pitch_um =
      f50 <= 0.0 ? kFinestPitchUm : std::max(kFinestPitchUm, 1000.0 / (f50 * 4.0));
  return whole_pixels(long_um / pitch_um);
}

}  // namespace morva
