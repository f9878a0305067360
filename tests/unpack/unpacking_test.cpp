#include "unpack/unpacking.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <filesystem>

#include "unpack/chunks.h"
#include "unpack/packed.h"

namespace {

std::string ReadAll() {
  std::string text;
  char piece[4096];
  for (size_t got; (got = ReadUnpacked(piece, sizeof piece)) > 0;) {
    text.append(piece, got);
  }
  return text;
}

// The children of a process that run.
std::vector<pid_t> ChildrenOf(pid_t process) {
  const std::string id = std::to_string(process);
  std::istringstream list(ReadFile("/proc/" + id + "/task/" + id + "/children"));
  std::vector<pid_t> children;
  for (pid_t child; list >> child;) {
    children.push_back(child);
  }
  return children;
}

// What a line of a process's status says.
std::string StatusOf(pid_t process, const std::string& key) {
  std::istringstream lines(ReadFile("/proc/" + std::to_string(process) + "/status"));
  for (std::string line; std::getline(lines, line);) {
    if (line.starts_with(key + ":\t")) {
      return line.substr(key.size() + 2);
    }
  }
  return "";
}

template <typename Condition>
bool Comes(Condition holds) {
  for (int i = 0; i < 10000; ++i) {
    if (holds()) {
      return true;
    }
    usleep(1000);
  }
  return false;
}

bool Runs(pid_t process) {
  const std::string state = StatusOf(process, "State");
  return !state.empty() && state[0] != 'Z';
}

size_t OpenFiles() {
  size_t count = 0;
  for ([[maybe_unused]] const auto& entry : std::filesystem::directory_iterator("/proc/self/fd")) {
    ++count;
  }
  return count;
}

class UnpackingTest : public testing::Test {
 protected:
  void SetUp() override {
    if (LibraryFor(PackFormat::kGzip) == nullptr) {
      GTEST_SKIP() << "built without gzip";
    }
  }
  void TearDown() override { StopUnpacking(); }

