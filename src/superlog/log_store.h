// What the reading of a log has told, kept between runs, so that blocks of a log whose records all lie
// outside the range need not be read again.
//
// The store is a folder of small files, one for each log, called by its device and inode. It only saves time:
// what is missing there, cannot be read or written, is damaged, or was written by somebody else, is read from
// the log.
#pragma once

#include <cstdint>
#include <vector>

#include "superlog/content_hash.h"
#include "superlog/log_line.h"
#include "superlog/superlog.h"

// What tells a file, and that it is the same as before.
struct LogStamp {
  uint64_t device;
  uint64_t inode;
  uint64_t size;
  int64_t changed;     // when its content was, in seconds and
  int64_t changed_ns;  // nanoseconds
  int64_t described;   // when what the system says of it was
  int64_t described_ns;

  bool operator==(const LogStamp&) const = default;
};

// False of what is no plain file, and when it cannot be looked at.
bool StampOf(const char* path, LogStamp& stamp);

// The same of an open file.
bool StampOfFile(int file, LogStamp& stamp);

// Whether nobody can have changed the file within the second of its stamp: it was older than two seconds.
bool IsSettled(const LogStamp& stamp);

// The hash of the file of that stamp; false when it cannot be read, or is another one meanwhile.
bool HashOfFile(const char* path, const LogStamp& stamp, const ContentKey& key, ContentHash& hash);

// What a block is called that was read once: by chance no other reading of any block has the same name.
struct BlockName {
  uint64_t words[2];  // 0: it has none

  bool operator==(const BlockName&) const = default;
};

// Lines that follow each other, and what they come to.
struct LogBlock {
  BlockName name;        // none of what could not be known again
  uint64_t begins;       // where in the log
  uint64_t state;        // in which its first line was read (StateOfLines)
  uint64_t state_known;  // 1, or 0
  int64_t records;
  int64_t first;  // the least time of these, wherever it stands
  int64_t last;   // and the greatest
  LinesOfReasons not_understood;

  bool operator==(const LogBlock&) const = default;
};

inline constexpr size_t kMostKeptBlocks = size_t{1} << 16;

// What is known of a log.
struct KnownLog {
  LogStamp stamp;
  bool settled;   // it was when it was read: with the same stamp it is the same
  bool packed;    // compressed: then there is one block
  uint64_t size;  // bytes of the file that were read, of which the hash is
  ContentKey key;
  ContentHash hash;
  uint64_t bytes;       // of its lines: of a compressed file more
  NotUnderstood first;  // the first lines of all blocks that were not understood; counts are the blocks'
  std::vector<LogBlock> blocks;
};

// Takes a folder, empty for none, and what besides a log decides about its records, as a number.
void OpenStore(const char* folder, uint64_t rules);

// Whether there is a folder.
bool IsStoreOpen();

// What was kept last under the same rules of the file of that device and inode; false when nothing was.
bool Recall(const LogStamp& stamp, KnownLog& log);

// Keeps what is known of a log of at most kMostKeptBlocks blocks, of others nothing. Fails silently.
void Keep(const KnownLog& log);
