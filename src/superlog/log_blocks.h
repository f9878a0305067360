// The log at hand in blocks, of which those that are known to lie outside the range are passed over.
//
// Blocks end at the first line behind each 4 MiB, of large logs behind each 8 or 16; the first one is short,
// because it tells the layout. What
// an earlier reading has told of a block holds when the file is the same, or begins with the bytes that were
// read then. It is passed over when the reading has come to its first line in the state of then, and would be
// in the same state at the next block: all that follows is read as if nothing had been passed over. A
// compressed log is one block.
//
// A block all of whose records lie in the range is passed over, too, where somebody knows what they came to
// (LogEvents::block_counted). Then it counts as read.
#pragma once

#include <cstdint>
#include <ctime>

#include "superlog/log_list.h"
#include "superlog/superlog.h"

struct BlockSizes {
  int64_t first = int64_t{64} << 10;
  int64_t least = int64_t{4} << 20;  // of the others
  int64_t most = int64_t{16} << 20;
};
void SetBlockSizesForTest(const BlockSizes& sizes);

// Takes a log before it is opened, and the range. True when all of it is known: then it need not be opened,
// and PassAllBlocks tells of it.
bool IsAllKnown(const char* path, time_t first, time_t last);
void PassAllBlocks();

// How many bytes of a log there are to be read for that range, as far as is known, before the log is opened.
uint64_t BytesToBeRead(const LogFile& log, time_t first, time_t last);

// Whether the log of which that was true, or of which BeginBlocks was told, is compressed.
bool AreBlocksPacked();

// A part of a log, between beginnings of lines.
struct Stretch {
  int64_t from;
  int64_t to;  // kNoStop: all that is behind it

  bool IsWhole() const;
};

// The log was opened, and lines come from the beginning of the stretch on: looks what of it is known. Of a
// part of a log nothing is known and nothing is kept.
void BeginBlocks(const Stretch& stretch);

// Goes to the next block that has to be read, to whose end lines come. False when there is none.
bool NextBlock();

// Tells what the records of that block came to. True when there may be more blocks.
bool BlockRead(const LogRecords& records);

// No block is left: to be called before the log is closed.
void EndBlocks();

// What the whole log comes to, be it read or known; behind EndBlocks, or of a log that is known to lie
// outside.
LogReading ReadingOfBlocks();

// Keeps what was read of the log, when it will hold. To be called after the log was closed; unpacked tells
// how that of a compressed log ended.
void KeepBlocks(const char* path, UnpackEnd unpacked);
