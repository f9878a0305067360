#include "parts/workers.h"

#include <fcntl.h>
#include <sys/mman.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <vector>

#include "analysis/driver.h"
#include "analysis/rules.h"
#include "analysis/smart_memory.h"
#include "base/memory_end.h"
#include "base/processors.h"
#include "parts/counts.h"
#include "parts/kept_run.h"
#include "parts/part_pipe.h"
#include "sandbox/helper_process.h"
#include "superlog/divided_logs.h"
#include "superlog/log_parts.h"
#include "superlog/log_shares.h"
#include "superlog/superlog.h"
#include "unpack/unpacking.h"

// ---- How many ----

void SettleWorkers(Settings& settings) {
  if (settings.workers == 0) {
    settings.workers = std::min(UsableProcessors(), kMostWorkers);
  }
}

// ---- Standing by ----

static constexpr int kGaveUp = 1;

// What a budget or the system takes depends on all that one process would have counted before.
[[noreturn]] static void GiveUp() {
  EndWithoutOutput(kGaveUp);
}

struct StandBy {
  bool* counted;  // by the others: from now on they are the run
  pid_t process;  // 0 in the other one; below 0: there is none
};

static StandBy LeaveToAnother() {
  void* const memory = mmap(nullptr, 1, PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0);
  if (memory == MAP_FAILED) {
    return {nullptr, -1};
  }
  const pid_t self = getpid();
  const StandBy stand_by{static_cast<bool*>(memory), fork()};
  if (stand_by.process == 0) {
    DieWith(self);
  }
  return stand_by;
}

static int WaitFor(pid_t process) {
  int status = 0;
  while (waitpid(process, &status, 0) < 0) {
    if (errno != EINTR) {
      return -1;
    }
  }
  return status;
}

// What writing to a pipe that nobody reads has done to the other one. There is no other way to be ended by a
// signal for who has given up sending any.
static void EndByClosedPipe() {
  int ends[2];
  if (pipe2(ends, O_CLOEXEC) == 0) {
    close(ends[0]);
    (void)!write(ends[1], "", 1);
  }
}

// Returns when the others have given up before they were the run.
static void EndAsTheOther(const StandBy& stand_by) {
  const int status = WaitFor(stand_by.process);
  if (*stand_by.counted) {
    if (WIFSIGNALED(status) && WTERMSIG(status) == SIGPIPE) {
      EndByClosedPipe();
    }
    constexpr int kBySignal = 128;  // as shells say it
    EndWithoutOutput(WIFEXITED(status) ? WEXITSTATUS(status) : kBySignal + WTERMSIG(status));
  }
  munmap(stand_by.counted, 1);
}

// ---- Workers ----
//
// Each process hands its part to the one whose number is its own without the lowest bit, which adds it to its
// own before it hands on both: of many workers the first process adds but a few, and no two wait for a third.

struct Worker {
  pid_t process = -1;
  PartPipe pipe;
};

static size_t TakerOf(size_t number) {
  return number & (number - 1);
}

struct Crew {
  const std::vector<LogShare>& shares;  // one for each process, the first one included
  std::vector<Worker> workers;          // by number; nobody is the first
  const Settings& settings;
  const Rules& rules;
  Analysis& analysis;
};

static void CountOne(const LogShare& share, size_t number, const Settings& settings, Analysis& analysis) {
  UseUnpacker(number + 1);
  TakeShare(share);
  CountRecords(settings, analysis);
}

static bool AddPartOf(Worker& worker, const Crew& crew) {
  PartInlet inlet{worker.pipe.from};
  PartReader part = ReaderOf(inlet);
  unsigned missing = 0;
  const bool added = AddShare(part) && AddSavedCounts(part, crew.rules, crew.analysis, missing);
  CloseEnd(worker.pipe.from);
  return added;
}

// Counts the share of that number and adds what others hand over.
static bool CountShare(Crew& crew, size_t number) {
  CountOne(crew.shares[number], number, crew.settings, crew.analysis);
  bool added = true;
  for (size_t i = number + 1; i < crew.workers.size() && added; ++i) {
    added = TakerOf(i) != number || AddPartOf(crew.workers[i], crew);
  }
  return added;
}

static bool HandOver(const Crew& crew, size_t number) {
  PartOutlet outlet{crew.workers[number].pipe.to};
  PartWriter part;
  part.sink = SinkOf(outlet);
  SaveShare(part);
  SaveCounts(part, crew.rules, crew.analysis);
  FlushPart(part);
  return outlet.written;
}