  static bool Open(const std::string& packed, PackFormat format = PackFormat::kGzip) {
    const int file = open(WriteFile("packed", packed).c_str(), O_RDONLY | O_CLOEXEC);
    const bool opened = OpenUnpacked(file, format);
    close(file);
    return opened;
  }
  static void Expect(const std::string& packed, const std::string& text, UnpackEnd end = UnpackEnd::kWhole) {
    ASSERT_TRUE(Open(packed));
    EXPECT_EQ(ReadAll(), text);
    EXPECT_EQ(CloseUnpacked(), end);
  }
};

// More than all chunks hold.
std::string LargeText() {
  std::string text = RecordLines(60000);
  EXPECT_GT(text.size(), kChunks * kChunkSize);
  return text;
}

// The child that unpacks a file that is not read.
pid_t ChildAtWork() {
  const std::vector<pid_t> helpers = ChildrenOf(getpid());
  EXPECT_EQ(helpers.size(), 1U);
  EXPECT_TRUE(Comes([&] { return ChildrenOf(helpers.at(0)).size() == 1; }));
  return ChildrenOf(helpers.at(0)).at(0);
}

TEST_F(UnpackingTest, OneFileAfterTheOther) {
  const std::string text = LargeText();
  Expect(Pack(PackFormat::kGzip, text), text);
  Expect(Pack(PackFormat::kGzip, "small\n"), "small\n");
  Expect(Pack(PackFormat::kGzip, text).substr(0, 20), "", UnpackEnd::kDamaged);
  Expect(Pack(PackFormat::kGzip, "again\n"), "again\n");
}

TEST_F(UnpackingTest, LeavesNothingBehind) {
  const size_t before = OpenFiles();
  Expect(Pack(PackFormat::kGzip, "text\n"), "text\n");
  EXPECT_EQ(ChildrenOf(getpid()).size(), 1U);
  StopUnpacking();
  EXPECT_EQ(OpenFiles(), before);
  EXPECT_EQ(waitpid(-1, nullptr, 0), -1);
  EXPECT_EQ(errno, ECHILD);
  Expect(Pack(PackFormat::kGzip, "text\n"), "text\n");  // and starts again
}

TEST_F(UnpackingTest, WhatIsNotReadToItsEndIsUnwanted) {
  Open(Pack(PackFormat::kGzip, LargeText()));
  char first = 0;
  EXPECT_EQ(ReadUnpacked(&first, 1), 1U);
  EXPECT_EQ(CloseUnpacked(), UnpackEnd::kUnwanted);
  Expect(Pack(PackFormat::kGzip, "next\n"), "next\n");
}

TEST_F(UnpackingTest, AChildThatIsKilledLeavesABrokenFileAndServesTheNext) {
  const std::string text = LargeText();
  Open(Pack(PackFormat::kGzip, text));
  kill(ChildAtWork(), SIGKILL);
  EXPECT_TRUE(text.starts_with(ReadAll()));
  EXPECT_EQ(CloseUnpacked(), UnpackEnd::kBroken);
  Expect(Pack(PackFormat::kGzip, "next\n"), "next\n");
}

TEST_F(UnpackingTest, AChildThatIsKilledInMidFileLeavesItsBeginning) {
  const std::string text = LargeText();
  Open(Pack(PackFormat::kGzip, text));
  const pid_t child = ChildAtWork();
  std::string beginning(kChunkSize + 1, '\0');
  EXPECT_EQ(ReadUnpacked(beginning.data(), beginning.size()), beginning.size());
  kill(child, SIGKILL);
  beginning += ReadAll();
  EXPECT_TRUE(text.starts_with(beginning));
  EXPECT_LT(beginning.size(), text.size());
  EXPECT_EQ(CloseUnpacked(), UnpackEnd::kBroken);
  Expect(Pack(PackFormat::kGzip, "next\n"), "next\n");
}

// The pipe that a process writes into, as whoever has that process in hand could.
int PipeOf(pid_t process) {
  const std::string folder = "/proc/" + std::to_string(process) + "/fd";
  for (const auto& entry : std::filesystem::directory_iterator(folder)) {
    if (std::filesystem::read_symlink(entry).string().starts_with("pipe:")) {
      return open(entry.path().c_str(), O_WRONLY | O_NONBLOCK | O_CLOEXEC);
    }
  }
  return -1;
}

TEST_F(UnpackingTest, AChildThatTellsOfMoreThanAChunkHoldsLeavesABrokenFile) {
  const std::string text = LargeText();
  Open(Pack(PackFormat::kGzip, text));
  const int pipe = PipeOf(ChildAtWork());
  ASSERT_GE(pipe, 0);
  std::string read;
  std::string note(kNoteSize, '\xFF');
  while (write(pipe, note.data(), note.size()) < 0) {
    char piece[4096];
    read.append(piece, ReadUnpacked(piece, sizeof piece));
  }
  close(pipe);
  read += ReadAll();
  EXPECT_TRUE(text.starts_with(read));
  EXPECT_EQ(CloseUnpacked(), UnpackEnd::kBroken);
  Expect(Pack(PackFormat::kGzip, "next\n"), "next\n");
}

TEST_F(UnpackingTest, AHelperThatIsKilledTakesItsChildAlongAndIsMissed) {
  const std::string text = LargeText();
  Open(Pack(PackFormat::kGzip, text));
  const pid_t child = ChildAtWork();
  kill(ChildrenOf(getpid()).at(0), SIGKILL);
  EXPECT_TRUE(text.starts_with(ReadAll()));
  EXPECT_EQ(CloseUnpacked(), UnpackEnd::kBroken);
  EXPECT_TRUE(Comes([child] { return !Runs(child); }));
  EXPECT_FALSE(Open(Pack(PackFormat::kGzip, "next\n")));
}

TEST_F(UnpackingTest, HelperAndChildDieWithTheProcess) {
  int ends[2];
  ASSERT_EQ(pipe(ends), 0);
  const std::string packed = Pack(PackFormat::kGzip, LargeText());  // here, for the child removes no files
  const pid_t process = fork();
  if (process == 0) {
    Open(packed);
    const pid_t others[] = {ChildrenOf(getpid()).at(0), ChildAtWork()};
    _exit(write(ends[1], others, sizeof others) == sizeof others ? 0 : 1);
  }
  pid_t others[2];
  ASSERT_EQ(read(ends[0], others, sizeof others), ssize_t{sizeof others});
  EXPECT_TRUE(Comes([&] { return !Runs(others[0]) && !Runs(others[1]); }));
  waitpid(process, nullptr, 0);
}

TEST_F(UnpackingTest, GivesUpAllButReadingAndWriting) {
  if (ORVELLIS_SANDBOX == 0 || StatusOf(getpid(), "Seccomp").empty()) {
    GTEST_SKIP() << "nothing to give up";
  }
  Open(Pack(PackFormat::kGzip, LargeText()));
  const pid_t child = ChildAtWork();
  EXPECT_TRUE(Comes([child] { return StatusOf(child, "Seccomp") == "2"; }));
  // The helper's filter, and its own.
  EXPECT_TRUE(Comes([child] { return StatusOf(child, "Seccomp_filters") == "2"; }));
  EXPECT_EQ(StatusOf(child, "NoNewPrivs"), "1");
  size_t files = 0;
  for ([[maybe_unused]] const auto& entry :
       std::filesystem::directory_iterator("/proc/" + std::to_string(child) + "/fd")) {
    ++files;
  }
  EXPECT_EQ(files, 2U);
  CloseUnpacked();
}

TEST_F(UnpackingTest, AnsweredAlsoWhereChildrenAreIgnored) {
  const std::string packed = Pack(PackFormat::kGzip, "text\n");
  signal(SIGCHLD, SIG_IGN);
  Expect(packed, "text\n");
  StopUnpacking();
}

TEST_F(UnpackingTest, TooLittleMemoryIsSaid) {
  if (LibraryFor(PackFormat::kXz) == nullptr || !HasTool(PackFormat::kXz) || ORVELLIS_SANDBOX == 0) {
    GTEST_SKIP() << "no xz, or a sanitizer that takes all memory";
  }
  const std::string packed = Pack(PackFormat::kXz, "text\n", "--lzma2=preset=0,dict=100MiB");
  const pid_t process = fork();
  if (process == 0) {
    const rlimit limit{90 << 20, 90 << 20};
    setrlimit(RLIMIT_AS, &limit);
    Open(packed, PackFormat::kXz);
    ReadAll();
    _exit(static_cast<int>(CloseUnpacked()));
  }
  int status = 0;
  waitpid(process, &status, 0);
  EXPECT_EQ(WEXITSTATUS(status), static_cast<int>(UnpackEnd::kNoMemory));
}

TEST_F(UnpackingTest, NobodyUnpacksWhereNoProcessCanBeStarted) {
  const int file = open(WriteFile("packed", Pack(PackFormat::kGzip, "text\n")).c_str(), O_RDONLY);
  const pid_t process = fork();
  if (process == 0) {
    const rlimit none{0, 0};
    setrlimit(RLIMIT_NOFILE, &none);
    _exit(file >= 0 && !OpenUnpacked(file, PackFormat::kGzip) ? 0 : 1);
  }
  int status = 0;
  waitpid(process, &status, 0);
  EXPECT_EQ(status, 0);
}

}  // namespace
