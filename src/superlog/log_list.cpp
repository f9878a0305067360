#include "superlog/log_list.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>

#include "base/hash_seed.h"
#include "base/memory_end.h"
#include "superlog/own_bytes.h"

LogFile* mpLogsRoot = nullptr;

// The entries in list order, and two hash tables of chained entries. Entries of
// equal size and dates stand in list order in their chain: one becomes equal to
// others only when none of them precedes it in the list, and so goes to the
// chain's front.
static LogFile** mEntries = nullptr;  // one block, with the two tables behind
static LogFile** mByName = nullptr;
static LogFile** mByDates = nullptr;
static size_t mCapacity = 0;  // of each of the three, a power of two
static size_t mCount = 0;

static constexpr size_t kFirstCapacity = 256;

// A summary file may be anybody's: names and dates are hashed under a seed.
struct ListSeed {
  uint64_t start;
  uint64_t factor;
};

static const ListSeed mSeed = RandomSeed(ListSeed{0x243f6a8885a308d3, 0x13198a2e03707344});  // digits of pi

static uint64_t HashOn(uint64_t hash, uint64_t word) {
  return MultiplyFold(hash ^ word, mSeed.factor | 1);
}

static uint64_t HashName(const char* name) {
  uint64_t hash = mSeed.start;
  for (size_t left = strlen(name); left > 0;) {
    uint64_t word = 0;
    const size_t size = std::min(left, sizeof word);
    memcpy(&word, name, size);
    hash = HashOn(hash, word);
    name += size;
    left -= size;
  }
  return hash;
}

static uint64_t HashDates(const LogFile& file) {
  const uint64_t hash = HashOn(HashOn(mSeed.start, file.size), static_cast<uint64_t>(file.first));
  return HashOn(hash, static_cast<uint64_t>(file.last));
}

static LogFile*& NameChain(const char* name) {
  return mByName[HashName(name) & (mCapacity - 1)];
}

static LogFile*& DatesChain(const LogFile& file) {
  return mByDates[HashDates(file) & (mCapacity - 1)];
}

static void PutFirst(LogFile*& chain, LogFile* LogFile::*next, LogFile* entry) {
  entry->*next = chain;
  chain = entry;
}

// The chains by dates are linked both ways, so that an entry leaves its chain
// without a walk.
static void ChainByDates(LogFile* entry) {
  LogFile*& chain = DatesChain(*entry);
  if (chain != nullptr) {
    chain->link_of_dates_hash = &entry->next_of_dates_hash;
  }
  PutFirst(chain, &LogFile::next_of_dates_hash, entry);
  entry->link_of_dates_hash = &chain;
}

static void UnchainFromDates(const LogFile& entry) {
  *entry.link_of_dates_hash = entry.next_of_dates_hash;
  if (entry.next_of_dates_hash != nullptr) {
    entry.next_of_dates_hash->link_of_dates_hash = entry.link_of_dates_hash;
  }
}

// Numbers and chains all entries anew. From the last to the first, so that
// chains come out in list order.
static void Reindex() {
  std::fill_n(mByName, mCapacity, nullptr);
  std::fill_n(mByDates, mCapacity, nullptr);
  mpLogsRoot = nullptr;
  for (size_t place = mCount; place-- > 0;) {
    LogFile* const entry = mEntries[place];
    entry->place = place;
    PutFirst(mpLogsRoot, &LogFile::next, entry);
    PutFirst(NameChain(entry->name), &LogFile::next_of_name_hash, entry);
    ChainByDates(entry);
  }
}

static bool Grow() {
  const size_t capacity = mCapacity == 0 ? kFirstCapacity : 2 * mCapacity;
  auto* const block = static_cast<LogFile**>(malloc(3 * capacity * sizeof(void*)));
  if (block == nullptr) {
    return false;
  }
  std::copy_n(mEntries, mCount, block);
  free(static_cast<void*>(mEntries));
  mEntries = block;
  mByName = block + capacity;
  mByDates = block + 2 * capacity;
  mCapacity = capacity;
  Reindex();
  return true;
}

static bool SameDates(const LogFile& a, const LogFile& b) {
  return a.size == b.size && a.first == b.first && a.last == b.last;
}

LogFile* FindLog(const char* name) {
  LogFile* entry = mCapacity == 0 ? nullptr : NameChain(name);
  while (entry != nullptr && strcmp(entry->name, name) != 0) {
    entry = entry->next_of_name_hash;
  }
  return entry;
}

// The first entry in list order that has the file's size and dates.
static const LogFile* FindOriginal(const LogFile& file) {
  const LogFile* entry = mCapacity == 0 ? nullptr : DatesChain(file);
  while (entry != nullptr && !SameDates(*entry, file)) {
    entry = entry->next_of_dates_hash;
  }
  return entry;
}

