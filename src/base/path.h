// The folder part of a path.
#pragma once

#include <string_view>

// Its length, with the trailing "/"; 0 of a path without one.
constexpr size_t FolderLength(std::string_view path) {
  return path.rfind('/') + 1;
}
