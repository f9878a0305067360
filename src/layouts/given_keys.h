// Which keys of a JSON line the words of a server name, and what they mean: the words tell what stands under
// each key, and lines may have their keys in any order, with any blanks and with further ones.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <string_view>

#include "layouts/key_names.h"
#include "layouts/line_fields.h"
#include "layouts/pattern.h"

inline constexpr size_t kMostGivenKeys = 64;
inline constexpr size_t kLongestGivenKey = 61;
static_assert(kMostGivenKeys <= kFirstRank);

struct GivenKey {
  std::array<char, kLongestGivenKey> name;
  uint8_t size;
  Field field;
};

// In the order of the words. No name is there twice.
struct GivenKeys {
  std::array<GivenKey, kMostGivenKeys> keys;
  size_t count = 0;
};

// Takes the keys out of words that are one JSON object; those under which the words have nothing that counts,
// too, and mean nothing then. There are none of other words, nor where a field that counts stands otherwise
// than in a text of its own, or as a number: among other texts, in an object within, under a key that is
// there twice or too long. A date and a time of day in one text are a moment, method, URL and protocol a
// request.
void FindGivenKeys(const Pattern& words, GivenKeys& given);

// The place of a key that is called exactly so; count when there is none. It is looked for from a place on,
// as lines tend to have their keys in one order.
size_t PlaceOfKey(const GivenKeys& given, std::string_view name, size_t from);
