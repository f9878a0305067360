#include "superlog/log_store.h"

#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cinttypes>
#include <cstdio>
#include <cstring>

#include "base/own_files.h"
#include "base/text.h"
#include "base/text_file.h"
#include "dates/clock.h"
#include "layouts/known_layouts.h"
#include "superlog/content_hash.h"
#include "superlog/file_replacement.h"

static constexpr int64_t kSettled = 2;  // seconds: some file systems know no smaller ones
static constexpr ContentKey kSumKey = {
    {0x452821e638d01377, 0xbe5466cf34e90c6c, 0xc0ac29b7c97c50dd, 0x3f84d5b5b5470917}};  // digits of pi

static char mFolder[kPathSize];
static uint64_t mRules = 0;

static bool TakeStamp(const struct stat& info, LogStamp& stamp) {
  stamp = {.device = info.st_dev,
           .inode = info.st_ino,
           .size = static_cast<uint64_t>(info.st_size),
           .changed = info.st_mtim.tv_sec,
           .changed_ns = info.st_mtim.tv_nsec,
           .described = info.st_ctim.tv_sec,
           .described_ns = info.st_ctim.tv_nsec};
  return S_ISREG(info.st_mode);
}

bool StampOf(const char* path, LogStamp& stamp) {
  struct stat info;
  return stat(path, &info) == 0 && TakeStamp(info, stamp);
}

bool StampOfFile(int file, LogStamp& stamp) {
  struct stat info;
  return fstat(file, &info) == 0 && TakeStamp(info, stamp);
}

static bool IsStampOf(int file, const LogStamp& stamp) {
  LogStamp now;
  return StampOfFile(file, now) && now == stamp;
}

bool HashOfFile(const char* path, const LogStamp& stamp, const ContentKey& key, ContentHash& hash) {
  const int file = OpenToRead(path).file;
  if (file < 0) {
    return false;
  }
  const bool hashed =
      IsStampOf(file, stamp) && HashFile(key, file, stamp.size, hash) && IsStampOf(file, stamp);
  close(file);
  return hashed;
}

bool IsSettled(const LogStamp& stamp) {
  const int64_t now = CurrentTime();
  return stamp.changed < now - kSettled && stamp.described < now - kSettled;
}

// ---- The folder ----

// A folder that others can write into may hold what they want this user to believe.
void OpenStore(const char* folder, uint64_t rules) {
  mRules = rules;
  mFolder[0] = '\0';
  if (folder[0] != '\0' && strlen(folder) < sizeof mFolder && IsOwnFolder(folder)) {
    CopyText(mFolder, folder);
  }
}

bool IsStoreOpen() {
  return mFolder[0] != '\0';
}

static void NameEntry(char (&path)[kPathSize + 40], const LogStamp& stamp) {
  snprintf(path, sizeof path, "%s/%016" PRIx64 "%016" PRIx64, mFolder, stamp.device, stamp.inode);
}

// ---- One entry ----

// Written as it stands in memory: a store is of one machine.
struct FirstLine {
  int64_t number;
  uint64_t nearest_given;
  uint64_t nearest_layout;
  uint64_t nearest_field;
  uint64_t nearest_character;
};

struct Head {
  char mark[16];
  uint64_t rules;
  LogStamp stamp;
  uint64_t settled;
  uint64_t packed;
  uint64_t size;
  ContentKey key;
  ContentHash hash;
  uint64_t bytes;
  FirstLine first;
  std::array<FirstLine, kLineReasons> first_of_reasons;
  char line[kShownOfLine + 8];
  uint64_t blocks;
};
static_assert(sizeof(Head) == 16 + sizeof(LogStamp) + sizeof(ContentKey) + sizeof(ContentHash) +
                                  (1 + kLineReasons) * sizeof(FirstLine) + kShownOfLine + 8 +
                                  6 * sizeof(uint64_t));

static constexpr char kMark[sizeof Head::mark] = "Orvellis log 5\n";

static size_t SizeOfEntry(uint64_t blocks) {
  return sizeof(Head) + blocks * sizeof(LogBlock) + sizeof(ContentHash);
}

// Behind all else: proves that it is as it was written.
static ContentHash SumOf(const char* entry, size_t size) {
  return AddBlock(kSumKey, {}, entry, size - sizeof(ContentHash));
}

static FirstLine FirstOf(int64_t number, const NearLayout& nearest) {
  return {.number = number,
          .nearest_given = nearest.given,
          .nearest_layout = nearest.miss.layout,
          .nearest_field = static_cast<uint64_t>(nearest.miss.field),
          .nearest_character = nearest.miss.character};
}

