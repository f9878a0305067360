#include "superlog/log_parts.h"

#include <unistd.h>

#include <algorithm>
#include <cstring>
#include <set>
#include <string>
#include <tuple>
#include <vector>

#include "base/text_file.h"
#include "dates/local_time.h"
#include "layouts/known_layouts.h"
#include "superlog/content_hash.h"
#include "superlog/log_dates.h"
#include "superlog/log_files.h"
#include "superlog/log_format.h"
#include "superlog/log_list.h"
#include "superlog/log_pieces.h"
#include "superlog/log_shares.h"
#include "superlog/superlog.h"
#include "unpack/unpacking.h"

RecordRules RulesOfRecords() {
  return {mDateFormat, mFixGmt, OwnLayout()};
}

// ---- Logs that could not be opened ----

struct NotOpened {
  NotOpened* next;
  char path[kPathSize];
};

static NotOpened* mNotOpened = nullptr;
static NotOpened* mLastNotOpened = nullptr;  // holds while there is a first

void NoteLogNotOpened(const char* path) {
  auto* const noted = new NotOpened{};
  CopyText(noted->path, path);
  (mNotOpened == nullptr ? mNotOpened : mLastNotOpened->next) = noted;
  mLastNotOpened = noted;
}

void ForgetLogsNotOpened() {
  while (mNotOpened != nullptr) {
    NotOpened* const next = mNotOpened->next;
    delete mNotOpened;
    mNotOpened = next;
  }
}

std::vector<std::string> LogsNotOpened() {
  std::vector<std::string> paths;
  for (const NotOpened* noted = mNotOpened; noted != nullptr; noted = noted->next) {
    paths.emplace_back(noted->path);
  }
  return paths;
}

static void TellNotOpened(const LogEvents& events) {
  for (const NotOpened* noted = mNotOpened; noted != nullptr; noted = noted->next) {
    events.log_not_opened(noted->path);
  }
}

static void TellLooks(const LogEvents& events) {
  for (const LogFile* log = mpLogsRoot; log != nullptr; log = log->next) {
    if (log->reading != nullptr) {
      const LogRecords& records = log->reading->records;
      events.log_looked_at({log->name, log->size, records.first, records.last, VerdictOf(records)});
    }
  }
}

void TellLogsAgain(const LogEvents& events) {
  if (events.log_not_opened != nullptr) {
    TellNotOpened(events);
  }
  if (events.log_looked_at != nullptr) {
    TellLooks(events);
  }
}

static void SaveNotOpened(PartWriter& part) {
  uint64_t count = 0;
  for (const NotOpened* noted = mNotOpened; noted != nullptr; noted = noted->next) {
    ++count;
  }
  PutFigure(part, count);
  for (const NotOpened* noted = mNotOpened; noted != nullptr; noted = noted->next) {
    PutText(part, noted->path);
  }
}

// ---- Repeated hours ----

bool BeginsInRepeatedHour() {
  for (const LogFile* log = mpLogsRoot; log != nullptr; log = log->next) {
    if (LookAt(*log).verdict == LogVerdict::kInRange) {
      return IsTimeRepeated(log->first);
    }
  }
  return false;
}

// ---- Logs that may hold the same ----

// Contents that differ in none of these may be the same, and such that are the same differ in none.
struct Likeness {
  uint64_t size;  // of a log that nobody could read
  ContentHash beginning;
  LogRecords records;
  int64_t lines_not_understood;
};

static bool operator<(const Likeness& a, const Likeness& b) {
  const auto values = [](const Likeness& likeness) {
    return std::tie(likeness.size, likeness.beginning.low, likeness.beginning.high, likeness.records.count,
                    likeness.records.in_range, likeness.records.first, likeness.records.last,
                    likeness.lines_not_understood);
  };
  return values(a) < values(b);
}

static constexpr ContentKey kBeginningKey = {
    {0xba7c9045f12c7f99, 0x24a19947b3916cf7, 0x0801f2e2858efc16, 0x636920d871574e69}};  // digits of pi
static constexpr uint64_t kBeginning = 4096;                                            // bytes

