// What it costs a run to shut itself in: each time in a process of its own, since there is no way back.
//
//   shut_in_bench [LOGS [PROCESSES]]
//
// Prints the median of the processor microseconds, with finding the logs, which a run does anyway, and
// without.
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include "run/shut_in.h"
#include "superlog/superlog.h"

// Of the processor, so that a busy machine changes little.
static double Now() {
  timespec now{};
  clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &now);
  return static_cast<double>(now.tv_sec) * 1e6 + static_cast<double>(now.tv_nsec) / 1e3;
}

static double MicrosecondsOf(void (*task)(const Settings& settings), const Settings& settings) {
  const double start = Now();
  task(settings);
  return Now() - start;
}

static double InAProcess(void (*task)(const Settings& settings), const Settings& settings) {
  int ends[2];
  double time = 0;
  if (pipe(ends) != 0) {
    exit(1);
  }
  if (fork() == 0) {
    time = MicrosecondsOf(task, settings);
    _exit(write(ends[1], &time, sizeof time) == sizeof time ? 0 : 1);
  }
  close(ends[1]);
  if (read(ends[0], &time, sizeof time) != sizeof time) {
    exit(1);
  }
  close(ends[0]);
  wait(nullptr);
  return time;
}

static double MedianOf(void (*task)(const Settings& settings), const Settings& settings, int processes) {
  std::vector<double> times;
  for (int i = 0; i < processes; ++i) {
    times.push_back(InAProcess(task, settings));
  }
  std::nth_element(times.begin(), times.begin() + processes / 2, times.end());
  return times[static_cast<size_t>(processes / 2)];
}

static void OnlyFind(const Settings& settings) {
  SuperLog_FindAhead(
      settings,
      {.context = nullptr, .log = [](void*, const char*, bool) {}, .summary = [](void*, const char*) {}});
}

int main(int argc, char** argv) {
  const int logs = argc > 1 ? atoi(argv[1]) : 10;
  const int processes = argc > 2 ? atoi(argv[2]) : 200;
  const std::filesystem::path folder =
      std::filesystem::temp_directory_path() / ("shut_in_bench." + std::to_string(getpid()));
  std::filesystem::create_directories(folder);
  for (int i = 0; i < logs; ++i) {
    std::ofstream(folder / ("access.log." + std::to_string(i))) << "one line\n";
  }
  static Settings settings;
  CopyText(settings.logs, (folder / "access.log*").string());
  CopyText(settings.ErrorLog, (folder / "errors").string());
  CopyText(settings.Networks, (folder / "networks").string());
  const double find = MedianOf(OnlyFind, settings, processes);
  const double whole = MedianOf(ShutIn, settings, processes);
  printf("%d logs: %.0f us, of these finding them %.0f us; %.2f us a log\n", logs, whole, find,
         logs > 0 ? (whole - find) / logs : 0.0);
  std::filesystem::remove_all(folder);
}
