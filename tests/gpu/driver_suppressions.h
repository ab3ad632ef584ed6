// What the sanitizers are to let pass in the GPU's driver and its layers, of which we have no
// sources. Included by one file of each program that uses them; the sanitizer looks the functions
// up by name.
#pragma once

// The layer that looks for missing barriers does not free all of its own records.
extern "C" __attribute__((visibility("default"))) const char* __lsan_default_suppressions() {
  return "leak:libVkLayer_khronos_validation\n";
}

// Neither the driver nor the layer is built for the sanitizer, which cannot see how they lock.
extern "C" __attribute__((visibility("default"))) const char* __tsan_default_suppressions() {
  return "race:libvulkan_lvp\nrace:libVkLayer_khronos_validation\n";
}
