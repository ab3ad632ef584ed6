#include "gpu/platform/vulkan_fault.h"

#include <cstdio>
#include <vector>

namespace morva::gpu::platform::vulkan {

namespace {

const char* access_name(VkDeviceFaultAddressTypeEXT type) {
  switch (type) {
    case VK_DEVICE_FAULT_ADDRESS_TYPE_READ_INVALID_EXT:
      return "чтение";
    case VK_DEVICE_FAULT_ADDRESS_TYPE_WRITE_INVALID_EXT:
      return "запись";
    case VK_DEVICE_FAULT_ADDRESS_TYPE_EXECUTE_INVALID_EXT:
      return "исполнение";
    default:
      return "команда";
  }
}

std::string address_line(const VkDeviceFaultAddressInfoEXT& address) {
  char line[96];
  std::snprintf(line, sizeof line, "сбой страницы: 0x%llX (%s)\n",
                static_cast<unsigned long long>(address.reportedAddress),
                access_name(address.addressType));
  return line;
}

std::string vendor_line(const VkDeviceFaultVendorInfoEXT& vendor) {
  char codes[64];
  std::snprintf(codes, sizeof codes, ": 0x%llX 0x%llX\n",
                static_cast<unsigned long long>(vendor.vendorFaultCode),
                static_cast<unsigned long long>(vendor.vendorFaultData));
  return vendor.description + std::string(codes);
}

}  // namespace

Result describe_fault(Core& core, std::string* out) {
  const auto ask = core.calls.GetDeviceFaultInfoEXT;
  // Only a driver that itself lost the device has something to tell.
  if (ask == nullptr || !core.dead()) return kFailed;
  VkDeviceFaultCountsEXT counts{};
  counts.sType = VK_STRUCTURE_TYPE_DEVICE_FAULT_COUNTS_EXT;
  VkResult result = ask(core.device, &counts, nullptr);
  if (result < 0) return to_result(result);
  counts.vendorBinarySize = 0;
  std::vector<VkDeviceFaultAddressInfoEXT> addresses(counts.addressInfoCount);
  std::vector<VkDeviceFaultVendorInfoEXT> vendors(counts.vendorInfoCount);
  VkDeviceFaultInfoEXT info{};
  info.sType = VK_STRUCTURE_TYPE_DEVICE_FAULT_INFO_EXT;
  info.pAddressInfos = addresses.data();
  info.pVendorInfos = vendors.data();
  result = ask(core.device, &counts, &info);
  if (result < 0) return to_result(result);
  std::string text = "сбой: " + std::string(info.description) + "\n";
  for (std::uint32_t i = 0; i < counts.addressInfoCount; ++i) text += address_line(addresses[i]);
  for (std::uint32_t i = 0; i < counts.vendorInfoCount; ++i) text += vendor_line(vendors[i]);
  *out = text;
  return kOk;
}

}  // namespace morva::gpu::platform::vulkan