// Whether a report would show that the log was read twice. A log that nobody could unpack is told of.
static bool WouldShowTwice(const LogFile& log) {
  if (!log.plain || log.size == 0 || log.original != nullptr) {
    return false;
  }
  if (log.reading == nullptr) {
    return log.unpacked == UnpackEnd::kNoLibrary;
  }
  const LogRecords& records = log.reading->records;
  return records.in_range > 0 || (records.count == 0 && log.reading->not_understood.lines > 0);
}

static bool HashUnpackedBeginning(int file, PackFormat format, ContentHash& hash) {
  char beginning[kBeginning];
  if (!OpenUnpacked(file, format)) {
    return false;
  }
  hash = AddBlock(kBeginningKey, {}, beginning, ReadUnpacked(beginning, sizeof beginning));
  CloseUnpacked();
  return true;
}

// Of the lines in it: a log may be told again in compressed form.
static bool HashBeginning(LogFile& log) {
  const int file = OpenToRead(log.name).file;
  if (file < 0) {
    return false;
  }
  const PackFormat format = log.reading == nullptr ? PackFormat::kNone : FormatOfFile(file);
  const bool hashed = format == PackFormat::kNone
                          ? HashFile(kBeginningKey, file, std::min(log.size, kBeginning), log.likeness)
                          : HashUnpackedBeginning(file, format, log.likeness);
  close(file);
  return hashed;
}

const char* HashBeginnings() {
  for (LogFile* log = mpLogsRoot; log != nullptr; log = log->next) {
    if (WouldShowTwice(*log) && !HashBeginning(*log)) {
      return log->name;
    }
  }
  return nullptr;
}

// ---- Writing ----

static constexpr uint64_t kPlain = 1;
static constexpr uint64_t kUnopened = 2;
static constexpr uint64_t kRead = 4;
static constexpr uint64_t kLike = 8;
static constexpr uint64_t kMissing = 16;
static constexpr uint64_t kLinesCounted = 32;
static constexpr uint64_t kReasons = 64;
static constexpr uint64_t kAllFlags = 127;

// By name: which layouts are known may change.
static void SaveNearest(PartWriter& part, const NearLayout& nearest) {
  const NearMiss& miss = nearest.miss;
  const bool known = miss.layout != 0 && !nearest.given;
  PutFigure(part, nearest.given ? 1 : 0);
  PutText(part, known ? KnownLayouts()[miss.layout - size_t{1}].name : "");
  PutFigure(part, static_cast<uint64_t>(miss.field));
  PutFigure(part, miss.character);
}

static void SaveReading(PartWriter& part, const LogReading& reading) {
  PutFigure(part, reading.bytes);
  PutFigure(part, static_cast<uint64_t>(reading.records.count));
  PutFigure(part, static_cast<uint64_t>(reading.records.in_range));
  PutSigned(part, reading.records.first);
  PutSigned(part, reading.records.last);
  PutFigure(part, static_cast<uint64_t>(reading.not_understood.lines));
  PutFigure(part, static_cast<uint64_t>(reading.not_understood.first));
  PutText(part, reading.not_understood.line);
  SaveNearest(part, reading.not_understood.nearest);
}

// Nearly all logs that have such lines have those of one reason, which the first one tells.
static LinesByReason ReasonsOfFirst(const NotUnderstood& lines) {
  return LinesOfOneReason({lines.lines, lines.first, lines.nearest});
}

static bool HasMoreReasons(const LogFile& log) {
  return log.reading != nullptr &&
         log.reading->not_understood.reasons != ReasonsOfFirst(log.reading->not_understood);
}

static void SaveReasons(PartWriter& part, const LinesByReason& lines) {
  const LinesOfReasons counts = LinesOfEach(lines);
  PutFigure(part, kLineReasons - static_cast<size_t>(std::count(counts.begin(), counts.end(), 0)));
  for (const ReasonLines& reason : lines.reasons) {
    if (reason.lines > 0) {
      PutFigure(part, static_cast<uint64_t>(reason.lines));
      PutFigure(part, static_cast<uint64_t>(reason.first));
      SaveNearest(part, reason.nearest);
    }
  }
}

