#include "superlog/log_store.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cinttypes>
#include <cstdio>
#include <cstring>
#include <string_view>

#include "base/text.h"
#include "dates/clock.h"
#include "superlog/content_hash.h"
#include "superlog/file_replacement.h"

static constexpr int64_t kSettled = 2;  // seconds: some file systems know no smaller ones
static constexpr ContentKey kSumKey = {
    {0x452821e638d01377, 0xbe5466cf34e90c6c, 0xc0ac29b7c97c50dd, 0x3f84d5b5b5470917}};  // digits of pi

static constexpr size_t kEntrySize = 512;

static char mFolder[kPathSize];
static uint64_t mRules = 0;

bool StampOf(const char* path, LogStamp& stamp) {
  struct stat info;
  if (stat(path, &info) != 0 || !S_ISREG(info.st_mode)) {
    return false;
  }
  stamp = {.device = info.st_dev,
           .inode = info.st_ino,
           .size = static_cast<uint64_t>(info.st_size),
           .changed = info.st_mtim.tv_sec,
           .changed_ns = info.st_mtim.tv_nsec,
           .described = info.st_ctim.tv_sec,
           .described_ns = info.st_ctim.tv_nsec};
  return true;
}

bool IsSettled(const LogStamp& stamp) {
  const int64_t now = CurrentTime();
  return stamp.changed < now - kSettled && stamp.described < now - kSettled;
}

// ---- The folder ----

// A folder that others can write into may hold what they want this user to believe.
static bool IsOwn(const struct stat& info) {
  return info.st_uid == geteuid() && (info.st_mode & (S_IWGRP | S_IWOTH)) == 0;
}

static bool IsOwnFolder(const char* folder) {
  struct stat info;
  return lstat(folder, &info) == 0 && S_ISDIR(info.st_mode) && IsOwn(info);
}

void OpenStore(const char* folder, uint64_t rules) {
  mRules = rules;
  mFolder[0] = '\0';
  if (folder[0] != '\0' && strlen(folder) < sizeof mFolder && IsOwnFolder(folder)) {
    CopyText(mFolder, folder);
  }
}

static void NameEntry(char (&path)[kPathSize + 40], const LogStamp& stamp) {
  snprintf(path, sizeof path, "%s/%016" PRIx64 "%016" PRIx64, mFolder, stamp.device, stamp.inode);
}

// ---- One entry ----

struct Entry {
  char text[kEntrySize];
  size_t length;
};

static constexpr char kForm[] = "Orvellis log 1 %" PRIx64 " %" PRIx64 " %" PRIu64 " %" PRId64 " %" PRId64
                                " %" PRId64 " %" PRId64 " %" PRIx64 " %" PRId64 " %" PRId64 " %" PRId64;

// The last word proves that the others are as they were written.
static void Write(const LogStamp& stamp, uint64_t rules, const LogRecords& records, Entry& entry) {
  int length = snprintf(entry.text, sizeof entry.text, kForm, stamp.device, stamp.inode, stamp.size,
                        stamp.changed, stamp.changed_ns, stamp.described, stamp.described_ns, rules,
                        records.count, int64_t{records.first}, int64_t{records.last});
  const ContentHash sum = AddBlock(kSumKey, {}, entry.text, static_cast<size_t>(length));
  length += snprintf(entry.text + length, sizeof entry.text - static_cast<size_t>(length),
                     " %016" PRIx64 "%016" PRIx64 "\n", sum.high, sum.low);
  entry.length = static_cast<size_t>(length);
}

// False when that cannot be what was written.
static bool Read(const Entry& entry, LogStamp& stamp, uint64_t& rules, LogRecords& records) {
  int64_t first = 0;
  int64_t last = 0;
  if (sscanf(entry.text, kForm, &stamp.device, &stamp.inode, &stamp.size, &stamp.changed, &stamp.changed_ns,
             &stamp.described, &stamp.described_ns, &rules, &records.count, &first, &last) != 11) {
    return false;
  }
  records.first = first;
  records.last = last;
  Entry again;
  Write(stamp, rules, records, again);
  return std::string_view(entry.text, entry.length) == std::string_view(again.text, again.length);
}

static bool LoadEntry(const char* path, Entry& entry) {
  const int file = open(path, O_RDONLY | O_CLOEXEC | O_NOFOLLOW | O_NONBLOCK | O_NOCTTY);
  if (file < 0) {
    return false;
  }
  struct stat info;
  const bool own = fstat(file, &info) == 0 && S_ISREG(info.st_mode) && info.st_nlink == 1 && IsOwn(info);
  const ssize_t length = own ? read(file, entry.text, sizeof entry.text - 1) : -1;
  close(file);
  entry.length = length < 0 ? 0 : static_cast<size_t>(length);
  entry.text[entry.length] = '\0';
  return length > 0;
}

bool Recall(const LogStamp& stamp, LogRecords& records) {
  char path[kPathSize + 40];
  Entry entry;
  LogStamp kept{};
  uint64_t rules = 0;
  LogRecords known;
  NameEntry(path, stamp);
  if (mFolder[0] == '\0' || !LoadEntry(path, entry) || !Read(entry, kept, rules, known) || kept != stamp ||
      rules != mRules) {
    return false;
  }
  records = known;
  return true;
}

void Keep(const LogStamp& stamp, const LogRecords& records) {
  if (mFolder[0] == '\0') {
    return;
  }
  char path[kPathSize + 40];
  Entry entry;
  NameEntry(path, stamp);
  Write(stamp, mRules, records, entry);
  FileReplacement replacement;
  if (BeginReplacement(replacement, path, "", "", true)) {
    fwrite(entry.text, 1, entry.length, replacement.stream);
    FinishReplacement(replacement);
  }
}
