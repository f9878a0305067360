#include "superlog/log_shares.h"

#include <unistd.h>

#include <algorithm>
#include <string_view>
#include <utility>

#include "base/text_file.h"
#include "dates/local_time.h"
#include "superlog/divided_logs.h"
#include "superlog/line_reader.h"
#include "superlog/log_blocks.h"
#include "superlog/log_events.h"
#include "superlog/log_files.h"
#include "superlog/log_format.h"
#include "superlog/log_line.h"
#include "superlog/log_list.h"
#include "superlog/own_bytes.h"
#include "superlog/superlog.h"

static constexpr size_t kNoLog = SIZE_MAX;
static constexpr LogShare kAllLogs{{0, 0}, {kNoLog, 0}};

struct ReadShare {
  LogShare share = kAllLogs;
  time_t time_before = 0;
  ShareStates states;
  FileId first;  // of the logs within which it begins and ends
  FileId last;
};
static ReadShare mRead;

void ForgetShare() {
  mRead = {};
}

void TakeShare(const LogShare& share, time_t before) {
  mRead = {};
  mRead.share = share;
  mRead.time_before = before;
  mRead.states.within = share.from.offset > 0;
}

ShareStates StatesOfShare() {
  return mRead.states;
}

bool IsSame(const ReadState& a, const ReadState& b) {
  return a.known && b.known && a.lines == b.lines;
}

bool Follows(const ShareStates& last, const ShareStates& next) {
  return (next.alone || IsSame(last.after, next.before) || last.lost) && !last.ended;
}

// ---- Dividing ----

// What a log costs beside its bytes, as a part of the least share: 16 KiB of the usual 4 MiB; and one that is
// compressed for each of them, in bytes of plain logs.
static constexpr uint64_t kLogsInShare = 256;
static constexpr uint64_t kCostOfPackedByte = 8;

// Small logs are read sooner than it is known what need not be read of them, but not sooner than counted and
// kept.
static constexpr uint64_t kWorthAsking = 1 << 20;

static bool IsWorthAsking(const LogFile& log) {
  return AreLogsReadWhole() && (log.size >= kWorthAsking || mLogEvents.block_counted != nullptr);
}

// Opening each log for that would take longer than most are worth.
static bool IsCalledPacked(std::string_view path) {
  return path.ends_with(".gz") || path.ends_with(".zst") || path.ends_with(".xz") || path.ends_with(".bz2");
}

struct Work {
  const LogFile* log;
  uint64_t opening;  // what it costs beside its bytes
  uint64_t cost;
  bool divisible;
};

static Work WorkOf(const LogFile& log, uint64_t opening) {
  if (!IsToBeRead(log)) {
    return {&log, 0, 0, false};
  }
  const uint64_t bytes = IsWorthAsking(log) ? BytesToBeRead(log) : log.size;
  if (AreLogsReadWhole() && IsCalledPacked(log.name)) {
    return {&log, opening, bytes * kCostOfPackedByte + opening, false};
  }
  const bool divisible = mLogEvents.block_counted == nullptr && bytes > log.size / 2 && !MayEndItself(log);
  return {&log, opening, bytes + opening, divisible};
}

// Bytes of a file around a place where it might be cut.
struct Surroundings {
  static constexpr int64_t kBefore = 4096;
  static constexpr int64_t kBehind = 64 << 10;
  char bytes[kBefore + kBehind];
};

LogPlace PlaceNear(const LogFile& log, int64_t wanted) {
  static Surroundings around;
  const LogPlace nowhere{log.place, 0};
  const int file = OpenToRead(log.name).file;
  if (file < 0) {
    return nowhere;
  }
  const int64_t begin = std::max<int64_t>(0, wanted - Surroundings::kBefore);
  const bool packed = AreLogsReadWhole() && FormatOfFile(file) != PackFormat::kNone;
  const ssize_t size = pread(file, around.bytes, sizeof around.bytes, begin);
  close(file);
  if (packed || size <= wanted - begin) {
    return nowhere;
  }
  const std::string_view text{around.bytes, static_cast<size_t>(size)};
  size_t end = text.find('\n', static_cast<size_t>(wanted - begin));
  while (end < text.size() && text.find_first_of(std::string_view("\r\n\0", 3), end + 1) == end + 1) {
    ++end;
  }
  if (end == std::string_view::npos || end + 1 >= text.size() || text[end] != '\n') {
    return nowhere;
  }
  const size_t lead = text.find('\n') + 1;
  return {log.place, begin + static_cast<int64_t>(end + 1), begin + static_cast<int64_t>(lead)};
}

static LogPlace PlaceIn(const Work& work, uint64_t cost) {
  if (work.divisible && cost > work.opening / 2) {
    const LogPlace within = PlaceNear(*work.log, static_cast<int64_t>(cost));
    if (within.offset > 0) {
      return within;
    }
  }
  return {work.log->place + (cost > work.cost / 2 ? 1 : 0), 0};
}

