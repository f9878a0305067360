// The main of every test program. CTest starts a process for each case; with
// --each-apart one process runs all cases and forks for each, which is as good and
// much quicker under a tool that is slow to start. --each-apart=K/N runs the K-th
// of every N cases, so that N processes share the work.
#include <gmock/gmock.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>
#include <string>
#include <string_view>
#include <vector>

using testing::UnitTest;

static std::vector<std::string> CaseNames() {
  std::vector<std::string> names;
  const UnitTest& all = *UnitTest::GetInstance();
  for (int s = 0; s < all.total_test_suite_count(); ++s) {
    const testing::TestSuite& suite = *all.GetTestSuite(s);
    for (int t = 0; t < suite.total_test_count(); ++t) {
      names.push_back(std::string(suite.name()) + "." + suite.GetTestInfo(t)->name());
    }
  }
  return names;
}

static int RunCase(const std::string& name) {
  testing::GTEST_FLAG(filter) = name;
  return RUN_ALL_TESTS();
}

static bool EndedWell(pid_t child) {
  int status = 0;
  return waitpid(child, &status, 0) == child && WIFEXITED(status) && WEXITSTATUS(status) == 0;
}

static int RunEachApart(size_t part, size_t parts) {
  const std::vector<std::string> names = CaseNames();
  size_t run = 0;
  size_t failed = 0;
  for (size_t i = part - 1; i < names.size(); i += parts, ++run) {
    const pid_t child = fork();
    if (child == 0) {
      return RunCase(names[i]);
    }
    if (!EndedWell(child)) {
      printf("FAILED: %s\n", names[i].c_str());
      fflush(stdout);
      ++failed;
    }
  }
  printf("%zu cases, %zu failed\n", run, failed);
  return failed == 0 ? 0 : 1;
}

int main(int argc, char** argv) {
  const std::string_view option = argc == 2 ? argv[1] : "";
  const bool each_apart = option.starts_with("--each-apart");
  testing::GTEST_FLAG(brief) = each_apart;
  testing::InitGoogleMock(&argc, argv);
  if (!each_apart) {
    return RUN_ALL_TESTS();
  }
  size_t part = 1;
  size_t parts = 1;
  sscanf(option.data(), "--each-apart=%zu/%zu", &part, &parts);
  return part >= 1 && parts >= 1 ? RunEachApart(part, parts) : 2;
}
