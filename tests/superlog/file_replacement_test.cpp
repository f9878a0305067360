#include "superlog/file_replacement.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstring>
#include <filesystem>
#include <string>

#include "support/text_file.h"

namespace {

class FileReplacementTest : public testing::Test {
 protected:
  void SetUp() override {
    directory = NewPath("replacement");
    ASSERT_EQ(mkdir(directory.c_str(), 0700), 0);
    path = directory + "/file.ORV";
  }

  void TearDown() override {
    chmod(directory.c_str(), 0700);
    std::filesystem::remove_all(directory);
  }

  bool Replace(const std::string& content) {
    FileReplacement replacement;
    if (!BeginReplacement(replacement, path.c_str())) {
      return false;
    }
    fputs(content.c_str(), replacement.stream);
    FinishReplacement(replacement);
    return true;
  }

  void WriteOld(const std::string& content) { std::ofstream(path) << content; }

  size_t CountFiles() {
    const auto files = std::filesystem::directory_iterator(directory);
    return static_cast<size_t>(std::distance(begin(files), end(files)));
  }

  mode_t Mode() {
    struct stat info;
    return lstat(path.c_str(), &info) == 0 ? info.st_mode & 07777 : 0;
  }

  std::string directory;
  std::string path;
};

TEST_F(FileReplacementTest, MakesANewFileAsTheUmaskAllows) {
  const mode_t umask_before = umask(027);
  EXPECT_TRUE(Replace("new\n"));
  umask(umask_before);
  EXPECT_EQ(ReadFile(path), "new\n");
  EXPECT_EQ(Mode(), 0640u);
  EXPECT_EQ(CountFiles(), 1u);
}

TEST_F(FileReplacementTest, ReadersSeeOldOrNewContentOnly) {
  WriteOld("old\n");
  FileReplacement replacement;
  ASSERT_TRUE(BeginReplacement(replacement, path.c_str()));
  fputs("new\n", replacement.stream);
  fflush(replacement.stream);
  EXPECT_EQ(ReadFile(path), "old\n");
  FinishReplacement(replacement);
  EXPECT_EQ(ReadFile(path), "new\n");
  EXPECT_EQ(CountFiles(), 1u);
}

TEST_F(FileReplacementTest, KeepsTheMode) {
  WriteOld("old\n");
  chmod(path.c_str(), 0606);
  EXPECT_TRUE(Replace("new\n"));
  EXPECT_EQ(Mode(), 0606u);
}

TEST_F(FileReplacementTest, SymbolicLinkStaysAndItsFileIsWritten) {
  const std::string target = WriteFile("target", "a longer old content\n");
  ASSERT_EQ(symlink(target.c_str(), path.c_str()), 0);
  EXPECT_TRUE(Replace("new\n"));
  EXPECT_EQ(ReadFile(target), "new\n");
  EXPECT_TRUE(std::filesystem::is_symlink(path));
}

// Whoever may write into the folder could have any file of this user emptied.
TEST_F(FileReplacementTest, LinksAreLeftAloneByWhatIsForTheUserAlone) {
  const std::string other = NewPath("other");
  std::ofstream(other) << "other\n";
  chmod(directory.c_str(), 0777);
  FileReplacement replacement;
  ASSERT_EQ(symlink(other.c_str(), path.c_str()), 0);
  EXPECT_FALSE(BeginReplacement(replacement, path.c_str(), "", "", FileFor::kUserAlone));
  unlink(path.c_str());
  ASSERT_EQ(link(other.c_str(), path.c_str()), 0);
  EXPECT_FALSE(BeginReplacement(replacement, path.c_str(), "", "", FileFor::kUserAlone));
  EXPECT_EQ(ReadFile(other), "other\n");
  unlink(path.c_str());
  EXPECT_TRUE(BeginReplacement(replacement, path.c_str(), "", "", FileFor::kUserAlone)) << "nothing there";
  FinishReplacement(replacement);
  chmod(directory.c_str(), 0700);
  unlink(path.c_str());
  ASSERT_EQ(symlink(other.c_str(), path.c_str()), 0);
  EXPECT_FALSE(BeginReplacement(replacement, path.c_str(), "", "", FileFor::kUserAlone)) << "an own link";
  EXPECT_EQ(ReadFile(other), "other\n");
}

TEST_F(FileReplacementTest, ForTheUserAloneNobodyElseMayReadIt) {
  const mode_t umask_before = umask(0);
  const std::string temporary = directory + "/.file.ORV.new";
  const auto replace = [&] {
    FileReplacement replacement;
    ASSERT_TRUE(BeginReplacement(replacement, path.c_str(), "", "", FileFor::kUserAlone));
    struct stat info;
    ASSERT_EQ(fstat(fileno(replacement.stream), &info), 0);
    EXPECT_EQ(info.st_mode & 07777, 0600u) << "while it is written, too";
    FinishReplacement(replacement);
    EXPECT_EQ(Mode(), 0600u);
  };
  replace();
  chmod(path.c_str(), 0644);
  replace();
  std::ofstream(temporary) << "what a process that died has left";
  chmod(temporary.c_str(), 0644);
  replace();
  unlink(path.c_str());
  std::ofstream(temporary) << "what a process that died has left, of a file that is new";
  chmod(temporary.c_str(), 0644);
  replace();
  umask(umask_before);
}

TEST_F(FileReplacementTest, HardLinksStayLinks) {
  WriteOld("a longer old content\n");
  const std::string other = directory + "/other";
  ASSERT_EQ(link(path.c_str(), other.c_str()), 0);
  EXPECT_TRUE(Replace("new\n"));
  EXPECT_EQ(ReadFile(other), "new\n");
}

TEST_F(FileReplacementTest, NamedPipeAndFolderAreLeftAlone) {
  ASSERT_EQ(mkfifo(path.c_str(), 0600), 0);
  EXPECT_FALSE(Replace("new\n"));
  remove(path.c_str());
  ASSERT_EQ(mkdir(path.c_str(), 0700), 0);
  EXPECT_FALSE(Replace("new\n"));
  EXPECT_EQ(CountFiles(), 1u);
}

TEST_F(FileReplacementTest, MissingFolderIsRefused) {
  path = directory + "/missing/file.ORV";
  EXPECT_FALSE(Replace("new\n"));
}

TEST_F(FileReplacementTest, LeftoverTemporaryFileIsNoObstacle) {
  WriteOld("a longer old content\n");
  std::ofstream(directory + "/.file.ORV.new") << "a longer leftover of a process that died";
  EXPECT_TRUE(Replace("new\n"));
  EXPECT_EQ(ReadFile(path), "new\n");
  EXPECT_EQ(CountFiles(), 1u);
}

TEST_F(FileReplacementTest, TemporaryFileOfAnotherProcessIsLeftAlone) {
  WriteOld("old\n");
  FileReplacement other;
  ASSERT_TRUE(BeginReplacement(other, path.c_str()));
  fputs("other\n", other.stream);
  EXPECT_FALSE(Replace("new\n"));
  EXPECT_EQ(ReadFile(path), "old\n");
  FinishReplacement(other);
  EXPECT_EQ(ReadFile(path), "other\n");
  EXPECT_TRUE(Replace("new\n"));
  EXPECT_EQ(CountFiles(), 1u);
}

TEST_F(FileReplacementTest, LinkInPlaceOfTheTemporaryFileIsNotFollowed) {
  WriteOld("a longer old content\n");
  const std::string target = WriteFile("target", "untouched\n");
  ASSERT_EQ(symlink(target.c_str(), (directory + "/.file.ORV.new").c_str()), 0);
  EXPECT_TRUE(Replace("new\n"));
  EXPECT_EQ(ReadFile(path), "new\n");
  EXPECT_EQ(ReadFile(target), "untouched\n");
}

TEST_F(FileReplacementTest, InPlaceTheHeadIsWrittenLast) {
  const std::string target = WriteFile("target", "a longer old content\n");
  ASSERT_EQ(symlink(target.c_str(), path.c_str()), 0);
  FileReplacement replacement;
  ASSERT_TRUE(BeginReplacement(replacement, path.c_str(), "done\n", "open\n"));
  EXPECT_FALSE(Replace("new\n")) << "one at a time";
  fputs("content\n", replacement.stream);
  fflush(replacement.stream);
  EXPECT_EQ(ReadFile(target), "open\ncontent\n");
  FinishReplacement(replacement);
  EXPECT_EQ(ReadFile(target), "done\ncontent\n");
}

TEST_F(FileReplacementTest, InPlaceContentThatCannotBeWrittenStaysUnfinished) {
  const std::string target = WriteFile("target", "old\n");
  ASSERT_EQ(symlink(target.c_str(), path.c_str()), 0);
  FileReplacement replacement;
  ASSERT_TRUE(BeginReplacement(replacement, path.c_str(), "done\n", "open\n"));
  fflush(replacement.stream);
  replacement.stream = freopen("/dev/full", "w", replacement.stream);
  ASSERT_NE(replacement.stream, nullptr);
  fputs("content\n", replacement.stream);
  FinishReplacement(replacement);
  EXPECT_EQ(ReadFile(target), "open\n");
}

TEST_F(FileReplacementTest, ContentThatCannotBeWrittenLeavesTheOldOne) {
  WriteOld("old\n");
  FileReplacement replacement;
  ASSERT_TRUE(BeginReplacement(replacement, path.c_str()));
  // Every write to this device fails as on a full disk.
  replacement.stream = freopen("/dev/full", "w", replacement.stream);
  ASSERT_NE(replacement.stream, nullptr);
  fputs("new\n", replacement.stream);
  FinishReplacement(replacement);
  EXPECT_EQ(ReadFile(path), "old\n");
  EXPECT_EQ(CountFiles(), 1u);
}

// A full disk that has room again: what was to be written meanwhile is lost.
void WriteWithAPartLost(FILE* stream) {
  fputs("first part\n", stream);
  fflush(stream);
  const int file = fileno(stream);
  const int kept = dup(file);
  const int full = open("/dev/full", O_WRONLY);
  ASSERT_EQ(dup2(full, file), file);
  fputs("second part\n", stream);
  EXPECT_NE(fflush(stream), 0);
  ASSERT_EQ(dup2(kept, file), file);
  close(kept);
  close(full);
  fputs("last part\n", stream);
}

TEST_F(FileReplacementTest, ContentWithAPartLostLeavesTheOldOne) {
  WriteOld("old\n");
  FileReplacement replacement;
  ASSERT_TRUE(BeginReplacement(replacement, path.c_str()));
  ASSERT_NO_FATAL_FAILURE(WriteWithAPartLost(replacement.stream));
  FinishReplacement(replacement);
  EXPECT_EQ(ReadFile(path), "old\n");
  EXPECT_EQ(CountFiles(), 1u);
}

TEST_F(FileReplacementTest, InPlaceContentWithAPartLostStaysUnfinished) {
  const std::string target = WriteFile("target", "old\n");
  ASSERT_EQ(symlink(target.c_str(), path.c_str()), 0);
  FileReplacement replacement;
  ASSERT_TRUE(BeginReplacement(replacement, path.c_str(), "done\n", "open\n"));
  ASSERT_NO_FATAL_FAILURE(WriteWithAPartLost(replacement.stream));
  FinishReplacement(replacement);
  EXPECT_EQ(ReadFile(target).substr(0, 5), "open\n");
}

// Whatever has the name of the temporary file and is not one: it stays as it is,
// and the file itself is written in its place.
TEST_F(FileReplacementTest, FileWithAnotherNameIsNoTemporaryFile) {
  const std::string other = directory + "/other";
  std::ofstream(other) << "somebody's work\n";
  ASSERT_EQ(link(other.c_str(), (directory + "/.file.ORV.new").c_str()), 0);
  WriteOld("a longer old content\n");
  EXPECT_TRUE(Replace("new\n"));
  EXPECT_EQ(ReadFile(path), "new\n");
  EXPECT_EQ(ReadFile(other), "somebody's work\n");
  EXPECT_EQ(ReadFile(directory + "/.file.ORV.new"), "somebody's work\n");
}

TEST_F(FileReplacementTest, PipeIsNoTemporaryFile) {
  const std::string pipe = directory + "/.file.ORV.new";
  ASSERT_EQ(mkfifo(pipe.c_str(), 0600), 0);
  alarm(20);  // for who waits
  EXPECT_TRUE(Replace("without a reader\n"));
  EXPECT_EQ(ReadFile(path), "without a reader\n");
  const int reader = open(pipe.c_str(), O_RDONLY | O_NONBLOCK);
  EXPECT_TRUE(Replace("new\n"));
  EXPECT_EQ(ReadFile(path), "new\n");
  alarm(0);
  EXPECT_TRUE(std::filesystem::is_fifo(pipe));
  close(reader);
}

TEST_F(FileReplacementTest, FileOfAnotherOwnerIsNoTemporaryFile) {
  if (geteuid() != 0) {
    GTEST_SKIP() << "only root can make such a file";
  }
  const std::string other = directory + "/.file.ORV.new";
  std::ofstream(other) << "somebody's work\n";
  ASSERT_EQ(chown(other.c_str(), 65534, 65534), 0);
  EXPECT_TRUE(Replace("new\n"));
  EXPECT_EQ(ReadFile(path), "new\n");
  EXPECT_EQ(ReadFile(other), "somebody's work\n");
}

TEST_F(FileReplacementTest, TheLockIsHeldUntilTheEndOnly) {
  const std::string temporary = directory + "/.file.ORV.new";
  FileReplacement replacement;
  ASSERT_TRUE(BeginReplacement(replacement, path.c_str()));
  const int file = open(temporary.c_str(), O_RDONLY);
  EXPECT_NE(flock(file, LOCK_SH | LOCK_NB), 0);
  FinishReplacement(replacement);
  EXPECT_EQ(flock(file, LOCK_SH | LOCK_NB), 0);
  close(file);
}

TEST_F(FileReplacementTest, KeepsTheGroup) {
  if (geteuid() != 0) {
    GTEST_SKIP() << "only root has groups enough";
  }
  WriteOld("old\n");
  ASSERT_EQ(chown(path.c_str(), 0, 65534), 0);
  EXPECT_TRUE(Replace("new\n"));
  struct stat info;
  ASSERT_EQ(stat(path.c_str(), &info), 0);
  EXPECT_EQ(info.st_gid, 65534u);
}

// Root may do everything; these run as a user who owns folder and file.
class FileReplacementAsUserTest : public FileReplacementTest {
 protected:
  static constexpr uid_t kUser = 65534;