static bool IsBehind(const LogPlace& place, const LogPlace& other) {
  return place.log > other.log || (place.log == other.log && place.offset > other.offset);
}

std::vector<LogShare> DivideLogs(size_t most, uint64_t least) {
  BeginDividing();
  std::vector<Work> works;
  uint64_t all = 0;
  for (LogFile* log = mpLogsRoot; log != nullptr; log = log->next) {
    works.push_back(WorkOf(*log, least / kLogsInShare));
    all += works.back().cost;
  }
  const uint64_t count = std::min<uint64_t>(most, all / std::max<uint64_t>(least, 1));
  std::vector<LogShare> shares{kAllLogs};
  uint64_t before = 0;
  size_t next = 0;
  for (uint64_t i = 1; i < count; ++i) {
    const uint64_t wanted = all / count * i;
    while (before + works[next].cost <= wanted) {
      before += works[next++].cost;
    }
    const LogPlace place = PlaceIn(works[next], wanted - before);
    if (IsBehind(place, shares.back().from) && place.log <= works.back().log->place) {
      shares.back().to = place;
      shares.push_back({place, kAllLogs.to});
    }
  }
  return shares;
}

bool IsDivisible(const LogFile& log) {
  return WorkOf(log, 0).divisible;
}

// ---- The way through a share ----

LogFile* FirstLogOfShare() {
  LogFile* log = mpLogsRoot;
  while (log != nullptr && log->place < mRead.share.from.log) {
    log = log->next;
  }
  return log;
}

bool IsAllOneShare() {
  return mRead.share.from.log == 0 && mRead.share.from.offset == 0 && mRead.share.to.log == kNoLog;
}

bool IsInShare(const LogFile& log) {
  const LogPlace& to = mRead.share.to;
  return log.place < to.log || (log.place == to.log && to.offset > 0);
}

Stretch StretchOf(const LogFile& log) {
  const LogShare& share = mRead.share;
  const bool first = log.place == share.from.log;
  const bool last = log.place == share.to.log && share.to.offset > 0;
  return {first ? share.from.offset : 0, last ? share.to.offset : kNoStop};
}

// ---- Into the state of those who have read what is before ----

ReadState StateNow() {
  ReadState state;
  state.known = StateOfLines(state.lines);
  return state;
}

void PassTimeBefore(const LogFile& log) {
  const LogFile* before = nullptr;
  for (const LogFile* other = mpLogsRoot; other != &log; other = other->next) {
    before = IsToBeRead(*other) ? other : before;
  }
  const time_t last = before != nullptr ? before->last : mRead.time_before;
  tm local{};
  ForgetLinesBefore();
  if (last != 0 && TimeToLocal(last, local)) {
    LocalToTime(local);
  }
}

void ShareBegins() {
  const LogPlace& from = mRead.share.from;
  const LogFile* const first = FirstLogOfShare();
  if (first == nullptr) {
    return;
  }
  const bool behind_lines = from.log > 0 || from.offset > 0 || mRead.time_before != 0;
  if (behind_lines && !AreLogsReadWhole()) {
    PassTimeBefore(*first);
  }
  if (from.offset == 0) {
    mRead.states.before = StateNow();
    mRead.states.alone = AreLogsReadWhole() || !IsTimeRepeated(first->first);
  }
}

void LogOfShareRead(const LogFile& log, bool by_record) {
  if (log.place == mRead.share.to.log) {
    mRead.states.after = StateNow();
    mRead.states.ended = !IsStopped() || by_record;
    mRead.last = IdOfLog();
  }
}

void ShareEnds() {
  if (mRead.share.to.offset == 0) {
    mRead.states.after = StateNow();
  }
}

static void PassLinesTo(int64_t offset) {
  StopLinesAt(offset);
  for (SuperLogRecord record{}; SuperLog_ParseNextLine(record);) {
  }
}

static constexpr int64_t kFirstLines = 64 << 10;  // bytes that tell the layout

void GoToPlace(const LogPlace& place) {
  PassLinesTo(std::min(kFirstLines, place.offset / 2));
  if (NextLineOffset() < place.lead) {
    GoToLine(place.lead);
  }
  PassLinesTo(place.offset);
}

void GoToStretch() {
  const LogEvents events = std::exchange(mLogEvents, {});
  const SuperLong bytes = TotalLogBytesRead();
  const int64_t lines = LinesNotUnderstood();
  GoToPlace(mRead.share.from);
  SetTotalLogBytesRead(bytes);
  ForgetLinesNotUnderstood(lines);
  mLogEvents = events;
  mRead.states.before = StateNow();
  mRead.first = IdOfLog();
}

// ---- From process to process ----

static constexpr uint64_t kUnopened = 1;
static constexpr uint64_t kRead = 2;
static constexpr uint64_t kHasBeginning = 4;

