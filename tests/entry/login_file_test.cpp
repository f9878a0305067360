#include "entry/login_file.h"

#include <fcntl.h>
#include <gmock/gmock.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <set>

#include "support/text_file.h"

// An opened file that is closed with the case.
class Opened {
 public:
  explicit Opened(const std::string& path, bool create = true) : file(OpenLoginFile(path.c_str(), create)) {}
  Opened(const Opened&) = delete;
  Opened& operator=(const Opened&) = delete;
  ~Opened() {
    if (file >= 0) {
      close(file);
    }
  }
  const int file;
};

static std::string NewLoginFile() {
  const std::string path = NewPath("limits");
  LoginFileHeader header;
  EXPECT_TRUE(ReadLoginHeader(Opened(path).file, header));
  return path;
}

TEST(OpenLoginFile, MakesAFileForItsOwnerOnly) {
  const std::string path = NewPath("limits");
  ASSERT_GE(Opened(path).file, 0);
  struct stat status;
  ASSERT_EQ(stat(path.c_str(), &status), 0);
  EXPECT_EQ(status.st_mode & 07777, 0600u);
}

TEST(OpenLoginFile, MakesNoneUnlessAsked) {
  const std::string path = NewPath("limits");
  EXPECT_EQ(Opened(path, false).file, -1);
  EXPECT_EQ(errno, ENOENT);
  EXPECT_NE(access(path.c_str(), F_OK), 0);
}

TEST(OpenLoginFile, IsClosedToProgramsThatAreStarted) {
  const Opened opened(NewPath("limits"));
  EXPECT_EQ(fcntl(opened.file, F_GETFD) & FD_CLOEXEC, FD_CLOEXEC);
}

TEST(OpenLoginFile, TakesNothingButARegularFile) {
  const std::string folder = NewPath("folder");
  const std::string pipe = NewPath("pipe");
  const std::string link = NewPath("link");
  const std::string nowhere = NewPath("nowhere");
  mkdir(folder.c_str(), 0700);
  mkfifo(pipe.c_str(), 0600);
  ASSERT_EQ(symlink(NewLoginFile().c_str(), link.c_str()), 0);
  ASSERT_EQ(symlink((folder + "/made").c_str(), nowhere.c_str()), 0);
  EXPECT_EQ(Opened(folder).file, -1);
  EXPECT_EQ(Opened(pipe).file, -1);
  EXPECT_EQ(errno, EEXIST);
  EXPECT_EQ(Opened(link).file, -1);
  EXPECT_EQ(errno, ELOOP);
  EXPECT_EQ(Opened(nowhere).file, -1);
  EXPECT_NE(access((folder + "/made").c_str(), F_OK), 0);
  EXPECT_EQ(Opened("/dev/null").file, -1);
  EXPECT_EQ(Opened(folder + "/absent/limits").file, -1);
}

TEST(OpenLoginFile, MadeByRootBelongsToTheOwnerOfTheFolder) {
  if (geteuid() != 0) {
    GTEST_SKIP() << "not root";
  }
  const std::string folder = NewPath("folder");
  mkdir(folder.c_str(), 0700);
  ASSERT_EQ(chown(folder.c_str(), 33, 34), 0);
  ASSERT_GE(Opened(folder + "/limits").file, 0);
  struct stat status;
  ASSERT_EQ(stat((folder + "/limits").c_str(), &status), 0);
  EXPECT_EQ(status.st_uid, 33u);
  EXPECT_EQ(status.st_gid, 34u);
}

TEST(ReadLoginHeader, BeginsAnEmptyFileWithAKeyOfItsOwn) {
  LoginFileHeader one, other, again;
  const std::string path = NewPath("limits");
  ASSERT_TRUE(ReadLoginHeader(Opened(path).file, one));
  ASSERT_TRUE(ReadLoginHeader(Opened(NewPath("limits")).file, other));
  ASSERT_TRUE(ReadLoginHeader(Opened(path).file, again));
  EXPECT_EQ(ReadFile(path).size(), kLoginFileSize);
  EXPECT_NE(one.key, other.key);
  EXPECT_EQ(one.key, again.key);
}

// Whether the header is read, and whether with the key that the file had before.
static std::pair<bool, bool> ReadDamaged(const std::string& content) {
  SipKey before = {};
  std::copy_n(content.begin() + std::min<long>(24, std::ssize(content)),
              std::clamp<long>(std::ssize(content) - 24, 0, 16), before.begin());
  const std::string path = WriteFile("damaged", content);
  LoginFileHeader header;
  const bool read = ReadLoginHeader(Opened(path).file, header);
  EXPECT_EQ(ReadFile(path).size(), read ? kLoginFileSize : content.size());
  EXPECT_TRUE(read || ReadFile(path) == content);
  unlink(path.c_str());
  return {read, header.key == before};
}

