#include "superlog/divided_logs.h"

#include <algorithm>
#include <utility>

#include "base/hash_seed.h"
#include "base/text.h"
#include "superlog/log_list.h"
#include "superlog/own_bytes.h"

static constexpr ContentKey kOtherwise = {
    {0x2ffd72dbd01adfb7, 0xb8e1afed6a267e96, 0xba7c9045f12c7f99, 0x24a19947b3916cf7}};  // digits of pi

static ContentKey mKey = kOtherwise;
static std::vector<ReadStretch> mStretches;

void BeginDividing() {
  mKey = RandomSeed(kOtherwise);
  mStretches.clear();
}

const ContentKey& KeyOfDividedLogs() {
  return mKey;
}

void NoteStretch(ReadStretch stretch) {
  mStretches.push_back(std::move(stretch));
}

// ---- From process to process ----

static void SaveStretch(PartWriter& part, const ReadStretch& stretch) {
  PutText(part, stretch.path);
  PutBytes(part, stretch.known.stamp);
  PutFigure(part, stretch.known.settled ? 1 : 0);
  PutFigure(part, stretch.known.size);
  PutLines(part, stretch.known.first);
  PutAll(part, stretch.known.blocks);
  PutAll(part, stretch.windows);
}

static ReadStretch TakeStretch(PartReader& part) {
  ReadStretch stretch{};
  stretch.path = TakeText(part, kPathSize);
  TakeBytes(part, stretch.known.stamp);
  stretch.known.settled = TakeFigureUpTo(part, 1) != 0;
  stretch.known.size = TakeFigure(part);
  TakeLines(part, stretch.known.first);
  TakeAll(part, stretch.known.blocks);
  TakeAll(part, stretch.windows);
  return stretch;
}

void SaveStretches(PartWriter& part) {
  PutFigure(part, mStretches.size());
  for (const ReadStretch& stretch : mStretches) {
    SaveStretch(part, stretch);
  }
}

bool AddStretches(PartReader& part) {
  for (uint64_t left = TakeFigure(part); left > 0 && !part.damaged; --left) {
    mStretches.push_back(TakeStretch(part));
  }
  return !part.damaged;
}

// ---- The whole log ----

// Puts the stretch behind those before it; false when it does not follow on them.
static bool Append(KnownLog& log, uint64_t& windows, const ReadStretch& stretch) {
  const KnownLog& known = stretch.known;
  const uint64_t begins = known.blocks.empty() ? 0 : known.blocks[0].begins;
  if (log.stamp != known.stamp || log.size != begins || known.blocks.empty()) {
    return false;
  }
  log.settled = log.settled && known.settled;
  log.size = log.bytes = known.size;
  AppendLines(log.first, known.first);
  log.blocks.insert(log.blocks.end(), known.blocks.begin(), known.blocks.end());
  for (const ContentHash& window : stretch.windows) {
    log.hash = AddHash(log.key, log.hash, window);
  }
  windows += stretch.windows.size();
  return true;
}

static bool IsAsRead(const KnownLog& log, const std::string& path) {
  LogStamp now;
  return log.size == log.stamp.size && StampOf(path.c_str(), now) && now == log.stamp;
}

using Stretches = std::vector<ReadStretch>::const_iterator;

static void KeepLog(Stretches from, Stretches to) {
  KnownLog log{};
  log.stamp = from->known.stamp;
  log.settled = true;
  log.key = mKey;
  uint64_t windows = 0;
  for (; from != to; ++from) {
    if (!Append(log, windows, *from)) {
      return;
    }
  }
  log.settled = log.settled && IsAsRead(log, (to - 1)->path);
  if (windows == (log.size + kContentBlock - 1) / kContentBlock && log.blocks.size() <= kMostKeptBlocks) {
    Keep(log);
  }
}

void KeepDividedLogs() {
  for (auto from = mStretches.cbegin(); from != mStretches.cend();) {
    const auto of_other = [&](const ReadStretch& stretch) { return stretch.path != from->path; };
    const auto to = std::find_if(from, mStretches.cend(), of_other);
    KeepLog(from, to);
    from = to;
  }
  mStretches.clear();
}
