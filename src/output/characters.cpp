#include "output/characters.h"

#include <algorithm>
#include <iterator>

struct Range {
  uint32_t first;
  uint32_t last;
};

// Unicode's general categories Cc, Cf, Cs, Co, Zl and Zp, its default-ignorable
// characters, the blanks but U+0020 and those that are shown as nothing, and
// noncharacters: https://www.unicode.org/Public/UCD/latest/ucd/ (DerivedCoreProperties,
// PropList). In order.
static constexpr Range kInvisible[] = {
    {0x0000, 0x001f},   {0x007f, 0x00a0},    {0x00ad, 0x00ad},   {0x034f, 0x034f},   {0x0600, 0x0605},
    {0x061c, 0x061c},   {0x06dd, 0x06dd},    {0x070f, 0x070f},   {0x0890, 0x0891},   {0x08e2, 0x08e2},
    {0x115f, 0x1160},   {0x1680, 0x1680},    {0x17b4, 0x17b5},   {0x180b, 0x180f},   {0x2000, 0x200f},
    {0x2028, 0x202f},   {0x205f, 0x206f},    {0x2800, 0x2800},   {0x3000, 0x3000},   {0x3164, 0x3164},
    {0xd800, 0xf8ff},   {0xfdd0, 0xfdef},    {0xfe00, 0xfe0f},   {0xfeff, 0xfeff},   {0xffa0, 0xffa0},
    {0xfff0, 0xfffb},   {0xfffe, 0xffff},    {0x110bd, 0x110bd}, {0x110cd, 0x110cd}, {0x13430, 0x1343f},
    {0x1bca0, 0x1bca3}, {0x1d159, 0x1d159},  {0x1d173, 0x1d17a}, {0x1fffe, 0x1ffff}, {0x2fffe, 0x2ffff},
    {0x3fffe, 0x3ffff}, {0x4fffe, 0x4ffff},  {0x5fffe, 0x5ffff}, {0x6fffe, 0x6ffff}, {0x7fffe, 0x7ffff},
    {0x8fffe, 0x8ffff}, {0x9fffe, 0x9ffff},  {0xafffe, 0xaffff}, {0xbfffe, 0xbffff}, {0xcfffe, 0xcffff},
    {0xdfffe, 0xdffff}, {0xe0000, 0x10ffff},
};

// Marks that combine with the character before them, the blocks that hold nothing else.
static constexpr Range kMarks[] = {
    {0x0300, 0x036f}, {0x0483, 0x0489}, {0x0591, 0x05bd}, {0x064b, 0x065f},
    {0x0e31, 0x0e31}, {0x0e34, 0x0e3a}, {0x0e47, 0x0e4e}, {0x1ab0, 0x1aff},
    {0x1dc0, 0x1dff}, {0x20d0, 0x20ff}, {0xfe20, 0xfe2f},
};

// East Asian wide and full-width characters, and pictures that terminals draw as wide:
// https://www.unicode.org/reports/tr11/
static constexpr Range kWide[] = {
    {0x1100, 0x115f},   {0x231a, 0x231b},   {0x2329, 0x232a},   {0x23e9, 0x23ec},   {0x2e80, 0x303e},
    {0x3041, 0x33ff},   {0x3400, 0x4dbf},   {0x4e00, 0x9fff},   {0xa000, 0xa4cf},   {0xa960, 0xa97f},
    {0xac00, 0xd7a3},   {0xf900, 0xfaff},   {0xfe30, 0xfe6f},   {0xff00, 0xff60},   {0xffe0, 0xffe6},
    {0x17000, 0x18aff}, {0x1b000, 0x1b2ff}, {0x1f300, 0x1f64f}, {0x1f680, 0x1f6ff}, {0x1f900, 0x1faff},
    {0x20000, 0x3fffd},
};

template <size_t N>
static bool IsIn(const Range (&ranges)[N], uint32_t code) {
  const Range* const range =
      std::lower_bound(std::begin(ranges), std::end(ranges), code,
                       [](const Range& candidate, uint32_t wanted) { return candidate.last < wanted; });
  return range != std::end(ranges) && code >= range->first;
}

bool IsVisible(uint32_t code) {
  if (code < 0x7f) {
    return code >= 0x20;
  }
  return !IsIn(kInvisible, code);
}

int ColumnsOf(uint32_t code) {
  if (code < 0x300) {
    return 1;
  }
  if (IsIn(kMarks, code)) {
    return 0;
  }
  return IsIn(kWide, code) ? 2 : 1;
}

// How many bytes a character has that begins with this one, and the least code that
// needs so many; 0 when none does.
struct Lead {
  uint8_t size;
  uint8_t bits;  // of the code, in the byte itself
  uint32_t least;
};

static Lead LeadOf(uint8_t byte) {
  if (byte < 0x80) {
    return {1, 0x7f, 0};
  }
  if (byte < 0xc2) {
    return {};
  }
  if (byte < 0xe0) {
    return {2, 0x1f, 0x80};
  }
  if (byte < 0xf0) {
    return {3, 0x0f, 0x800};
  }
  return byte < 0xf5 ? Lead{4, 0x07, 0x10000} : Lead{};
}

Character FirstCharacter(std::string_view text) {
  const auto first = static_cast<uint8_t>(text[0]);
  const Character alone{first, 1, false};
  const Lead lead = LeadOf(first);
  if (lead.size == 0 || lead.size > text.size()) {
    return alone;
  }
  uint32_t code = first & lead.bits;
  for (size_t i = 1; i < lead.size; ++i) {
    const auto next = static_cast<uint8_t>(text[i]);
    if ((next & 0xc0) != 0x80) {
      return alone;
    }
    code = code << 6 | (next & 0x3f);
  }
  const bool valid = code >= lead.least && code <= 0x10ffff && (code < 0xd800 || code > 0xdfff);
  return valid ? Character{code, lead.size, true} : alone;
}
