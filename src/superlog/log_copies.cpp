#include "superlog/log_copies.h"

#include <unistd.h>

#include <algorithm>
#include <tuple>
#include <vector>

#include "base/hash_seed.h"
#include "base/text_file.h"
#include "superlog/content_hash.h"
#include "superlog/log_list.h"

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
