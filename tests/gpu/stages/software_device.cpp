#include "gpu/stages/software_device.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <memory>

#include "gpu/platform/vulkan_platform.h"
#include "gpu/stages/kernel_case.h"

namespace morva::gpu {

namespace {

bool on_a_card() {
  const char* wanted = std::getenv("MORVA_TEST_GPU");
  return wanted != nullptr && std::strcmp(wanted, "hardware") == 0;
}

std::unique_ptr<Device> checked_device() {
  setenv("MORVA_DX12_DEBUG", "1", 1);
  auto device = std::make_unique<Device>(!on_a_card(), platform::vulkan_platform());
  unsetenv("MORVA_DX12_DEBUG");
  return device;
}

bool made = false;

// The validation layers have nothing to say to the whole program.
class SilentValidation : public ::testing::Environment {
  void TearDown() override {
    if (made) {
      EXPECT_EQ(std::vector<std::string>{}, software_device().debug_messages());
    }
  }
};

[[maybe_unused]] const auto* const silence =
    ::testing::AddGlobalTestEnvironment(new SilentValidation);

}  // namespace

double bound_on(double in_software, double on_card) {
  return on_a_card() ? on_card : in_software;
}

const ProfileStore& tree() {
  static const ProfileStore store{std::filesystem::path(MORVA_PROFILES_PATH)};
  return store;
}

Device& software_device() {
  static const std::unique_ptr<Device> device = checked_device();
  made = true;
  return *device;
}

}  // namespace morva::gpu