  void SetUp() override {
    FileReplacementTest::SetUp();
    WriteOld("a longer old content\n");
    if (geteuid() == 0) {
      // The group stays one of this process's, which alone it may give to a new file.
      ASSERT_EQ(chown(directory.c_str(), kUser, static_cast<gid_t>(-1)), 0);
      ASSERT_EQ(chown(path.c_str(), kUser, static_cast<gid_t>(-1)), 0);
      ASSERT_EQ(seteuid(kUser), 0);
    }
  }

  void TearDown() override {
    if (getuid() == 0) {
      ASSERT_EQ(seteuid(0), 0);
    }
    FileReplacementTest::TearDown();
  }
};

TEST_F(FileReplacementAsUserTest, FolderThatTakesNoFilesIsWrittenInPlace) {
  chmod(directory.c_str(), 0500);
  EXPECT_TRUE(Replace("new\n"));
  EXPECT_EQ(ReadFile(path), "new\n");
}

TEST_F(FileReplacementAsUserTest, ReadOnlyFileIsRefused) {
  chmod(path.c_str(), 0400);
  EXPECT_FALSE(Replace("new\n"));
  EXPECT_EQ(ReadFile(path), "a longer old content\n");
}

TEST_F(FileReplacementAsUserTest, FileOfAnotherOwnerKeepsItsOwner) {
  if (getuid() != 0) {
    GTEST_SKIP() << "only root can make such a file";
  }
  chmod(path.c_str(), 0666);
  ASSERT_EQ(seteuid(0), 0);
  ASSERT_EQ(chown(path.c_str(), 0, 0), 0);
  ASSERT_EQ(seteuid(kUser), 0);
  EXPECT_TRUE(Replace("new\n"));
  EXPECT_EQ(ReadFile(path), "new\n");
  struct stat info;
  ASSERT_EQ(stat(path.c_str(), &info), 0);
  EXPECT_EQ(info.st_uid, 0u);
}

}  // namespace
