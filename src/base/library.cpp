#include "base/library.h"

#include <dlfcn.h>

#include <algorithm>

bool LoadLibrary(const char* library, std::span<const LibraryFunction> functions) {
  void* const handle = dlopen(library, RTLD_NOW);
  if (handle == nullptr) {
    return false;
  }
  return std::all_of(functions.begin(), functions.end(), [handle](const LibraryFunction& function) {
    *function.address = dlsym(handle, function.name);
    return *function.address != nullptr;
  });
}
