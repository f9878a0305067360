#include "base/processors.h"

#include <sched.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <string_view>

static constexpr int kNoBound = CPU_SETSIZE;

static int ProcessorsOfAffinity() {
  cpu_set_t processors;
  return sched_getaffinity(0, sizeof processors, &processors) == 0 ? CPU_COUNT(&processors) : 1;
}

// The path that the line "0::/path" names, without a slash at its end; empty without such a line.
static std::string OwnGroup(const char* own) {
  static constexpr std::string_view kVersion2 = "0::";
  char line[4096];
  std::string group;
  FILE* const file = fopen(own, "re");
  while (file != nullptr && fgets(line, sizeof line, file) != nullptr) {
    const std::string_view text = line;
    if (text.starts_with(kVersion2)) {
      group = text.substr(kVersion2.size(), text.find('\n') - kVersion2.size());
    }
  }
  if (file != nullptr) {
    fclose(file);
  }
  return group.substr(0, group.find_last_not_of('/') + 1);
}

// "200000 100000" are so many microseconds of processors in so many, "max" is no quota.
static int ProcessorsOfQuota(const std::string& path) {
  char line[64] = "";
  FILE* const file = fopen(path.c_str(), "re");
  if (file == nullptr) {
    return kNoBound;
  }
  const bool read = fgets(line, sizeof line, file) != nullptr;
  fclose(file);
  char* period = line;
  const double quota = strtod(line, &period);
  const double processors = read ? quota / strtod(period, nullptr) : 0;
  return processors > 0 && processors < kNoBound ? static_cast<int>(std::ceil(processors)) : kNoBound;
}

int UsableProcessors(const char* groups, const char* own) {
  std::string group = OwnGroup(own);
  int usable = std::min(ProcessorsOfAffinity(), ProcessorsOfQuota(groups + std::string("/cpu.max")));
  while (!group.empty()) {
    usable = std::min(usable, ProcessorsOfQuota(groups + group + "/cpu.max"));
    const size_t slash = group.rfind('/');
    group.resize(slash == std::string::npos ? 0 : slash);
  }
  return std::max(usable, 1);
}
