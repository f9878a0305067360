// What shippers of logs put around a line, and how it is taken off.
#pragma once

#include <array>
#include <cstdint>
#include <string_view>

#include "base/limits.h"

enum class Wrapper : uint8_t {
  kNone,
  kSyslog,   // "<134>Feb  2 04:05:24 host program[12]: ", with or without the number, or that of RFC 5424
  kIsoHead,  // "2017-12-02T20:51:08-08:00 host program[12]: ", or "... stdout F " of a container runtime
  kMessage,  // JSON of which "log", "message" or "MESSAGE" holds the line
  kQuotes,   // a pair of quotes around the whole line, those in it doubled or behind backslashes
};
inline constexpr int kWrapperCount = 5;

// Room for a line that had to be written anew, and for what may be read behind it.
struct Unwrapped {
  std::array<char, kLongestLine + 128> text;
};

// Whether a shipper's head stands before the line: nothing but the text itself decides.
bool HasHead(std::string_view line);

// The line within; null when it is not wrapped so. It lies in the line, or in the room.
std::string_view Unwrap(Wrapper wrapper, std::string_view line, Unwrapped& room);
