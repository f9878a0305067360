#include "superlog/log_copies.h"

#include <unistd.h>

#include <algorithm>
#include <tuple>
#include <vector>

#include "base/hash_seed.h"
#include "base/text_file.h"
#include "superlog/content_hash.h"
#include "superlog/log_list.h"
#include "unpack/unpacking.h"

static const ContentKey mKey = RandomSeed(ContentKey{
    {0x243f6a8885a308d3, 0x13198a2e03707344, 0xa4093822299f31d0, 0x082efa98ec4e6c89}});  // digits of pi

static constexpr uint64_t kBeginning = 4096;  // bytes that tell most logs of one size apart

struct Candidate {
  LogFile* log;
  ContentHash hash;
};

static bool ComesBefore(const Candidate& a, const Candidate& b) {
  return std::tie(a.log->size, a.hash.low, a.hash.high, a.log->place) <
         std::tie(b.log->size, b.hash.low, b.hash.high, b.log->place);
}

static bool Alike(const Candidate& a, const Candidate& b) {
  return a.log->size == b.log->size && a.hash == b.hash;
}

// Leaves those that are like another, next to each other and in the order of the list.
static void KeepAlike(std::vector<Candidate>& logs) {
  std::sort(logs.begin(), logs.end(), ComesBefore);
  size_t kept = 0;
  for (size_t i = 0; i < logs.size(); ++i) {
    const bool like_next = i + 1 < logs.size() && Alike(logs[i], logs[i + 1]);
    const bool like_last = kept > 0 && Alike(logs[kept - 1], logs[i]);
    if (like_next || like_last) {
      logs[kept++] = logs[i];
    }
  }
  logs.resize(kept);
}

// Hashes as much of each; those that cannot be read are left out.
static void HashUpTo(std::vector<Candidate>& logs, uint64_t most) {
  size_t kept = 0;
  for (Candidate& candidate : logs) {
    const int file = OpenToRead(candidate.log->name).file;
    if (file >= 0) {
      if (HashFile(mKey, file, std::min(candidate.log->size, most), candidate.hash)) {
        logs[kept++] = candidate;
      }
      close(file);
    }
  }
  logs.resize(kept);
}

void FindCopies() {
  std::vector<Candidate> logs;
  for (LogFile* log = mpLogsRoot; log != nullptr; log = log->next) {
    if (log->plain && log->size > 0) {
      logs.push_back({log, {}});
    }
  }
  KeepAlike(logs);
  HashUpTo(logs, kBeginning);
  KeepAlike(logs);
  HashUpTo(logs, UINT64_MAX);
  KeepAlike(logs);
  for (size_t i = 1; i < logs.size(); ++i) {
    if (Alike(logs[i - 1], logs[i])) {
      LogFile* const before = logs[i - 1].log;
      logs[i].log->original = before->original == nullptr ? before : before->original;
    }
  }
}

// ---- What is in compressed ones ----

static bool IsOriginal(const LogFile& log) {
  return log.plain && log.size > 0 && log.original == nullptr;
}

static void HashBeginning(LogFile& log) {
  const int file = OpenToRead(log.name).file;
  log.has_beginning =
      file >= 0 && HashFile(mKey, file, std::min<uint64_t>(log.size, kBeginning), log.beginning);
  if (file >= 0) {
    close(file);
  }
}

static bool BeginAlike(const LogFile& a, const LogFile& b) {
  return &a != &b && IsOriginal(b) && b.has_beginning && a.beginning == b.beginning;
}

bool MayBeUnpackedCopy(LogFile& log, std::string_view beginning) {
  bool alike = false;
  log.beginning = AddBlock(mKey, {}, beginning.data(), std::min<size_t>(beginning.size(), kBeginning));
  log.has_beginning = !beginning.empty();
  for (LogFile* other = mpLogsRoot; other != nullptr; other = other->next) {
    if (!other->has_beginning && IsOriginal(*other)) {
      HashBeginning(*other);
    }
    alike |= log.has_beginning && BeginAlike(log, *other);
  }
  return alike;
}

static bool HashUnpacked(int file, PackFormat format, ContentHash& hash) {
  static char block[kContentBlock];
  if (!OpenUnpacked(file, format)) {
    return false;
  }
  size_t size = 0;
  do {
    size = ReadUnpacked(block, sizeof block);
    hash = size > 0 ? AddBlock(mKey, hash, block, size) : hash;
  } while (size == sizeof block);
  return CloseUnpacked() == UnpackEnd::kWhole;
}

// Of the lines in it.
static bool HashContents(const LogFile& log, ContentHash& hash) {
  const int file = OpenToRead(log.name).file;
  if (file < 0) {
    return false;
  }
  hash = {};
  const PackFormat format = FormatOfFile(file);
  const bool hashed =
      format == PackFormat::kNone ? HashFile(mKey, file, log.size, hash) : HashUnpacked(file, format, hash);
  close(file);
  return hashed;
}

bool FindUnpackedCopy(LogFile& log) {
  ContentHash own;
  if (!HashContents(log, own)) {
    return false;
  }
  for (const LogFile* other = mpLogsRoot; other != nullptr; other = other->next) {
    ContentHash hash;
    if (BeginAlike(log, *other) && HashContents(*other, hash) && hash == own) {
      log.original = other;
      return true;
    }
  }
  return false;
}
