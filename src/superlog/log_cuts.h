// One log cut into stretches that can be read each by itself. Inner header of this folder.
#pragma once

#include <cstdint>
#include <vector>

#include "superlog/log_list.h"
#include "superlog/log_pieces.h"
#include "superlog/log_shares.h"

// However small they are asked for, there are so many at most, and each is of about so many bytes at least,
// unless the log would be cut into fewer than so many then.
inline constexpr uint64_t kMostStretches = 8192;
inline constexpr uint64_t kLeastStretch = 1024;
inline constexpr uint64_t kMostOfSmallLog = 256;

// Cuts a log behind ends of lines, into stretches of about so many bytes. Behind SuperLog_Init, in a run that
// reads no log otherwise.
//
// With proof, what could be cut is read once, and cut only where whoever knows its first lines and those
// right before the place reads on as whoever has read all that is before: a line that changes how the next
// ones are read, such as a header line, may stand anywhere.
//
// Untried, it is cut shortly behind multiples of the size, and looked at nowhere but in its first bytes and
// in those between each multiple and 128 KiB behind it.
std::vector<LogShare> CutLog(const LogFile& log, uint64_t size, Cuts cuts);
