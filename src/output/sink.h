// Where an output goes, and what may go there as it is: the program's own words and
// its figures. Every other text passes through escape.h.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <string_view>

#include "base/literal.h"

// Collects what is written and hands it to the stream in pieces. Whether the stream
// took it shows when the stream is closed or checked.
struct Sink {
  std::FILE* stream = stdout;
  size_t used = 0;
  char piece[1 << 15];
};

// Hands on what was collected. Called before anybody else writes to the stream.
void FlushSink(Sink& sink);

void Put(Sink& sink, const Literal& text);

// Decimal: 1234567, 12345678901234567890, 1,234,567, and with the given number of digits (at most 9) behind
// the point; a value that is no number or beyond 10^15 is written as 0.
void PutNumber(Sink& sink, int64_t number);
void PutSize(Sink& sink, uint64_t number);
void PutGrouped(Sink& sink, int64_t number);
void PutDecimal(Sink& sink, double number, int digits);

// How a figure has changed: "+12.3 %", "-4.0 %", "12.3 times" from ten times on; "as before", and "none
// before". Neither is below 0. Whether what it was before is still to be told.
bool PutChange(Sink& sink, int64_t now, int64_t before);

// The nearest whole number of one from 0 to 2^62, halves upwards. The mathematical
// library's own would have to be loaded at every start of the program.
constexpr int64_t Rounded(double number) {
  const auto whole = static_cast<int64_t>(number);
  return number - static_cast<double>(whole) < 0.5 ? whole : whole + 1;
}

// Two, four digits: with zeros in front of a smaller number, which is not below 0.
void PutPadded(Sink& sink, int number, int digits);

// For escape.h, which knows what it lets through.
void PutChecked(Sink& sink, std::string_view text);
