// Fixed-capacity texts and the few text tests that the whole program shares.
//
// Every stored text is a NUL-terminated character array whose size is a limit of
// behaviour. CopyText is how such an array is written: it cuts to the capacity and
// always terminates, and so does whatever else writes one.
//
// A std::string_view with a null data pointer stands for an absent text; an
// empty one that is not null is present and empty.
#pragma once

#include <cstddef>
#include <string_view>

inline constexpr size_t kTextSize = 244;  // most texts: 243 characters and the NUL
inline constexpr size_t kTextMax = kTextSize - 1;
inline constexpr size_t kPathSize = 260;
inline constexpr size_t kLineMax = 1535;  // longest line kept of a log or configuration file

// Copies text into dst, cut to capacity - 1 characters and at its first NUL.
// capacity must be at least 1. Source and destination may not overlap. Returns
// the number of characters copied, so that the next text can be put behind them.
size_t CopyText(char* dst, size_t capacity, std::string_view text);

template <size_t N>
size_t CopyText(char (&dst)[N], std::string_view text) {
  return CopyText(dst, N, text);
}

// The text up to its first NUL, at most max characters of it.
std::string_view CutText(std::string_view text, size_t max);

// ASCII-only case folding; bytes of 128 and above stand for themselves.
constexpr char ToLowerAscii(char c) {
  return c >= 'A' && c <= 'Z' ? static_cast<char>(c + ('a' - 'A')) : c;
}
constexpr bool IsLetterAscii(char c) {
  return ToLowerAscii(c) >= 'a' && ToLowerAscii(c) <= 'z';
}
constexpr bool IsDigitAscii(char c) {
  return c >= '0' && c <= '9';
}

// strcmp-like result (<0, 0, >0) over ASCII-folded bytes, compared unsigned.
int CompareIgnoreCase(std::string_view a, std::string_view b);
bool EqualIgnoreCase(std::string_view a, std::string_view b);
bool BeginsWithIgnoreCase(std::string_view text, std::string_view prefix);

// Whether part, of at least two characters, occurs in the text.
bool ContainsText(std::string_view text, std::string_view part);

// Puts "?" in place of every character that is not printable ASCII, so that the
// text is nothing but text to a terminal.
void MakePrintable(char* text);

// Decimal number at the start of a NUL-terminated text, as C's atoi: leading
// white space and a sign are accepted, the first other character ends it, a
// non-number gives 0. Values beyond 32 bits wrap; beyond 64 bits they saturate
// before they wrap. A null text gives 0.
int ToInt(const char* text);
