// Passwords as the system's crypt keeps them: hashed, each with a salt of its own.
#pragma once

#include <cstddef>
#include <string_view>

#include "base/text.h"

inline constexpr size_t kHashSize = kTextSize;

enum class HashKind {
  kHash,   // a salted hash of a kind that crypt knows
  kPlain,  // anything else that stands where a hash belongs
  kNone,   // nothing, * or !
};

// What a stored text is.
HashKind KindOfHash(std::string_view stored);

// Whether the typed password is the one of the hash. False for every other stored
// text. Compares all of a hash, wherever it differs first, so that the time
// tells nothing about it.
bool PasswordMatches(const char* typed, const char* stored);

// Does the work of a check against a hash of MakeHash, for accounts that have none.
void SpendHashTime(const char* typed);

// Makes a hash of the system's strongest kind, with a new salt. False when it cannot:
// no memory, no random bytes, or a password that is longer than crypt takes.
bool MakeHash(const char* password, char (&hash)[kHashSize]);