TEST(ReadLoginHeader, BeginsAnewWhenAByteOfItsHeaderIsWrong) {
  const std::string sound = ReadFile(NewLoginFile());
  ASSERT_EQ(ReadDamaged(sound), std::make_pair(true, true));
  for (size_t i = 0; i < sizeof(LoginFileHeader); ++i) {
    std::string damaged = sound;
    damaged[i] = static_cast<char>(damaged[i] ^ (1 << i % 8));
    const bool is_magic = i < sizeof(LoginFileHeader::magic);
    EXPECT_EQ(ReadDamaged(damaged).first, !is_magic) << i;
    EXPECT_TRUE(is_magic || !ReadDamaged(damaged).second) << i;
  }
}

TEST(ReadLoginHeader, BeginsAnewWhenTheSizeIsWrong) {
  const std::string sound = ReadFile(NewLoginFile());
  for (const size_t size : {size_t{0}, size_t{1}, size_t{7}, size_t{8}, size_t{9}, size_t{47}, size_t{48},
                            size_t{49}, kEntriesStart, kLoginFileSize - 1}) {
    EXPECT_EQ(ReadDamaged(sound.substr(0, size)), std::make_pair(true, false)) << size;
  }
  EXPECT_EQ(ReadDamaged(sound + "x"), std::make_pair(true, false));
  EXPECT_EQ(ReadDamaged(sound + sound), std::make_pair(true, false));
}

TEST(ReadLoginHeader, LeavesFilesOfSomethingElseAlone) {
  for (const char* const content : {"\n", "shop:secret\n", "ORVLIM\n", "\x89ORVLIN\n and so on"}) {
    EXPECT_FALSE(ReadDamaged(content).first) << content;
    EXPECT_EQ(errno, EEXIST);
  }
  EXPECT_FALSE(ReadDamaged(std::string(kLoginFileSize, '\0')).first);
}

TEST(ReadLoginHeader, NeedsThePlaceOfAllRecordsAtOnce) {
  const std::string path = NewPath("limits");
  const Opened opened(path);
  signal(SIGXFSZ, SIG_IGN);
  const rlimit limit = {kLoginFileSize - 1, kLoginFileSize - 1};
  ASSERT_EQ(setrlimit(RLIMIT_FSIZE, &limit), 0);
  LoginFileHeader header;
  EXPECT_FALSE(ReadLoginHeader(opened.file, header));
  EXPECT_EQ(errno, EFBIG);
  EXPECT_EQ(ReadFile(path), "");
}

TEST(TakeLoginLock, ExcludesOthersUntilItIsDroppedOrClosed) {
  const std::string path = NewLoginFile();
  const Opened one(path);
  {
    const Opened other(path);
    EXPECT_TRUE(TakeLoginLock(other.file, LoginLock::kData, 0));
    EXPECT_FALSE(TakeLoginLock(one.file, LoginLock::kData, 10));
    EXPECT_EQ(errno, EBUSY);
    EXPECT_TRUE(TakeLoginLock(one.file, LoginLock::kWaitingTurn, 0));
    DropLoginLock(other.file, LoginLock::kData);
    EXPECT_TRUE(TakeLoginLock(one.file, LoginLock::kData, 0));
    DropLoginLock(one.file, LoginLock::kData);
    EXPECT_TRUE(TakeLoginLock(other.file, LoginLock::kData, 0));
  }
  EXPECT_TRUE(TakeLoginLock(one.file, LoginLock::kData, 0));
}

TEST(LoginHashes, TellVisitorsAndAccountsApart) {
  const SipKey key = {1, 2, 3};
  std::set<std::uint64_t> hashes;
  for (int i = 0; i < 256; ++i) {
    hashes.insert(HashOfVisitor(key, Address{{static_cast<std::uint8_t>(i)}}));
    hashes.insert(HashOfVisitor(key, Address{{0, static_cast<std::uint8_t>(i + 1)}}));
  }
  for (const char* const account : {"", "a", "b", "ab", "ba", "a b"}) {
    hashes.insert(HashOfAccount(key, account));
  }
  // A name that is made of a visitor's bytes.
  hashes.insert(HashOfAccount(key, std::string(16, '\0')));
  EXPECT_EQ(hashes.size(), 512u - 1 + 7);
  EXPECT_EQ(HashOfAccount(key, "Shop"), HashOfAccount(key, "sHOP"));
  EXPECT_NE(HashOfAccount(key, "shop"), HashOfAccount(SipKey{1, 2, 4}, "shop"));
}