static std::vector<char> Write(const KnownLog& log) {
  Head head{.mark = {},
            .rules = mRules,
            .stamp = log.stamp,
            .settled = log.settled,
            .packed = log.packed,
            .size = log.size,
            .key = log.key,
            .hash = log.hash,
            .bytes = log.bytes,
            .first = FirstOf(log.first.first, log.first.nearest),
            .first_of_reasons = {},
            .line = {},
            .blocks = log.blocks.size()};
  CopyText(head.mark, kMark);
  CopyText(head.line, log.first.line);
  std::transform(log.first.reasons.reasons.begin(), log.first.reasons.reasons.end(),
                 head.first_of_reasons.begin(),
                 [](const ReasonLines& reason) { return FirstOf(reason.first, reason.nearest); });
  std::vector<char> entry(SizeOfEntry(head.blocks));
  memcpy(entry.data(), &head, sizeof head);
  memcpy(entry.data() + sizeof head, log.blocks.data(), head.blocks * sizeof(LogBlock));
  const ContentHash sum = SumOf(entry.data(), entry.size());
  memcpy(entry.data() + entry.size() - sizeof sum, &sum, sizeof sum);
  return entry;
}

// False when that is not what was written.
static bool IsSound(const std::vector<char>& entry, Head& head) {
  if (entry.size() < SizeOfEntry(0)) {
    return false;
  }
  ContentHash sum;
  memcpy(&head, entry.data(), sizeof head);
  memcpy(&sum, entry.data() + entry.size() - sizeof sum, sizeof sum);
  return memcmp(head.mark, kMark, sizeof kMark) == 0 && head.blocks <= kMostKeptBlocks &&
         entry.size() == SizeOfEntry(head.blocks) && sum == SumOf(entry.data(), entry.size());
}

// None, when there is no such layout or field.
static NearLayout NearestOf(const FirstLine& first) {
  if (first.nearest_layout > KnownLayouts().size() || first.nearest_field >= kFieldCount) {
    return {};
  }
  return {.miss = {.layout = static_cast<uint8_t>(first.nearest_layout),
                   .field = static_cast<Field>(first.nearest_field),
                   .character = static_cast<uint32_t>(first.nearest_character)},
          .given = first.nearest_given != 0};
}

static void Read(const std::vector<char>& entry, Head& head, KnownLog& log) {
  head.line[sizeof head.line - 1] = '\0';
  log.stamp = head.stamp;
  log.settled = head.settled != 0;
  log.packed = head.packed != 0;
  log.size = head.size;
  log.key = head.key;
  log.hash = head.hash;
  log.bytes = head.bytes;
  log.first = {
      .lines = 0, .first = head.first.number, .line = {}, .nearest = NearestOf(head.first), .reasons = {}};
  std::transform(head.first_of_reasons.begin(), head.first_of_reasons.end(),
                 log.first.reasons.reasons.begin(), [](const FirstLine& first) {
                   return ReasonLines{.lines = 0, .first = first.number, .nearest = NearestOf(first)};
                 });
  CopyText(log.first.line, CutText(head.line, kShownOfLine));
  MakePrintable(log.first.line);
  log.blocks.resize(head.blocks);
  memcpy(log.blocks.data(), entry.data() + sizeof head, head.blocks * sizeof(LogBlock));
}

static bool ReadAll(int file, char* text, size_t size) {
  size_t got = 0;
  for (ssize_t n = 1; got < size && n > 0; got += n > 0 ? static_cast<size_t>(n) : 0) {
    n = read(file, text + got, size - got);
  }
  return got == size;
}

static bool LoadEntry(const char* path, std::vector<char>& entry) {
  struct stat info;
  const int file = OpenOwnFile(path, info);
  if (file < 0) {
    return false;
  }
  bool loaded = info.st_size <= static_cast<off_t>(SizeOfEntry(kMostKeptBlocks));
  if (loaded) {
    entry.resize(static_cast<size_t>(info.st_size));
    loaded = ReadAll(file, entry.data(), entry.size());
  }
  close(file);
  return loaded;
}

bool Recall(const LogStamp& stamp, KnownLog& log) {
  char path[kPathSize + 40];
  std::vector<char> entry;
  Head head;
  NameEntry(path, stamp);
  if (!IsStoreOpen() || !LoadEntry(path, entry) || !IsSound(entry, head) || head.rules != mRules ||
      head.stamp.device != stamp.device || head.stamp.inode != stamp.inode) {
    return false;
  }
  Read(entry, head, log);
  return true;
}

void Keep(const KnownLog& log) {
  if (!IsStoreOpen() || log.blocks.size() > kMostKeptBlocks) {
    return;
  }
  char path[kPathSize + 40];
  NameEntry(path, log.stamp);
  const std::vector<char> entry = Write(log);
  FileReplacement replacement;
  if (BeginReplacement(replacement, path, "", "", FileFor::kUserAlone)) {
    fwrite(entry.data(), 1, entry.size(), replacement.stream);
    FinishReplacement(replacement);
  }
}
