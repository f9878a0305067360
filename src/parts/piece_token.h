// A piece of logs as a line of text: what plan= prints and piece= takes.
//
//   3/17 plan=1a2b3c4d place=4 log=/var/log/access.log size=... first=... last=... proof=... before=...
//   from=... lead=... to=... copy=5:/var/log/access.log.gz unopened=... check=...
//
// in one line, divided by single blanks: the number of the piece, from 1, and of all pieces, and the fields
// of LogPiece. What is 0, or none, need not be there; copy and unopened may be there more than once. The last
// one is a checksum of all before it, so that a line that was cut says nothing else. In paths a blank, a
// percent sign and what is no printable ASCII are written as a percent sign and two hexadecimal digits.
#pragma once

#include <string>
#include <string_view>

#include "superlog/log_pieces.h"

// Longer ones are none.
inline constexpr size_t kLongestToken = 1 << 20;

std::string TokenOf(const LogPiece& piece);

// Ends a token with the checksum of what stands in it.
void AddCheck(std::string& token);

// False for what TokenOf has not written.
bool ReadToken(std::string_view token, LogPiece& piece);