static uint64_t FlagsOf(const LogFile& log) {
  return (log.plain ? kPlain : 0) | (log.unopened ? kUnopened : 0) | (log.reading != nullptr ? kRead : 0) |
         (WouldShowTwice(log) ? kLike : 0) | (log.missing ? kMissing : 0) |
         (log.lines_counted ? kLinesCounted : 0) | (HasMoreReasons(log) ? kReasons : 0);
}

// Which one it is shows where nobody could unpack the log; of one that need not be read it is not always
// known.
static PackFormat FormatThatShows(const LogFile& log) {
  return log.unpacked == UnpackEnd::kNoLibrary ? log.format : PackFormat::kNone;
}

static void SaveLog(PartWriter& part, const LogFile& log) {
  const uint64_t flags = FlagsOf(log);
  PutText(part, log.name);
  PutFigure(part, log.planned);
  PutFigure(part, log.size);
  PutSigned(part, log.first);
  PutSigned(part, log.last);
  PutFigure(part, flags);
  PutFigure(part, static_cast<uint64_t>(FormatThatShows(log)));
  PutFigure(part, static_cast<uint64_t>(log.unpacked));
  PutFigure(part, log.original == nullptr ? 0 : log.original->place + 1);
  if ((flags & kRead) != 0) {
    SaveReading(part, *log.reading);
  }
  if ((flags & kReasons) != 0) {
    SaveReasons(part, log.reading->not_understood.reasons);
  }
  if ((flags & kLike) != 0) {
    PutFigure(part, log.likeness.low);
    PutFigure(part, log.likeness.high);
  }
  if ((flags & kMissing) != 0) {
    PutFigure(part, log.missing_bytes);
  }
  if ((flags & kLinesCounted) != 0) {
    PutFigure(part, log.lines);
  }
}

void SaveLogs(PartWriter& part) {
  SaveNotOpened(part);
  uint64_t count = 0;
  for (const LogFile* log = mpLogsRoot; log != nullptr; log = log->next) {
    ++count;
  }
  PutFigure(part, count);
  for (const LogFile* log = mpLogsRoot; log != nullptr; log = log->next) {
    SaveLog(part, *log);
  }
}

// ---- Reading ----

static constexpr uint64_t kMostOfLog = uint64_t{1} << 48;  // records, lines

template <size_t N>
static void TakeName(PartReader& part, char (&name)[N]) {
  const std::string_view text = TakeText(part, N - 1);
  if (text.find('\0') != std::string_view::npos) {
    MarkDamaged(part);
  }
  CopyText(name, part.damaged ? std::string_view{} : text);
}

// The classic page prints them as they stand.
static bool IsHarmless(const char* path) {
  return std::string_view(path).find_first_of("<>&\"'") == std::string_view::npos;
}

static bool AddNotOpened(PartReader& part) {
  for (uint64_t left = TakeFigure(part); left > 0; --left) {
    char path[kPathSize];
    TakeName(part, path);
    if (part.damaged || !IsHarmless(path)) {
      return false;
    }
    NoteLogNotOpened(path);
  }
  return !part.damaged;
}

static void TakeNearest(PartReader& part, NearLayout& nearest) {
  nearest.given = TakeFigureUpTo(part, 1) != 0;
  const std::string_view name = TakeText(part, kTextMax);
  nearest.miss.field = static_cast<Field>(TakeFigureUpTo(part, kFieldCount - 1));
  nearest.miss.character = static_cast<uint32_t>(TakeFigureUpTo(part, UINT32_MAX));
  const KnownLayout* const known = name.empty() ? nullptr : FindLayout(name);
  if (known != nullptr) {
    nearest.miss.layout = static_cast<uint8_t>(known - KnownLayouts().data() + 1);
  } else if (!name.empty()) {
    MarkDamaged(part);
  }
  nearest.miss.layout = nearest.given ? uint8_t{1} : nearest.miss.layout;
}

static void TakeReading(PartReader& part, LogReading& reading) {
  reading.bytes = TakeFigureUpTo(part, kMostOfLog);
  reading.records.count = static_cast<int64_t>(TakeFigureUpTo(part, kMostOfLog));
  reading.records.in_range = static_cast<int64_t>(TakeFigureUpTo(part, kMostOfLog));
  reading.records.first = TakeSigned(part);
  reading.records.last = TakeSigned(part);
  reading.not_understood.lines = static_cast<int64_t>(TakeFigureUpTo(part, kMostOfLog));
  reading.not_understood.first = static_cast<int64_t>(TakeFigureUpTo(part, kMostOfLog));
  TakeName(part, reading.not_understood.line);
  MakePrintable(reading.not_understood.line);
  TakeNearest(part, reading.not_understood.nearest);
  reading.not_understood.reasons = ReasonsOfFirst(reading.not_understood);
}

