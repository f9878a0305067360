// Looks for a layout of logs by its name in the configurations of the web servers of this machine: a
// log_format of nginx, a LogFormat of Apache httpd. Both are read as their servers read them, with the files
// that they include.
#pragma once

#include <array>
#include <string_view>

#include "superlog/superlog.h"

// Where a definition stands, and what it says.
struct ServerLayout {
  std::array<char, 512> path = {};
  std::array<char, kLongestLayoutText + 1> words = {};  // the whole directive
};

enum class LayoutSearch {
  kNotFound,
  kFound,
  kDiffers,  // there are two definitions, and they say different things
};

// Reads at most 128 files of at most 256 kB each; what cannot be read, or is longer, is passed over or cut.
// etc is what stands for /etc. other is filled where there is a definition that differs from the first one.
LayoutSearch FindServerLayout(std::string_view etc, std::string_view name, ServerLayout& layout,
                              ServerLayout& other);
