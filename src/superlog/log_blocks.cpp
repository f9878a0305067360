#include "superlog/log_blocks.h"

#include <algorithm>
#include <limits>

#include "base/hash_seed.h"
#include "superlog/divided_logs.h"
#include "superlog/line_reader.h"
#include "superlog/log_format.h"
#include "superlog/log_line.h"
#include "superlog/log_store.h"

static constexpr ContentKey kOtherwise = {
    {0xd1310ba698dfb5ac, 0x2ffd72dbd01adfb7, 0xb8e1afed6a267e96, 0xba7c9045f12c7f99}};  // digits of pi

struct BlockReading {
  time_t range_first;
  time_t range_last;
  size_t usable;          // of the known blocks; those that are used come first
  size_t next;            // the number of the block that comes next
  uint64_t bytes_before;  // of all logs, when this one was opened
  int64_t lines_before;   // not understood, when the block began
  int64_t in_range;       // records
  LogStamp stamp;         // of the log before it was opened
  KnownLog known;
  KnownLog made;  // what this reading tells
  bool stamped;
  bool settled;  // when it was opened
  bool same;     // the file is as it was
  bool hashed;
  bool passed_end;  // the last block was not read
  Stretch stretch;
};
static BlockReading mBlocks;
static BlockSizes mSizes;

void SetBlockSizesForTest(const BlockSizes& sizes) {
  mSizes = sizes;
}

// ---- What is known ----

static bool IsInRange(const LogBlock& block) {
  return block.records > 0 && block.last >= mBlocks.range_first && block.first <= mBlocks.range_last;
}

static uint64_t EndOf(const KnownLog& log, size_t block) {
  return block + 1 < log.blocks.size() ? log.blocks[block + 1].begins : log.bytes;
}

static uint64_t BytesOutside(const KnownLog& log) {
  uint64_t bytes = 0;
  for (size_t i = 0; i < log.blocks.size(); ++i) {
    bytes += IsInRange(log.blocks[i]) ? 0 : EndOf(log, i) - log.blocks[i].begins;
  }
  return bytes;
}

static bool AllOutside(const KnownLog& log) {
  return std::none_of(log.blocks.begin(), log.blocks.end(), IsInRange);
}

// A log that nobody writes to is called and described anew when logs are rotated.
static bool IsSamePacked(const char* path) {
  const KnownLog& known = mBlocks.known;
  ContentHash hash;
  return known.packed && known.size == mBlocks.stamp.size && AllOutside(known) &&
         HashOfFile(path, mBlocks.stamp, known.key, hash) && hash == known.hash;
}

static void KeepAnew() {
  KnownLog& known = mBlocks.known;
  if (known.stamp != mBlocks.stamp && mBlocks.settled) {
    known.stamp = mBlocks.stamp;
    known.settled = true;
    Keep(known);
  }
}

bool IsKnownOutside(const char* path, time_t first, time_t last) {
  mBlocks = {};
  mBlocks.range_first = first;
  mBlocks.range_last = last;
  mBlocks.stamped = StampOf(path, mBlocks.stamp);
  mBlocks.settled = mBlocks.stamped && IsSettled(mBlocks.stamp);
  KnownLog& known = mBlocks.known;
  if (!mBlocks.stamped || !Recall(mBlocks.stamp, known)) {
    known = {};
    return false;
  }
  mBlocks.same = known.settled && known.stamp == mBlocks.stamp;
  if (!AllOutside(known) || (!mBlocks.same && !IsSamePacked(path))) {
    return false;
  }
  KeepAnew();
  mBlocks.usable = known.blocks.size();
  mBlocks.made = known;
  return true;
}

uint64_t BytesToBeRead(const LogFile& log, time_t first, time_t last) {
  mBlocks = {};
  mBlocks.range_first = first;
  mBlocks.range_last = last;
  KnownLog& known = mBlocks.known;
  const bool recalled =
      IsStoreOpen() && StampOf(log.name, mBlocks.stamp) && Recall(mBlocks.stamp, known) && !known.packed;
  return recalled ? log.size - std::min(log.size, BytesOutside(known)) : log.size;
}

bool AreBlocksPacked() {
  return mBlocks.made.packed;
}

// ---- What of it holds ----