// Of the pipes' ends a process keeps its own. Whoever takes from one sees its end when the other one ends.
static void KeepOwnEnds(Crew& crew, size_t number) {
  for (size_t i = 1; i < crew.workers.size(); ++i) {
    PartPipe& pipe = crew.workers[i].pipe;
    if (i != number) {
      CloseEnd(pipe.to);
    }
    if (TakerOf(i) != number) {
      CloseEnd(pipe.from);
    }
  }
}

[[noreturn]] static void Work(Crew& crew, size_t number) {
  KeepOwnEnds(crew, number);
  if (!CountShare(crew, number) || !HandOver(crew, number)) {
    GiveUp();
  }
  CloseEnd(crew.workers[number].pipe.to);  // the other one need not wait for what the end of a process takes
  EndWithoutOutput(0);
}

static bool StartWorkers(Crew& crew) {
  const pid_t self = getpid();
  for (size_t i = 1; i < crew.workers.size(); ++i) {
    if (!OpenPartPipe(crew.workers[i].pipe)) {
      return false;
    }
  }
  for (size_t i = 1; i < crew.workers.size(); ++i) {
    const pid_t process = fork();
    if (process == 0) {
      DieWith(self);
      Work(crew, i);
    }
    crew.workers[i].process = process;
  }
  KeepOwnEnds(crew, 0);
  return std::all_of(crew.workers.begin() + 1, crew.workers.end(),
                     [](const Worker& worker) { return worker.process > 0; });
}

static bool HaveAllEnded(const Crew& crew) {
  return std::all_of(crew.workers.begin() + 1, crew.workers.end(),
                     [](const Worker& worker) { return WaitFor(worker.process) == 0; });
}

static bool CountShares(const std::vector<LogShare>& shares, const Settings& settings, const Rules& rules,
                        Analysis& analysis) {
  Crew crew{shares, std::vector<Worker>(shares.size()), settings, rules, analysis};
  const bool added = StartWorkers(crew) && CountShare(crew, 0) && HaveAllEnded(crew);
  CollectLogFigures(settings, analysis);
  if (added) {
    TellLogsAgain({.log_looked_at = mLogEvents.log_looked_at});
    KeepDividedLogs();
  }
  return added;
}

// True: all is counted, and this process is the run.
static bool CountElsewhere(const std::vector<LogShare>& shares, const Settings& settings, const Rules& rules,
                           Analysis& analysis) {
  const StandBy stand_by = LeaveToAnother();
  if (stand_by.process > 0) {
    EndAsTheOther(stand_by);
  }
  if (stand_by.process != 0) {
    return false;
  }
  EndInsteadOfReclaims(GiveUp);
  const LineListener listener = TakeLineListener();
  if (!CountShares(shares, settings, rules, analysis)) {
    GiveUp();
  }
  EndInsteadOfReclaims(nullptr);
  *stand_by.counted = true;
  TellLines(listener, analysis.logs.records);
  return true;
}

// One of each process; fewer than two where there is nothing to share. Processes that are started now can
// unpack, too.
static std::vector<LogShare> SharesOf(const Settings& settings) {
  if (settings.workers < 2) {
    return {};
  }
  LendUnpackers();
  return DivideLogs(static_cast<size_t>(settings.workers), static_cast<uint64_t>(settings.worker_bytes));
}

// ---- With counts that are kept ----

[[noreturn]] static void CountAndKeep(const LogShare& share, size_t number, const Settings& settings,
                                      Analysis& analysis) {
  EndInsteadOfReclaims(GiveUp);
  CountOne(share, number, settings, analysis);
  EndWithoutOutput(0);
}

// What a process fails to keep the run counts by itself.
static bool KeepByWorkers(const Settings& settings, Analysis& analysis) {
  const std::vector<LogShare> shares = SharesOf(settings);
  if (shares.size() < 2) {
    return false;
  }
  const pid_t self = getpid();
  std::vector<pid_t> processes;
  for (size_t i = 0; i < shares.size(); ++i) {
    processes.push_back(fork());
    if (processes.back() == 0) {
      DieWith(self);
      CountAndKeep(shares[i], i, settings, analysis);
    }
  }
  for (const pid_t process : processes) {
    if (process > 0) {
      WaitFor(process);
    }
  }
  return true;
}

// ---- The whole ----

void CountByWorkers(const Settings& settings, Analysis& analysis) {
  if (CountWithKept(settings, analysis, KeepByWorkers)) {
    return;
  }
  const Rules rules = ResolveRules(settings, analysis.counting);
  std::vector<LogShare> shares;
  if (AreRecordsCountedAlone(rules)) {
    shares = SharesOf(settings);
  }
  if (shares.size() < 2 || !CountElsewhere(shares, settings, rules, analysis)) {
    CountRecords(settings, analysis);
  }
}
