// Counting tables and smart memory against their plain form. The first bytes set
// up the memory; then every byte does something to one of two tables, with a key
// that follows it.
#include "analysis/paired_tables.h"
#include "support.h"

// A numbered key, or the text up to the next line break.
static std::string TakeKey(std::string_view& input) {
  const uint8_t kind = TakeByte(input);
  if (kind >= 253) {  // around the longest that waits, and around the longest of all
    const size_t length = (kind == 253 ? 243 : kind == 254 ? 255 : 2047) + TakeByte(input) % 3;
    return std::string(length, 'k') + Numbered("/", TakeByte(input) % 4);
  }
  return kind < 200 ? Numbered(kind % 2 == 0 ? "/a/Page" : "/a/pAGE", kind / 2) : UpToNul(TakePart(input));
}

static bool mRefuseNext;

static void* RefuseOnce(size_t size) {
  const bool refused = mRefuseNext;
  mRefuseNext = false;
  return refused ? nullptr : TakeRoom(size);
}

// The next record is refused at first. At the budget a record has one try only,
// after a reclaim that may have freed nothing; then its refusal ends the process.
static void RefuseNext(int budget) {
  count_queued();
  if (budget == 0 || gSM_CurrentBytesAllocated < budget * plain::kItemSize) {
    mRefuseNext = true;
    plain::memory.refuse_at = plain::memory.allocations + 1;
  }
}

static void ReclaimNow() {
  count_queued();
  smart_free(nullptr);
  plain::smart_free(nullptr);
  ShrinkIndexes();  // which nobody sees
}

static void Act(uint8_t action, std::string_view& input, PairedTable& table, int budget) {
  const std::string key = TakeKey(input);
  switch (action % 8) {
    case 0:
    case 1:
      table.Add(key);
      break;
    case 2:
      table.Add(key, TakeKey(input));
      break;
    case 3:
    case 4:
      table.Queue(key, "");
      break;
    case 5:
      table.Queue(key, TakeKey(input));
      break;
    case 6:
      for (int times = TakeByte(input) % 16; times > 0; --times) {
        table.Queue(key, "");
      }
      break;
    default:
      action / 16 % 2 == 0 ? ReclaimNow() : RefuseNext(budget);
      break;
  }
}

static void Run(std::string_view input) {
  const int keep = TakeByte(input) % 32;
  const int reclaim = TakeByte(input) % 16;
  const int size = TakeByte(input);
  const int budget = size - size % 4;  // records
  SetLimits(size % 4 == 3 ? kModernLimits : kClassicLimits);
  InitMemory(MemorySettings(keep, reclaim, BudgetOfRecords(budget)));
  mRefuseNext = false;
  mpTakeRoom = RefuseOnce;
  PairedTable tables[] = {PairedTable(false), PairedTable(true)};
  for (int actions = 0; actions < 400 && !input.empty(); ++actions) {
    const uint8_t action = TakeByte(input);
    Act(action, input, tables[action / 8 % 2], budget);
    if (action >= 250) {
      count_queued();
      tables[0].ExpectSame();
      tables[1].ExpectSame();
    }
  }
  count_queued();
  ExpectSameStatistics();
  for (PairedTable& table : tables) {
    table.ExpectSame();
    table.ExpectSameDisplay(size % 3 == 0 ? SIZE_MAX : static_cast<size_t>(size));
  }
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  testing::GTEST_FLAG(break_on_failure) = true;
  ResetMemory();
  Run(AsText(data, size));
  ResetMemory();
  return 0;
}