// Hashes what is read from now on, behind what was hashed already.
static void HashFrom(const ContentKey& key, const ContentHash& hash, uint64_t from) {
  mBlocks.made.key = key;
  mBlocks.hashed = true;
  HashReading(key, hash, static_cast<int64_t>(from));
}

// Whether the log begins with the bytes that were read then.
static bool BeginsAsKnown(const KnownLog& known) {
  const uint64_t whole = known.size - known.size % kContentBlock;
  ContentHash before{};
  if (mBlocks.stamp.size < known.size || !HashOfLog(known.key, 0, whole, before)) {
    return false;
  }
  ContentHash all = before;
  if (!HashOfLog(known.key, whole, known.size, all) || all != known.hash) {
    return false;
  }
  HashFrom(known.key, before, whole);
  return true;
}

// Of a log that has grown: what its last lines came to was told by bytes behind which others stand now.
static size_t BlocksBefore(const KnownLog& known) {
  size_t count = known.blocks.size();
  uint64_t seen = 0;
  do {
    --count;
    seen = known.blocks[count].begins / kBigBufSize * kBigBufSize + kBigBufSize;
  } while (count > 0 && seen > known.size);
  return count;
}

// Proving that a log begins as before takes a third of reading it.
static size_t UsableBlocks() {
  const KnownLog& known = mBlocks.known;
  if (known.blocks.empty() || known.packed || FormatOfLog() != PackFormat::kNone ||
      !mBlocks.stretch.IsWhole()) {
    return 0;
  }
  if (mBlocks.same) {
    return known.blocks.size();
  }
  if (BytesOutside(known) < known.size / 2 || !BeginsAsKnown(known)) {
    return 0;
  }
  return known.size == mBlocks.stamp.size ? known.blocks.size() : BlocksBefore(known);
}

// Logs that are being written are kept where reading them again takes long.
static bool IsWorthKeeping() {
  return IsStoreOpen() && mBlocks.stamped && !mBlocks.same &&
         (mBlocks.settled || mBlocks.stamp.size >= static_cast<uint64_t>(mSizes.others));
}

static void BeginHashing() {
  if (mBlocks.stretch.IsWhole()) {
    HashFrom(RandomSeed(kOtherwise), {}, 0);
  } else {
    HashWindows(KeyOfDividedLogs());
  }
}

bool Stretch::IsWhole() const {
  return from == 0 && to == kNoStop;
}

void BeginBlocks(const Stretch& stretch) {
  mBlocks.stretch = stretch;
  mBlocks.bytes_before = SuperLongToBytes(TotalLogBytesRead());
  mBlocks.usable = UsableBlocks();
  if (!mBlocks.hashed && IsWorthKeeping() && FormatOfLog() == PackFormat::kNone) {
    BeginHashing();
  }
  mBlocks.made.packed = FormatOfLog() != PackFormat::kNone;
}

// ---- From block to block ----

static bool IsInState(const LogBlock& block) {
  uint64_t state = 0;
  return StateOfLines(state) && block.state_known != 0 && block.state == state;
}

static void Add(const LogBlock& block) {
  mBlocks.made.blocks.push_back(block);
  ++mBlocks.next;
}

// Blocks that end elsewhere are of no use.
static void CheckBeginning(const std::vector<LogBlock>& known) {
  const size_t next = mBlocks.next;
  if (next < known.size() && known[next].begins != static_cast<uint64_t>(NextLineOffset())) {
    mBlocks.usable = 0;
  }
}

// Whether nothing is lost when the next block is not read.
static bool CanPass() {
  const KnownLog& known = mBlocks.known;
  const size_t next = mBlocks.next;
  return next < mBlocks.usable && !IsInRange(known.blocks[next]) && IsInState(known.blocks[next]) &&
         (next + 1 == known.blocks.size() || IsInState(known.blocks[next + 1]));
}

static int64_t NextStop(int64_t offset) {
  return offset < mSizes.first ? mSizes.first : (offset / mSizes.others + 1) * mSizes.others;
}

// Where the next block began when it was read before; blocks of a divided log also begin where it was
// divided.
static int64_t NextKnown() {
  const size_t next = mBlocks.made.blocks.size();
  return next < mBlocks.usable ? static_cast<int64_t>(mBlocks.known.blocks[next].begins) : kNoStop;
}

