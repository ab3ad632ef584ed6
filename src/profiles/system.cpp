#include "profiles/system.h"

#include <cstdlib>

#if defined(_WIN32)
#define NOMINMAX
#include <windows.h>
#else
#include <dlfcn.h>
#endif

namespace morva {

namespace {
constexpr std::size_t kLongestLibraryPath = 1040;  // characters
}

std::filesystem::path path_from_utf8(const std::string& text) {
  return std::filesystem::path(std::u8string(text.begin(), text.end()));
}

std::string utf8_from_path(const std::filesystem::path& path) {
  const std::u8string text = path.u8string();
  return std::string(text.begin(), text.end());
}

#if defined(_WIN32)

std::optional<std::filesystem::path> environment_path(const char* name) {
  const std::wstring wide_name = path_from_utf8(name).wstring();
  const DWORD size = GetEnvironmentVariableW(wide_name.c_str(), nullptr, 0);
  if (size <= 1) return std::nullopt;
  std::wstring value(size, L'\0');
  value.resize(GetEnvironmentVariableW(wide_name.c_str(), value.data(), size));
  return std::filesystem::path(value);
}

std::optional<std::string> environment_text(const char* name) {
  const std::wstring wide_name = path_from_utf8(name).wstring();
  const DWORD size = GetEnvironmentVariableW(wide_name.c_str(), nullptr, 0);
  if (size == 0) return std::nullopt;
  std::wstring value(size, L'\0');
  value.resize(GetEnvironmentVariableW(wide_name.c_str(), value.data(), size));
  return utf8_from_path(value);
}

std::filesystem::path library_file() {
  HMODULE module = nullptr;
  const DWORD flags =
      GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS | GET_MODULE_HANDLE_EX_FLAG_UNCHANGED_REFCOUNT;
  if (!GetModuleHandleExW(flags, reinterpret_cast<LPCWSTR>(&library_file), &module)) return {};
  std::wstring text(kLongestLibraryPath + 1, L'\0');
  const DWORD length = GetModuleFileNameW(module, text.data(), static_cast<DWORD>(text.size()));
  if (length == 0 || length > kLongestLibraryPath) return {};
  text.resize(length);
  return std::filesystem::path(text);
}

#else

std::optional<std::filesystem::path> environment_path(const char* name) {
  const char* value = std::getenv(name);
  if (value == nullptr || *value == '\0') return std::nullopt;
  return std::filesystem::path(value);
}

std::optional<std::string> environment_text(const char* name) {
  const char* value = std::getenv(name);
  if (value == nullptr) return std::nullopt;
  return std::string(value);
}

std::filesystem::path library_file() {
  Dl_info info;
  if (dladdr(reinterpret_cast<const void*>(&library_file), &info) == 0) return {};
  std::error_code error;
  const std::filesystem::path file = std::filesystem::canonical(info.dli_fname, error);
  if (error || file.native().size() > kLongestLibraryPath) return {};
  return file;
}

#endif

}  // namespace morva
