#include "superlog/log_blocks.h"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <bit>
#include <limits>

#include "base/hash_seed.h"
#include "superlog/divided_logs.h"
#include "superlog/line_reader.h"
#include "superlog/log_events.h"
#include "superlog/log_format.h"
#include "superlog/log_line.h"
#include "superlog/log_store.h"

static constexpr ContentKey kOtherwise = {
    {0xd1310ba698dfb5ac, 0x2ffd72dbd01adfb7, 0xb8e1afed6a267e96, 0xba7c9045f12c7f99}};  // digits of pi

struct BlockReading {
  time_t range_first;
  time_t range_last;
  size_t usable;                // of the known blocks; those that are used come first
  size_t next;                  // the number of the block that comes next
  uint64_t bytes_before;        // of all logs, when this one was opened
  LinesOfReasons lines_before;  // not understood, when the block began
  int64_t in_range;             // records
  LogStamp stamp;               // of the log before it was opened
  KnownLog known;
  KnownLog made;  // what this reading tells
  bool stamped;
  bool settled;  // when it was opened
  bool same;     // the file is as it was
  bool hashed;
  bool passed_end;  // the last block was not read
  BlockName name;   // of the first block that this reading can give one; 0: none was needed yet
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

static bool IsWithin(const LogBlock& block) {
  return block.records > 0 && block.first >= mBlocks.range_first && block.last <= mBlocks.range_last;
}

// Whether it need not be read.
static bool IsKnown(const LogBlock& block) {
  return !IsInRange(block) || (mLogEvents.block_counted != nullptr && IsWithin(block) &&
                               block.name != BlockName{} && mLogEvents.block_counted(block));
}

static uint64_t EndOf(const KnownLog& log, size_t block) {
  return block + 1 < log.blocks.size() ? log.blocks[block + 1].begins : log.bytes;
}

static uint64_t BytesKnown(const KnownLog& log) {
  uint64_t bytes = 0;
  for (size_t i = 0; i < log.blocks.size(); ++i) {
    bytes += IsKnown(log.blocks[i]) ? EndOf(log, i) - log.blocks[i].begins : 0;
  }
  return bytes;
}

static bool IsAllKnown(const KnownLog& log) {
  return std::all_of(log.blocks.begin(), log.blocks.end(), IsKnown);
}

// A log that nobody writes to is called and described anew when logs are rotated.
static bool IsSamePacked(const char* path) {
  const KnownLog& known = mBlocks.known;
  ContentHash hash;
  return known.packed && known.size == mBlocks.stamp.size &&
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

// Also of this user's rights, which may have changed without a trace in the file.
static bool IsReadable(const char* path) {
  return faccessat(AT_FDCWD, path, R_OK, AT_EACCESS) == 0;
}

bool IsAllKnown(const char* path, time_t first, time_t last) {
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
  const bool may_be_same = mBlocks.same || known.packed;
  if (!may_be_same || !IsAllKnown(known) || !IsReadable(path) || (!mBlocks.same && !IsSamePacked(path))) {
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
  const bool recalled = IsStoreOpen() && StampOf(log.name, mBlocks.stamp) && Recall(mBlocks.stamp, known);
  return recalled ? log.size - std::min(log.size, BytesKnown(known)) : log.size;
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
  if (BytesKnown(known) < known.size / 2 || !BeginsAsKnown(known)) {
    return 0;
  }
  return known.size == mBlocks.stamp.size ? known.blocks.size() : BlocksBefore(known);
}

// Logs that are being written are kept where reading them again takes long.
static bool IsWorthKeeping() {
  return IsStoreOpen() && mBlocks.stamped && !mBlocks.same &&
         (mBlocks.settled || mBlocks.stamp.size >= static_cast<uint64_t>(mSizes.most));
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

// Another file may have taken the log's name since it was looked at, or somebody may have written to it.
static void TakeStampOfOpened() {
  LogStamp opened;
  const bool stamped = StampOfFile(FileOfLog(), opened);
  mBlocks.same = mBlocks.same && stamped && opened == mBlocks.stamp;
  mBlocks.stamped = stamped;
  mBlocks.stamp = stamped ? opened : mBlocks.stamp;
  mBlocks.settled = stamped && IsSettled(opened);
}

void BeginBlocks(const Stretch& stretch) {
  mBlocks.stretch = stretch;
  TakeStampOfOpened();
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

static void Pass(const LogBlock& block) {
  if (IsInRange(block)) {
    mBlocks.in_range += block.records;
    mLogEvents.block_passed(block);
  }
}

void PassAllBlocks() {
  for (const LogBlock& block : mBlocks.made.blocks) {
    Pass(block);
  }
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
  return next < mBlocks.usable && IsInState(known.blocks[next]) &&
         (next + 1 == known.blocks.size() || IsInState(known.blocks[next + 1])) &&
         IsKnown(known.blocks[next]);
}

// Powers of two: a log that has grown is cut where it was cut before, or not there.
static int64_t SizeOfBlocks() {
  constexpr uint64_t kBlocksOfLog = 32;
  const auto wanted = static_cast<int64_t>(std::bit_floor(mBlocks.stamp.size / kBlocksOfLog));
  return std::min(std::max(wanted, mSizes.least), mSizes.most);
}

static int64_t NextStop(int64_t offset) {
  const int64_t size = SizeOfBlocks();
  return offset < mSizes.first ? mSizes.first : (offset / size + 1) * size;
}

// Where the next block began when it was read before; blocks of a divided log also begin where it was
// divided.
static int64_t NextKnown() {
  const std::vector<LogBlock>& known = mBlocks.known.blocks;
  const size_t next = mBlocks.made.blocks.size();
  return next <= mBlocks.usable && next < known.size() ? static_cast<int64_t>(known[next].begins) : kNoStop;
}

// Only blocks that will be known have one.
static BlockName NewName(size_t number) {
  if (!IsWorthKeeping()) {
    return {};
  }
  if (mBlocks.name == BlockName{}) {
    mBlocks.name = RandomSeed(BlockName{});
  }
  const uint64_t first = mBlocks.name.words[0];
  return first == 0 ? BlockName{} : BlockName{first, mBlocks.name.words[1] + number};
}

// What was known of a block keeps its name, also of a compressed log, of which nothing can be passed over.
static BlockName NameOfBlock(size_t number) {
  const KnownLog& known = mBlocks.known;
  const bool same_packed =
      mBlocks.same && known.packed && mBlocks.made.packed && number < known.blocks.size();
  return number < mBlocks.usable || same_packed ? known.blocks[number].name : NewName(number);
}

static void BeginBlock(int64_t offset) {
  LogBlock block{};
  block.name = NameOfBlock(mBlocks.made.blocks.size());
  block.begins = static_cast<uint64_t>(offset);
  block.state_known = StateOfLines(block.state) ? 1 : 0;
  mBlocks.made.blocks.push_back(block);
  mBlocks.lines_before = LinesOfEach(LinesNotUnderstoodOfLog().reasons);
  StopLinesAt(mBlocks.made.packed ? kNoStop : std::min({NextStop(offset), NextKnown(), mBlocks.stretch.to}));
}

bool NextBlock() {
  const std::vector<LogBlock>& known = mBlocks.known.blocks;
  const size_t from = mBlocks.next;
  CheckBeginning(known);
  while (CanPass()) {
    PassLinesNotUnderstood(known[mBlocks.next].not_understood, mBlocks.known.first);
    Pass(known[mBlocks.next]);
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

// Where lines have come to, as KnownLog::bytes says it.
static uint64_t BytesOfLog() {
  return mBlocks.made.packed ? SuperLongToBytes(TotalLogBytesRead()) - mBlocks.bytes_before
                             : static_cast<uint64_t>(NextLineOffset() - mBlocks.stretch.from);
}

// Whether nobody has written to the log since it was found to be the same, or to begin with the same bytes.
static bool IsStillAsKnown() {
  LogStamp now;
  return StampOfFile(FileOfLog(), now) &&
         (mBlocks.same ? now == mBlocks.stamp : now.size >= mBlocks.known.size);
}

// What somebody knows by a name must be what is read now, or it has another name.
static void CheckName(LogBlock& block, size_t number) {
  const KnownLog& known = mBlocks.known;
  const bool was_known = number < known.blocks.size() && block.name == known.blocks[number].name;
  if (was_known &&
      (block != known.blocks[number] || BytesOfLog() != EndOf(known, number) || !IsStillAsKnown())) {
    block.name = NewName(number);
  }
}

// What has counted in part cannot be known by the name of the whole.
static void TellOfRead(LogBlock block, const LogRecords& records) {
  if (mLogEvents.block_read != nullptr && records.in_range > 0) {
    block.name = IsWithin(block) ? block.name : BlockName{};
    mLogEvents.block_read(block);
  }
}

bool BlockRead(const LogRecords& records) {
  LogBlock block = mBlocks.made.blocks.back();
  mBlocks.made.blocks.pop_back();
  block.records = records.count;
  block.first = records.first;
  block.last = records.last;
  block.not_understood = Less(LinesOfEach(LinesNotUnderstoodOfLog().reasons), mBlocks.lines_before);
  mBlocks.in_range += records.in_range;
  CheckName(block, mBlocks.made.blocks.size());
  Add(block);
  TellOfRead(block, records);
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
    made.bytes = BytesOfLog();
    made.size = mBlocks.stamp.size;
  } else {
    made.bytes = BytesOfLog();
    made.size = static_cast<uint64_t>(NextLineOffset());
    mBlocks.hashed = mBlocks.hashed && HashOfReading(made.hash);
  }
}

LogReading ReadingOfBlocks() {
  const KnownLog& log = mBlocks.made;
  LogReading reading{.bytes = log.bytes, .records = {}, .not_understood = log.first};
  LogRecords& records = reading.records;
  NotUnderstood& lines = reading.not_understood;
  lines.lines = 0;
  lines.reasons = {};
  for (const LogBlock& block : log.blocks) {
    records.count += block.records;
    records.first = std::min<time_t>(records.first, block.first);
    records.last = std::max<time_t>(records.last, block.last);
    lines.lines += SumOf(block.not_understood);
    AppendKnownLines(lines.reasons, block.not_understood, log.first.reasons);
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