static void PutStates(PartWriter& part, const ShareStates& states) {
  for (const ReadState* const state : {&states.before, &states.after}) {
    PutBytes(part, state->lines);
    PutBytes(part, state->known);
  }
  PutBytes(part, states.alone);
  PutBytes(part, states.within);
  PutBytes(part, states.ended);
  PutBytes(part, states.lost);
}

static void TakeStates(PartReader& part, ShareStates& states) {
  for (ReadState* const state : {&states.before, &states.after}) {
    TakeBytes(part, state->lines);
    TakeBytes(part, state->known);
  }
  TakeBytes(part, states.alone);
  TakeBytes(part, states.within);
  TakeBytes(part, states.ended);
  TakeBytes(part, states.lost);
}

static void SaveLog(PartWriter& part, const LogFile& log) {
  PutFigure(part, (log.unopened ? kUnopened : 0) | (log.reading != nullptr ? kRead : 0) |
                      (log.has_beginning ? kHasBeginning : 0));
  PutFigure(part, static_cast<uint64_t>(log.format));
  PutFigure(part, static_cast<uint64_t>(log.unpacked));
  PutFigure(part, log.original == nullptr ? 0 : log.original->place + 1);
  PutBytes(part, log.beginning);
  if (log.reading != nullptr) {
    PutFigure(part, log.reading->bytes);
    PutBytes(part, log.reading->records);
    PutLines(part, log.reading->not_understood);
  }
}

void SaveShare(PartWriter& part) {
  PutBytes(part, mRead.share);
  PutStates(part, mRead.states);
  PutBytes(part, mRead.first);
  PutBytes(part, mRead.last);
  for (const LogFile* log = FirstLogOfShare(); log != nullptr && IsInShare(*log); log = log->next) {
    SaveLog(part, *log);
  }
  SaveStretches(part);
}

static LogFile* LogOfPlace(size_t place) {
  LogFile* log = mpLogsRoot;
  while (log != nullptr && log->place != place) {
    log = log->next;
  }
  return log;
}

// Of all that there is of a log, or of its beginning: whatever an earlier reading has told.
static bool IsFirstOf(const LogFile& log) {
  return StretchOf(log).from == 0;
}

// Of the next stretch of a log.
static void AddReading(LogFile& log, const LogReading& more) {
  LogReading& reading = ReadingOf(log);
  if (IsFirstOf(log)) {
    reading = {};
  }
  AppendReading(reading, more);
}

static void AddLog(PartReader& part, LogFile& log) {
  const uint64_t flags = TakeFigure(part);
  log.unopened = (flags & kUnopened) != 0;
  log.has_beginning = (flags & kHasBeginning) != 0;
  log.format = static_cast<PackFormat>(TakeFigureUpTo(part, kPackFormats - 1));
  log.unpacked = static_cast<UnpackEnd>(TakeFigureUpTo(part, static_cast<uint64_t>(UnpackEnd::kBroken)));
  const uint64_t original = TakeFigure(part);
  if (original != 0) {
    log.original = LogOfPlace(original - 1);
  }
  TakeBytes(part, log.beginning);
  if ((flags & kRead) != 0) {
    LogReading reading;
    reading.bytes = TakeFigure(part);
    TakeBytes(part, reading.records);
    TakeLines(part, reading.not_understood);
    if (!part.damaged) {
      AddReading(log, reading);
    }
  }
}

// Whether reading what is compressed in another order might have shown it to be a copy.
static bool MayBeCopy(const LogFile& log) {
  return log.format != PackFormat::kNone && log.has_beginning && log.original == nullptr;
}

static bool SeemsToBeCopy(const LogFile& log) {
  if (!MayBeCopy(log)) {
    return false;
  }
  for (const LogFile* other = mpLogsRoot; other != &log; other = other->next) {
    if (MayBeCopy(*other) && log.beginning == other->beginning) {
      return true;
    }
  }
  return false;
}

// What was read of both, the second one the latest.
static ReadShare Joined(const ReadShare& last, ReadShare next) {
  next.share.from = last.share.from;
  next.states.before = last.states.before;
  next.states.alone = last.states.alone;
  next.states.within = last.states.within;
  next.first = last.first;
  return next;
}

bool AddShare(PartReader& part) {
  const ReadShare last = mRead;
  TakeBytes(part, mRead.share);
  TakeStates(part, mRead.states);
  TakeBytes(part, mRead.first);
  TakeBytes(part, mRead.last);
  if (part.damaged || !Follows(last.states, mRead.states) || last.last != mRead.first) {
    return false;
  }
  for (LogFile* log = FirstLogOfShare(); log != nullptr && IsInShare(*log); log = log->next) {
    AddLog(part, *log);
    if (part.damaged || SeemsToBeCopy(*log)) {
      return false;
    }
  }
  mRead = Joined(last, mRead);
  return AddStretches(part);
}