static void BeginBlock(int64_t offset) {
  LogBlock block{};
  block.begins = static_cast<uint64_t>(offset);
  block.state_known = StateOfLines(block.state) ? 1 : 0;
  mBlocks.made.blocks.push_back(block);
  mBlocks.lines_before = LinesNotUnderstoodOfLog().lines;
  StopLinesAt(mBlocks.made.packed ? kNoStop : std::min({NextStop(offset), NextKnown(), mBlocks.stretch.to}));
}

bool NextBlock() {
  const std::vector<LogBlock>& known = mBlocks.known.blocks;
  const size_t from = mBlocks.next;
  CheckBeginning(known);
  while (CanPass()) {
    PassLinesNotUnderstood(known[mBlocks.next].not_understood, mBlocks.known.first);
    Add(known[mBlocks.next]);
  }
  mBlocks.passed_end = mBlocks.next > from && mBlocks.next == known.size();
  if (mBlocks.passed_end) {
    return false;
  }
  if (mBlocks.next > from) {
    GoToLine(static_cast<int64_t>(known[mBlocks.next].begins));
  }
  BeginBlock(NextLineOffset());
  return true;
}

bool BlockRead(const LogRecords& records) {
  LogBlock block = mBlocks.made.blocks.back();
  mBlocks.made.blocks.pop_back();
  block.records = records.count;
  block.first = records.first;
  block.last = records.last;
  block.not_understood = LinesNotUnderstoodOfLog().lines - mBlocks.lines_before;
  mBlocks.in_range += records.in_range;
  Add(block);
  return IsStopped() && NextLineOffset() < mBlocks.stretch.to;
}

// ---- The whole log ----

void EndBlocks() {
  KnownLog& made = mBlocks.made;
  made.stamp = mBlocks.stamp;
  made.first = LinesNotUnderstoodOfLog();
  if (mBlocks.passed_end) {
    made.size = mBlocks.known.size;
    made.bytes = mBlocks.known.bytes;
    made.hash = mBlocks.known.hash;
  } else if (made.packed) {
    made.size = mBlocks.stamp.size;
    made.bytes = SuperLongToBytes(TotalLogBytesRead()) - mBlocks.bytes_before;
  } else {
    made.size = static_cast<uint64_t>(NextLineOffset());
    made.bytes = made.size - static_cast<uint64_t>(mBlocks.stretch.from);
    mBlocks.hashed = mBlocks.hashed && HashOfReading(made.hash);
  }
}

LogReading ReadingOfBlocks() {
  const KnownLog& log = mBlocks.made;
  LogReading reading{.bytes = log.bytes, .records = {}, .not_understood = log.first};
  LogRecords& records = reading.records;
  reading.not_understood.lines = 0;
  for (const LogBlock& block : log.blocks) {
    records.count += block.records;
    records.first = std::min<time_t>(records.first, block.first);
    records.last = std::max<time_t>(records.last, block.last);
    reading.not_understood.lines += block.not_understood;
  }
  records.in_range = mBlocks.in_range;
  return reading;
}

// All of it has come, and it is the same file as before.
static bool IsReadWhole(const char* path, UnpackEnd unpacked) {
  const KnownLog& made = mBlocks.made;
  LogStamp now;
  return (made.packed ? unpacked == UnpackEnd::kWhole : made.size == made.stamp.size) && StampOf(path, now) &&
         now == made.stamp;
}

static bool HashPacked(const char* path) {
  KnownLog& made = mBlocks.made;
  made.key = RandomSeed(kOtherwise);
  return HashOfFile(path, made.stamp, made.key, made.hash);
}

void KeepBlocks(const char* path, UnpackEnd unpacked) {
  KnownLog& made = mBlocks.made;
  if (!IsWorthKeeping()) {
    return;
  }
  if (!mBlocks.stretch.IsWhole()) {
    made.settled = mBlocks.settled;
    NoteStretch({.path = path, .known = made, .windows = HashesOfWindows()});
    return;
  }
  made.settled = mBlocks.settled && IsReadWhole(path, unpacked);
  const bool provable = made.packed ? made.settled && HashPacked(path)
                                    : mBlocks.hashed && made.blocks.size() <= kMostKeptBlocks;
  if (provable) {
    Keep(made);
  }
}