// Each of them once, and all lines together.
static void TakeReasons(PartReader& part, NotUnderstood& lines) {
  lines.reasons = {};
  for (uint64_t left = TakeFigureUpTo(part, kLineReasons); left > 0 && !part.damaged; --left) {
    ReasonLines taken;
    taken.lines = static_cast<int64_t>(TakeFigureUpTo(part, kMostOfLog));
    taken.first = static_cast<int64_t>(TakeFigureUpTo(part, kMostOfLog));
    TakeNearest(part, taken.nearest);
    ReasonLines& reason = lines.reasons[ReasonOf(taken.nearest)];
    if (reason.lines > 0 || taken.lines == 0) {
      MarkDamaged(part);
    }
    reason = taken;
  }
  if (SumOf(LinesOfEach(lines.reasons)) != lines.lines) {
    MarkDamaged(part);
  }
}

struct SavedLog {
  LogFile log{};
  uint64_t original = 0;  // its number within the part; 0: none
  LogReading reading;
};

static void TakeLog(PartReader& part, SavedLog& saved) {
  LogFile& log = saved.log;
  TakeName(part, log.name);
  log.planned = TakeFigure(part);
  log.size = TakeFigure(part);
  log.first = TakeSigned(part);
  log.last = TakeSigned(part);
  const uint64_t flags = TakeFigureUpTo(part, kAllFlags);
  log.state = kSeenOnDisk;
  log.plain = (flags & kPlain) != 0;
  log.unopened = (flags & kUnopened) != 0;
  log.format = static_cast<PackFormat>(TakeFigureUpTo(part, kPackFormats - 1));
  log.unpacked = static_cast<UnpackEnd>(TakeFigureUpTo(part, static_cast<uint64_t>(UnpackEnd::kBroken)));
  saved.original = TakeFigure(part);
  if ((flags & kRead) != 0) {
    TakeReading(part, saved.reading);
    log.reading = &saved.reading;
  }
  if ((flags & kReasons) != 0) {
    TakeReasons(part, saved.reading.not_understood);
  }
  if ((flags & kLike) != 0) {
    log.likeness.low = TakeFigure(part);
    log.likeness.high = TakeFigure(part);
  }
  if ((flags & kMissing) != 0) {
    log.missing = true;
    log.missing_bytes = TakeFigureUpTo(part, kMostOfLog);
  }
  if ((flags & kLinesCounted) != 0) {
    log.lines_counted = true;
    log.lines = TakeFigureUpTo(part, kMostOfLog);
  }
  if (log.name[0] == '\0') {
    MarkDamaged(part);
  }
}

static AddedLogs Refuse(LogsAdded why, const char* log = "") {
  AddedLogs result{.added = why, .log = {}};
  CopyText(result.log, log);
  MakePrintable(result.log);
  return result;
}

// The logs of a part as they come into the list.
struct LogsOfPart {
  std::vector<LogFile*> logs;
  std::vector<uint64_t> originals;  // of each its number within the part, from 1; 0: none
  std::set<Likeness> likenesses;    // of all that are in the list
  bool goes_on;                     // the next one may be a log that is in the list
  bool planned;                     // whoever has made the plan has looked for copies
};

static Likeness LikenessOf(const LogFile& log) {
  static constexpr LogReading kNone{};
  const LogReading& reading = log.reading == nullptr ? kNone : *log.reading;
  const uint64_t size = log.reading == nullptr ? log.size : 0;
  return {size, log.likeness, reading.records, reading.not_understood.lines};
}

// A line's number within its piece becomes the one within all pieces up to there; 0 where that is not known.
static void NumberLines(const LogFile& before, const LogFile& next, LogReading& reading) {
  if (!next.lines_counted) {
    return;
  }
  if (before.lines_counted) {
    NumberBehind(reading.not_understood, static_cast<int64_t>(before.lines));
  } else {
    ForgetNumbers(reading.not_understood);
  }
}