static void Update(LogFile& entry, const LogFile& file) {
  entry.state = file.state;
  if (SameDates(entry, file)) {
    return;
  }
  UnchainFromDates(entry);
  entry.size = file.size;
  entry.first = file.first;
  entry.last = file.last;
  ChainByDates(&entry);
}

static void AddAtEnd(const LogFile& file) {
  auto* const entry = static_cast<LogFile*>(malloc(sizeof(LogFile)));
  if (entry == nullptr || (mCount == mCapacity && !Grow())) {
    EndWithoutMemory();  // without this log the figures would be wrong
  }
  *entry = file;
  entry->next = nullptr;
  entry->place = mCount;
  (mCount == 0 ? mpLogsRoot : mEntries[mCount - 1]->next) = entry;
  mEntries[mCount++] = entry;
  PutFirst(NameChain(entry->name), &LogFile::next_of_name_hash, entry);
  ChainByDates(entry);
}

void LogsListAppend(const LogFile& file) {
  LogFile* const same_name = FindLog(file.name);
  const LogFile* const original = FindOriginal(file);
  // deliberate: a copy under another name is ignored without a message, and
  // even the file's own entry is, when it comes later in the list
  if (original != nullptr && (same_name == nullptr || original->place < same_name->place)) {
    return;
  }
  if (same_name != nullptr) {
    Update(*same_name, file);
  } else {
    AddAtEnd(file);
  }
}

void LogsListAdd(const LogFile& file) {
  if (FindLog(file.name) == nullptr) {
    AddAtEnd(file);
  }
}

void AppendReading(LogReading& reading, const LogReading& more) {
  reading.bytes += more.bytes;
  reading.records.count += more.records.count;
  reading.records.in_range += more.records.in_range;
  reading.records.first = std::min(reading.records.first, more.records.first);
  reading.records.last = std::max(reading.records.last, more.records.last);
  AppendLines(reading.not_understood, more.not_understood);
}

static void PutNearest(PartWriter& part, const NearLayout& nearest) {
  PutBytes(part, nearest.miss.layout);
  PutBytes(part, nearest.miss.field);
  PutBytes(part, nearest.miss.character);
  PutBytes(part, nearest.given);
}

static void TakeNearest(PartReader& part, NearLayout& nearest) {
  TakeBytes(part, nearest.miss.layout);
  TakeBytes(part, nearest.miss.field);
  TakeBytes(part, nearest.miss.character);
  TakeBytes(part, nearest.given);
}

void PutLines(PartWriter& part, const NotUnderstood& lines) {
  PutBytes(part, lines.lines);
  PutBytes(part, lines.first);
  PutBytes(part, lines.line);
  PutNearest(part, lines.nearest);
  for (const ReasonLines& reason : lines.reasons.reasons) {
    PutBytes(part, reason.lines);
    PutBytes(part, reason.first);
    PutNearest(part, reason.nearest);
  }
}

void TakeLines(PartReader& part, NotUnderstood& lines) {
  TakeBytes(part, lines.lines);
  TakeBytes(part, lines.first);
  TakeBytes(part, lines.line);
  TakeNearest(part, lines.nearest);
  for (ReasonLines& reason : lines.reasons.reasons) {
    TakeBytes(part, reason.lines);
    TakeBytes(part, reason.first);
    TakeNearest(part, reason.nearest);
  }
}

void ForgetReadings() {
  for (LogFile* log = mpLogsRoot; log != nullptr; log = log->next) {
    free(log->reading);
    log->reading = nullptr;
    log->unopened = false;
  }
}

LogReading& ReadingOf(LogFile& log) {
  if (log.reading == nullptr) {
    log.reading = static_cast<LogReading*>(malloc(sizeof(LogReading)));
    if (log.reading == nullptr) {
      EndWithoutMemory();
    }
    *log.reading = {};
  }
  return *log.reading;
}

bool DeleteOldEntries() {
  const size_t count = mCount;
  mCount = 0;
  for (size_t place = 0; place < count; ++place) {
    LogFile* const entry = mEntries[place];
    if (entry->state == kFromSummary) {
      free(entry);
    } else {
      mEntries[mCount++] = entry;
    }
  }
  if (mCount == count) {
    return false;
  }
  Reindex();
  return true;
}

void OrderAsPlanned() {
  std::stable_sort(mEntries, mEntries + mCount,
                   [](const LogFile* a, const LogFile* b) { return a->planned < b->planned; });
  if (mCount > 0) {
    Reindex();
  }
}

void ClearLogList() {
  for (size_t place = 0; place < mCount; ++place) {
    free(mEntries[place]->reading);
    free(mEntries[place]);
  }
  free(static_cast<void*>(mEntries));
  mEntries = mByName = mByDates = nullptr;
  mCapacity = mCount = 0;
  mpLogsRoot = nullptr;
}
