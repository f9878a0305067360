#include "parts/kept_run.h"

#include <algorithm>
#include <span>
#include <vector>

#include "analysis/driver.h"
#include "analysis/rules.h"
#include "analysis/smart_memory.h"
#include "base/part_bytes.h"
#include "dates/local_time.h"
#include "parts/counts.h"
#include "parts/kept_counts.h"
#include "superlog/byte_scan.h"
#include "superlog/log_events.h"
#include "superlog/log_store.h"
#include "superlog/superlog.h"

// Counts of blocks that follow each other in the order of reading: kept by their names, or, of what has no
// name, in memory.
struct Portion {
  size_t first;  // the number of the first block that is kept
  size_t count;  // 0: none is, the counts are here
  std::vector<char> counts;
};

struct KeptRun {
  const Settings& settings;
  Analysis& analysis;
  KeptCounts kept;
  std::vector<BlockName> blocks;  // that are kept, in the order of reading
  std::vector<int> months;        // in which their first records lie
  std::vector<Portion> portions;
  size_t held = 0;  // bytes of counts in memory
  bool keeps = true;
  bool written = false;
  bool failed = false;
};
static KeptRun* mpRun = nullptr;

// What takes more memory than that is counted as it comes: all that follows is one portion.
static constexpr size_t kMostHeld = size_t{64} << 20;

static int MonthOf(time_t when) {
  tm local{};
  return TimeToLocal(when, local) ? local.tm_year * 12 + local.tm_mon : 0;
}

// ---- Reading ----

// What reclaims have taken depends on all that was counted before.
static void NoteReclaims(KeptRun& run) {
  run.failed |= gSM_TotalBytesFreed > 0;
}

static void Forget(KeptRun& run) {
  NoteReclaims(run);
  ForgetCounts(run.analysis);
}

static void AddBlock(KeptRun& run, const LogBlock& block) {
  if (run.portions.empty() || run.portions.back().count == 0) {
    run.portions.push_back({run.blocks.size(), 0, {}});
  }
  ++run.portions.back().count;
  run.blocks.push_back(block.name);
  run.months.push_back(MonthOf(block.first));
}

static bool IsKept(const KeptRun& run, const LogBlock& block) {
  return AreKept(run.kept, NamesOfCounts(run.kept, {&block.name, 1}).back());
}

static bool IsCounted(const LogBlock& block) {
  return mpRun->keeps && IsKept(*mpRun, block);
}

static void Pass(const LogBlock& block) {
  AddBlock(*mpRun, block);
}

static void Hold(KeptRun& run) {
  Portion portion{0, 0, {}};
  PartWriter part;
  part.sink = {&portion.counts, [](void* context, const char* bytes, size_t size) {
                 auto& counts = *static_cast<std::vector<char>*>(context);
                 counts.insert(counts.end(), bytes, bytes + size);
               }};
  SaveCounts(part, run.kept.rules, run.analysis);
  FlushPart(part);
  run.held += portion.counts.size();
  portion.counts.resize(portion.counts.size() + kScanOverread);
  run.portions.push_back(std::move(portion));
}

static bool KeepBlock(KeptRun& run, const LogBlock& block) {
  const bool kept = KeepCounts(run.kept, {&block.name, 1}, run.analysis);
  run.written |= kept;
  return kept;
}

// Also of a block that is kept and was read because it tells the layout.
static void TakeRead(const LogBlock& block) {
  KeptRun& run = *mpRun;
  if (!run.keeps) {
    return;
  }
  NoteReclaims(run);
  SettleCounts(run.analysis);
  const bool named = block.name != BlockName{} && !run.failed;
  if (named && (IsKept(run, block) || KeepBlock(run, block))) {
    AddBlock(run, block);
  } else {
    Hold(run);
    run.keeps = !named && run.held < kMostHeld;  // a full disk stays full
  }
  Forget(run);
}

// ---- Adding ----

static std::span<const BlockName> BlocksOf(const KeptRun& run, size_t first, size_t count) {
  return std::span(run.blocks).subspan(first, count);
}

static bool BeginsMonth(const KeptRun& run, size_t block) {
  return block == 0 || run.months[block] != run.months[block - 1];
}

static size_t EndOfMonth(const KeptRun& run, size_t block, size_t end) {
  const int month = run.months[block];
  while (block < end && run.months[block] == month) {
    ++block;
  }
  return block;
}

// How many blocks, from that one on, are kept as one sum.
static size_t LongestSum(const KeptRun& run, size_t block, size_t end) {
  const std::vector<ContentHash> names = NamesOfCounts(run.kept, BlocksOf(run, block, end - block));
  size_t count = names.size();
  while (count > 1 && !AreKept(run.kept, names[count - 1])) {
    --count;
  }
  return count;
}

struct Sum {
  size_t first;
  size_t count;
};

// Sums that stand for the blocks of a portion: the longest from its beginning on, and then such of a month or
// of its beginning.
static std::vector<Sum> SumsOf(const KeptRun& run, const Portion& portion) {
  std::vector<Sum> sums;
  const size_t end = portion.first + portion.count;
  for (size_t block = portion.first; block < end; block += sums.back().count) {
    const bool begins = block == portion.first;
    const size_t most = begins ? end : BeginsMonth(run, block) ? EndOfMonth(run, block, end) : block + 1;
    sums.push_back({block, LongestSum(run, block, most)});
  }
  return sums;
}

