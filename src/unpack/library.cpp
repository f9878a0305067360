#include <dlfcn.h>

#include "unpack/codec.h"

bool LoadLibrary(const char* library, std::span<const LibraryFunction> functions) {
  void* const handle = dlopen(library, RTLD_NOW);
  if (handle == nullptr) {
    return false;
  }
  for (const LibraryFunction& function : functions) {
    *function.address = dlsym(handle, function.name);
    if (*function.address == nullptr) {
      return false;
    }
  }
  return true;
}
