#include "icc_profile.h"

#include <lcms2.h>

#include <algorithm>
#include <array>
#include <memory>

#include "host_error.h"

namespace morva::host {
namespace {

struct CloseProfile {
  void operator()(void* profile) const { cmsCloseProfile(profile); }
};
struct FreeCurve {
  void operator()(cmsToneCurve* curve) const { cmsFreeToneCurve(curve); }
};
struct FreeText {
  void operator()(cmsMLU* text) const { cmsMLUfree(text); }
};
using Profile = std::unique_ptr<void, CloseProfile>;

// Bytes 24 to 35 of an ICC header: year, month, day, hour, minute, second, big-endian. A constant,
// so that equal pictures are equal files.
constexpr std::size_t kDateOffset = 24;
constexpr std::array<uint8_t, 12> kDate = {0x07, 0xEA, 0, 1, 0, 1, 0, 0, 0, 0, 0, 0};  // 2026-01-01

void describe(void* profile, const char* text) {
  const std::unique_ptr<cmsMLU, FreeText> description(cmsMLUalloc(nullptr, 1));
  if (!description || !cmsMLUsetASCII(description.get(), "en", "US", text) ||
      !cmsWriteTag(profile, cmsSigProfileDescriptionTag, description.get())) {
    throw HostError(MORVA_FAILED, "cannot describe the ICC profile");
  }
}

std::vector<uint8_t> saved(void* profile) {
  cmsUInt32Number size = 0;
  if (!cmsSaveProfileToMem(profile, nullptr, &size)) {
    throw HostError(MORVA_FAILED, "cannot make the ICC profile");
  }
  std::vector<uint8_t> bytes(size);
  if (!cmsSaveProfileToMem(profile, bytes.data(), &size)) {
    throw HostError(MORVA_FAILED, "cannot make the ICC profile");
  }
  std::copy(kDate.begin(), kDate.end(), bytes.begin() + kDateOffset);
  return bytes;
}

std::vector<uint8_t> described(const Profile& profile, const char* text) {
  if (!profile) throw HostError(MORVA_FAILED, "cannot make the ICC profile");
  describe(profile.get(), text);
  return saved(profile.get());
}

}  // namespace

std::vector<uint8_t> srgb_icc_profile() {
  return described(Profile(cmsCreate_sRGBProfile()), "sRGB");
}

std::vector<uint8_t> linear_srgb_icc_profile() {
  // ITU-R BT.709: the primaries and the D65 white in x, y.
  const cmsCIExyY white = {0.3127, 0.3290, 1.0};
  const cmsCIExyYTRIPLE primaries = {{0.64, 0.33, 1.0}, {0.30, 0.60, 1.0}, {0.15, 0.06, 1.0}};
  const std::unique_ptr<cmsToneCurve, FreeCurve> straight(cmsBuildGamma(nullptr, 1.0));
  if (!straight) throw HostError(MORVA_FAILED, "cannot make the ICC profile");
  cmsToneCurve* const curves[3] = {straight.get(), straight.get(), straight.get()};
  return described(Profile(cmsCreateRGBProfile(&white, &primaries, curves)), "sRGB linear");
}

}  // namespace morva::host