static bool AddSums(KeptRun& run, std::span<const Sum> sums, PartBytes& room) {
  return std::all_of(sums.begin(), sums.end(), [&](const Sum& sum) {
    return AddKept(run.kept, BlocksOf(run, sum.first, sum.count), room, run.analysis);
  });
}

static bool Keep(KeptRun& run, const Sum& sum) {
  NoteReclaims(run);
  const bool kept = !run.failed && KeepCounts(run.kept, BlocksOf(run, sum.first, sum.count), run.analysis);
  run.written |= kept;
  return kept;
}

// Makes one sum of those of a month that has ended, for ranges to come.
static bool SumUpMonths(KeptRun& run, const Portion& portion, std::vector<Sum>& sums, PartBytes& room) {
  const size_t end = portion.first + portion.count;
  for (size_t i = 0; i < sums.size(); ++i) {
    if (!BeginsMonth(run, sums[i].first)) {
      continue;
    }
    const size_t behind = EndOfMonth(run, sums[i].first, end);
    size_t next = i;
    while (next < sums.size() && sums[next].first + sums[next].count <= behind) {
      ++next;
    }
    if (behind == end || next < i + 2) {
      continue;
    }
    const Sum month{sums[i].first, behind - sums[i].first};
    if (!AddSums(run, std::span(sums).subspan(i, next - i), room)) {
      return false;
    }
    if (Keep(run, month)) {
      sums[i] = month;
      sums.erase(sums.begin() + static_cast<ptrdiff_t>(i) + 1, sums.begin() + static_cast<ptrdiff_t>(next));
    }
    Forget(run);
  }
  return true;
}

static bool AddHeld(KeptRun& run, const Portion& portion) {
  PartReader part{portion.counts.data(), portion.counts.data() + portion.counts.size() - kScanOverread};
  unsigned missing = 0;
  return AddSavedCounts(part, run.kept.rules, run.analysis, missing);
}

static bool AddPortion(KeptRun& run, const Portion& portion, PartBytes& room, const std::vector<Sum>& sums) {
  return portion.count == 0 ? AddHeld(run, portion) : AddSums(run, sums, room);
}

static bool AddPortions(KeptRun& run, PartBytes& room) {
  std::vector<std::vector<Sum>> sums;
  for (const Portion& portion : run.portions) {
    sums.push_back(SumsOf(run, portion));
    if (!SumUpMonths(run, portion, sums.back(), room)) {
      return false;
    }
  }
  for (size_t i = 0; i < run.portions.size(); ++i) {
    if (!AddPortion(run, run.portions[i], room, sums[i])) {
      return false;
    }
    if (i == 0 && sums[0].size() > 1) {
      Keep(run, {run.portions[0].first, run.portions[0].count});
    }
  }
  NoteReclaims(run);
  return !run.failed;
}

// Puts together what was read and what was kept. False when some of it could not be added.
static bool AddAll(KeptRun& run) {
  if (run.portions.empty()) {
    return !run.failed;  // all is counted where it belongs
  }
  if (!run.keeps) {
    Hold(run);
  }
  Forget(run);
  PartBytes room;
  const bool added = AddPortions(run, room);
  ReleasePart(room);
  return added;
}

// ---- The whole ----

static void ListenTo(LogEvents& events, bool listens) {
  events.block_counted = listens ? IsCounted : nullptr;
  events.block_passed = listens ? Pass : nullptr;
  events.block_read = listens ? TakeRead : nullptr;
}

// As if nothing was kept. Who listens was told.
static void CountAgain(KeptRun& run) {
  const LogEvents told = mLogEvents;
  mLogEvents = {};
  mLogEvents.texts_go = told.texts_go;
  ForgetCounts(run.analysis);
  SuperLog_BeginAgain(run.analysis.range_first, run.analysis.range_last);
  CountRecords(run.settings, run.analysis);
  mLogEvents = told;
}

bool CountWithKept(const Settings& settings, Analysis& analysis, CountBefore* before) {
  if (settings.part_cache[0] == '\0') {
    return false;
  }
  const Rules rules = ResolveRules(settings, analysis.counting);
  KeptRun run{settings, analysis, {"", rules, {}, {}}, {}, {}, {}};
  if (!AreRecordsCountedAlone(rules) || rules.compares || !IsStoreOpen() ||
      !OpenKeptCounts(settings.part_cache, rules, analysis, run.kept)) {
    return false;
  }
  const LineListener listener = TakeLineListener();
  mpRun = &run;
  ListenTo(mLogEvents, true);
  run.written = before != nullptr && before(settings, analysis);
  CountRecords(settings, analysis);
  ListenTo(mLogEvents, false);
  mpRun = nullptr;
  if (!AddAll(run)) {
    CountAgain(run);
  }
  if (run.written) {
    BoundKeptCounts(settings.part_cache, settings.part_cache_size);
  }
  CollectLogFigures(settings, analysis);
  TellLines(listener, analysis.logs.records);
  return true;
}