// The next stretch of a log, which is the part's first one.
static LogsAdded GoOn(const SavedLog& saved, LogFile& log, LogsOfPart& part) {
  part.goes_on = false;
  if (saved.log.reading != nullptr) {
    LogReading reading = saved.reading;
    NumberLines(log, saved.log, reading);
    AppendReading(ReadingOf(log), reading);
  }
  log.lines_counted = log.lines_counted && saved.log.lines_counted;
  log.lines += saved.log.lines;
  log.missing = log.missing || saved.log.missing;
  log.missing_bytes += saved.log.missing_bytes;
  part.logs.push_back(&log);
  part.originals.push_back(saved.original);
  return LogsAdded::kAll;
}

// Where logs are read whole each has its entry; otherwise one with the size and dates of another has none,
// which matters where it was read.
static LogsAdded AddLog(const SavedLog& saved, bool whole_logs, LogsOfPart& part) {
  LogFile* const known = FindLog(saved.log.name);
  if (known != nullptr && part.goes_on) {
    return GoOn(saved, *known, part);
  }
  if (known != nullptr) {
    return LogsAdded::kTwice;
  }
  LogFile log = saved.log;
  log.reading = nullptr;
  if (!whole_logs) {
    LogsListAppend(log);
    const bool left_out = FindLog(log.name) == nullptr;
    return left_out && LookAt(log).verdict == LogVerdict::kInRange ? LogsAdded::kCopy : LogsAdded::kAll;
  }
  LogsListAdd(log);
  LogFile* const added = FindLog(log.name);
  if (saved.log.reading != nullptr) {
    ReadingOf(*added) = saved.reading;
  }
  part.logs.push_back(added);
  part.originals.push_back(saved.original);
  return LogsAdded::kAll;
}

// A log may be the copy of a later one. False where there is no such log, or where it is a copy itself.
static bool SetOriginals(const LogsOfPart& part) {
  for (size_t i = 0; i < part.logs.size(); ++i) {
    const uint64_t number = part.originals[i];
    if (number > part.logs.size() || (number > 0 && part.originals[number - 1] != 0)) {
      return false;
    }
    part.logs[i]->original = number == 0 ? nullptr : part.logs[number - 1];
  }
  return true;
}

static AddedLogs AddWithLikeness(const SavedLog& saved, LogsOfPart& part) {
  const LogsAdded added = AddLog(saved, true, part);
  if (added != LogsAdded::kAll) {
    return Refuse(added, saved.log.name);
  }
  const LogFile& log = *part.logs.back();
  const bool alone = part.planned || saved.original != 0 || !WouldShowTwice(log) ||
                     part.likenesses.insert(LikenessOf(log)).second;
  return Refuse(alone ? LogsAdded::kAll : LogsAdded::kCopy, log.name);
}

static std::set<Likeness> LikenessesOfList() {
  std::set<Likeness> likenesses;
  for (const LogFile* log = mpLogsRoot; log != nullptr; log = log->next) {
    if (WouldShowTwice(*log)) {
      likenesses.insert(LikenessOf(*log));
    }
  }
  return likenesses;
}

AddedLogs AddSavedLogs(PartReader& part, bool whole_logs) {
  if (!AddNotOpened(part)) {
    return Refuse(LogsAdded::kDamaged);
  }
  LogsOfPart logs{};
  logs.planned = ArePiecesOfAPlan();
  logs.goes_on = BeginWithinLog();
  if (whole_logs) {
    logs.likenesses = LikenessesOfList();
  }
  for (uint64_t left = TakeFigure(part); left > 0; --left) {
    SavedLog saved;
    TakeLog(part, saved);
    if (part.damaged) {
      break;
    }
    const AddedLogs result =
        whole_logs ? AddWithLikeness(saved, logs) : Refuse(AddLog(saved, false, logs), saved.log.name);
    if (result.added != LogsAdded::kAll) {
      return result;
    }
  }
  return Refuse(part.damaged || !SetOriginals(logs) ? LogsAdded::kDamaged : LogsAdded::kAll);
}
