// What a robot calls itself, where no rule has a name for it.
#pragma once

#include <cstddef>
#include <string_view>

inline constexpr size_t kLongestOwnName = 40;

// The robot's own name: the words around the place, which is of something that was found in the text, or,
// where the place is part of an address or npos, what stands where robots name themselves. At most
// kLongestOwnName bytes, and at least one of every text that has a letter or a digit.
std::string_view OwnName(std::string_view text, size_t place);
