#include "parts/workers.h"

#include <fcntl.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <vector>

#include "analysis/driver.h"
#include "analysis/rules.h"
#include "analysis/smart_memory.h"
#include "analysis/wildcard.h"
#include "base/memory_end.h"
#include "base/part_bytes.h"
#include "base/processors.h"
#include "parts/counts.h"
#include "sandbox/helper_process.h"
#include "superlog/byte_scan.h"
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

// ---- What can be divided ----

// Whether a record is counted by more than what it and the settings say.
static bool MayBeDivided(const Settings& settings, const Rules& rules) {
  const bool names_decide = rules.dns != DnsMode::kOff && rules.dns != DnsMode::kAfterwards;
  return settings.workers > 1 && settings.debug == 0 && !names_decide &&
         (settings.find_pattern == 0 || !RemembersMatches(settings.find));
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
  LendUnpackers();
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

struct Worker {
  pid_t process = -1;
  int file = -1;  // into which it writes its part
};

struct PartFile {
  int file;
  bool written;
};

static void WriteToFile(void* context, const char* bytes, size_t size) {
  PartFile& to = *static_cast<PartFile*>(context);
  while (to.written && size > 0) {
    const ssize_t n = write(to.file, bytes, size);
    to.written = n > 0 || (n < 0 && errno == EINTR);
    bytes += n > 0 ? n : 0;
    size -= static_cast<size_t>(n > 0 ? n : 0);
  }
}

// Room beyond the part's end, which may be read.
static void WriteOverread(PartWriter& part) {
  static constexpr char kRoom[kScanOverread] = {};
  PutText(part, {kRoom, sizeof kRoom});
}

[[noreturn]] static void Work(const LogShare& share, int file, const Settings& settings, const Rules& rules,
                              Analysis& analysis) {
  TakeShare(share);
  CountRecords(settings, analysis);
  static PartFile to{file, true};
  static PartWriter part;
  part.sink = {&to, WriteToFile};
  SaveShare(part);
  SaveCounts(part, rules, analysis);
  WriteOverread(part);
  FlushPart(part);
  EndWithoutOutput(to.written ? 0 : kGaveUp);
}

static Worker StartWorker(size_t number, const LogShare& share, const Settings& settings, const Rules& rules,
                          Analysis& analysis) {
  const int file = memfd_create("orvellis", MFD_CLOEXEC);
  if (file < 0) {
    return {};
  }
  const pid_t self = getpid();
  const pid_t process = fork();
  if (process == 0) {
    DieWith(self);
    UseUnpacker(number + 1);
    Work(share, file, settings, rules, analysis);
  }
  return {process, file};
}

// ---- Adding ----

static bool AddPartOf(const Worker& worker, const Rules& rules, Analysis& analysis) {
  struct stat file;
  if (worker.process < 0 || WaitFor(worker.process) != 0 || fstat(worker.file, &file) != 0) {
    return false;
  }
  const auto size = static_cast<size_t>(file.st_size);
  void* const bytes = mmap(nullptr, size, PROT_READ, MAP_SHARED | MAP_POPULATE, worker.file, 0);
  if (bytes == MAP_FAILED) {
    return false;
  }
  PartReader part{static_cast<const char*>(bytes), static_cast<const char*>(bytes) + size};
  unsigned missing = 0;
  const bool added = AddShare(part) && AddSavedCounts(part, rules, analysis, missing);
  munmap(bytes, size);
  close(worker.file);
  return added;
}

static bool CountShares(const std::vector<LogShare>& shares, const Settings& settings, const Rules& rules,
                        Analysis& analysis) {
  std::vector<Worker> workers;
  for (size_t i = 1; i < shares.size(); ++i) {
    workers.push_back(StartWorker(i, shares[i], settings, rules, analysis));
  }
  UseUnpacker(1);
  TakeShare(shares[0]);
  CountRecords(settings, analysis);
  const bool added = std::all_of(workers.begin(), workers.end(),
                                 [&](const Worker& worker) { return AddPartOf(worker, rules, analysis); });
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

void CountByWorkers(const Settings& settings, Analysis& analysis) {
  const Rules rules = ResolveRules(settings, analysis.counting);
  std::vector<LogShare> shares;
  if (MayBeDivided(settings, rules)) {
    shares = DivideLogs(static_cast<size_t>(settings.workers), static_cast<uint64_t>(settings.worker_bytes));
  }
  if (shares.size() < 2 || !CountElsewhere(shares, settings, rules, analysis)) {
    CountRecords(settings, analysis);
  }
}
