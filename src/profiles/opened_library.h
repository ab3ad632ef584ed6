// A library of the system that is opened while the program runs: a machine may lack it, and a
// program that never needs it does not load it.
#pragma once

#include <string>

namespace morva {

struct OpenedLibrary {
  void* handle = nullptr;  // null where it cannot be opened
  std::string reason;      // why not, in the system's words

  // False, and the pointer null, where the library has no such function.
  template <class Function>
  bool find(const char* name, Function& function) const {
    function = reinterpret_cast<Function>(address(name));
    return function != nullptr;
  }

 private:
  void* address(const char* name) const;
};

// `file` as the system's loader looks for it, without a folder. Opened again it is the same one; it
// stays for the life of the process.
OpenedLibrary open_library(const char* file);

}  // namespace morva
