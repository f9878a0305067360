// Libraries that are loaded when they are first needed, and never before: a program that does not need them
// starts and runs without them.
#pragma once

#include <span>

// One of a library's functions, to be loaded: its name, and where its address goes.
struct LibraryFunction {
  const char* name;
  void** address;
};

// Loads a library and all of the functions; false when one is missing.
bool LoadLibrary(const char* library, std::span<const LibraryFunction> functions);
