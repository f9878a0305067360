#include "passwd/password_file.h"

#include <fcntl.h>
#include <grp.h>
#include <sys/stat.h>
#include <sys/xattr.h>
#include <unistd.h>

#include <cerrno>
#include <climits>
#include <cstdlib>
#include <cstring>
#include <ctime>

#include "base/path.h"
#include "base/text.h"
#include "passwd/say.h"

// ---- Lines ----

// Takes the next line off the content, its end ("\n", "\r" or "\r\n") included.
static std::string_view TakeLine(std::string_view& content) {
  size_t end = content.find_first_of("\r\n");
  if (end != std::string_view::npos) {
    end += content.substr(end).starts_with("\r\n") ? 2 : 1;
  }
  const std::string_view line = content.substr(0, end);
  content.remove_prefix(line.size());
  return line;
}

static std::string_view EndOf(std::string_view line) {
  const size_t end = line.find_first_of("\r\n");
  return end == std::string_view::npos ? "\n" : line.substr(end);
}

static bool IsLineOf(std::string_view account, std::string_view line) {
  return BeginsWithIgnoreCase(line, account) && line.substr(account.size()).starts_with(':');
}

static void AppendLine(std::string& content, std::string_view account, std::string_view hash,
                       std::string_view end) {
  content.append(account).append(":").append(hash).append(end);
}

std::string ReplaceLines(std::string_view content, std::string_view account, std::string_view hash) {
  std::string changed;
  bool written = hash.data() == nullptr;
  while (!content.empty()) {
    const std::string_view line = TakeLine(content);
    if (!IsLineOf(account, line)) {
      changed += line;
    } else if (!written) {
      AppendLine(changed, account, hash, EndOf(line));
      written = true;
    }
  }
  if (!written) {
    if (!changed.empty() && changed.back() != '\n' && changed.back() != '\r') {
      changed += '\n';
    }
    AppendLine(changed, account, hash, "\n");
  }
  return changed;
}

// ---- Files ----

// A descriptor that is closed with its block.
struct Descriptor {
  explicit Descriptor(int opened) : file(opened) {}
  Descriptor(const Descriptor&) = delete;
  Descriptor& operator=(const Descriptor&) = delete;
  ~Descriptor() { Close(); }
  void Close() {
    if (file >= 0) {
      close(file);
    }
    file = -1;
  }
  int file;
};

static Change FailWith(const char* what, const std::string& path) {
  Complain("%s %s: %s", what, Quoted(path).c_str(), strerror(errno));
  return Change::kFailed;
}

// ---- The old file ----

static constexpr off_t kLargest = off_t{16} << 20;

struct OldFile {
  bool exists = false;
  struct stat status = {};
  std::string content;
  std::string access_list;  // as the kernel gives it; empty: none
};

static bool ReadWhole(int file, std::string& content) {
  char block[8192];
  ssize_t got;
  while ((got = read(file, block, sizeof block)) > 0 && content.size() <= size_t{kLargest}) {
    content.append(block, static_cast<size_t>(got));
  }
  return got == 0;
}

static constexpr const char* kAccessList = "system.posix_acl_access";

static void ReadAccessList(int file, std::string& list) {
  char block[4096];
  const ssize_t size = fgetxattr(file, kAccessList, block, sizeof block);
  list.assign(block, size > 0 ? static_cast<size_t>(size) : 0);
}

// Whether there is nothing that keeps the file from being replaced.
static bool ReadOldFile(const std::string& path, OldFile& old) {
  const Descriptor opened(open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK | O_NOCTTY));
  if (opened.file < 0 && errno == ENOENT) {
    return true;
  }
  if (opened.file < 0 || fstat(opened.file, &old.status) != 0) {
    FailWith("cannot read", path);
    return false;
  }
  if (!S_ISREG(old.status.st_mode) || old.status.st_size > kLargest) {
    Complain("%s is no file of at most 16 MB", Quoted(path).c_str());
    return false;
  }
  old.exists = true;
  ReadAccessList(opened.file, old.access_list);
  if (!ReadWhole(opened.file, old.content)) {
    FailWith("cannot read", path);
    return false;
  }
  return true;
}

// ---- The new file ----

static bool IsStillThere(int file, const std::string& path) {
  struct stat opened;
  struct stat named;
  return fstat(file, &opened) == 0 && lstat(path.c_str(), &named) == 0 && opened.st_dev == named.st_dev &&
         opened.st_ino == named.st_ino;
}

static bool LockNow(int file) {
  struct flock whole = {};
  whole.l_type = F_WRLCK;
  whole.l_whence = SEEK_SET;
  return fcntl(file, F_OFD_SETLK, &whole) == 0;
}

// The new file is the lock as well: only who may write into the folder can hold it, and it
// is lost with a run that dies. One that is there already is never written to, as
// somebody else may have made it and have it open: when nobody holds it, it is removed.
// made: whether the file is a new one. -1: errno tells; EAGAIN when it has just gone.
static int MakeOrOpen(const std::string& path, bool& made) {
  constexpr int kFlags = O_RDWR | O_NOFOLLOW | O_CLOEXEC | O_NONBLOCK | O_NOCTTY;
  const int file = open(path.c_str(), kFlags | O_CREAT | O_EXCL, 0600);
  made = file >= 0;
  if (made || errno != EEXIST) {
    return file;
  }
  const int other = open(path.c_str(), kFlags);
  if (other < 0 && errno == ENOENT) {
    errno = EAGAIN;
  }
  return other;
}

// The new file, locked; -1 when there is none: errno tells, EAGAIN where it is worth another try.
static int TryToOpenAndLock(const std::string& path) {
  bool made = false;
  const int file = MakeOrOpen(path, made);
  if (file < 0) {
    return -1;
  }
  int reason = EAGAIN;
  if (!LockNow(file)) {
    reason = errno == EACCES ? EAGAIN : errno;
  } else if (IsStillThere(file, path)) {
    if (made) {
      return file;
    }
    unlink(path.c_str());
  }
  close(file);
  errno = reason;
  return -1;
}

static int OpenAndLock(const std::string& path) {
  for (int attempt = 0; attempt < 6000; ++attempt) {
    const int file = TryToOpenAndLock(path);
    if (file >= 0 || errno != EAGAIN) {
      return file;
    }
    const timespec pause = {.tv_sec = 0, .tv_nsec = 10'000'000};
    nanosleep(&pause, nullptr);
  }
  errno = EBUSY;
  return -1;
}

static bool TakeOver(int file, const OldFile& old) {
  const bool owned = fchown(file, old.status.st_uid, old.status.st_gid) == 0;
  const bool listed = old.access_list.empty() ||
                      fsetxattr(file, kAccessList, old.access_list.data(), old.access_list.size(), 0) == 0;
  return owned && listed && fchmod(file, old.status.st_mode & 07777) == 0;
}

static bool BeReadableForServer(int file) {
  const group* const server = geteuid() == 0 ? getgrnam("www-data") : nullptr;
  return (server == nullptr || fchown(file, 0, server->gr_gid) == 0) && fchmod(file, 0640) == 0;
}

static bool WriteWhole(int file, std::string_view content) {
  while (!content.empty()) {
    const ssize_t put = write(file, content.data(), content.size());
    if (put < 0 && errno != EINTR) {
      return false;
    }
    content.remove_prefix(put < 0 ? 0 : static_cast<size_t>(put));
  }
  return fsync(file) == 0;
}

static bool Fill(int file, const OldFile& old, std::string_view content) {
  return ftruncate(file, 0) == 0 && (old.exists ? TakeOver(file, old) : BeReadableForServer(file)) &&
         WriteWhole(file, content);
}

// The name is on the disk, too, when the folder is.
static void SyncFolderOf(const std::string& path) {
  const size_t length = FolderLength(path);
  const std::string folder = length == 0 ? "." : path.substr(0, length);
  const Descriptor opened(open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
  if (opened.file >= 0) {
    fsync(opened.file);
  }
}

static Change Replace(int file, const std::string& made, const std::string& path, std::string_view account,
                      std::string_view hash) {
  OldFile old;
  if (!ReadOldFile(path, old)) {
    return Change::kFailed;
  }
  const std::string content = ReplaceLines(old.content, account, hash);
  if (hash.data() == nullptr && content.size() == old.content.size()) {
    return Change::kNothingThere;
  }
  if (!Fill(file, old, content)) {
    return FailWith("the password file stays as it was, as there is no writing of", made);
  }
  if (rename(made.c_str(), path.c_str()) != 0) {
    return FailWith("cannot replace", path);
  }
  SyncFolderOf(path);
  return Change::kDone;
}

// The file that a path leads to; itself where nothing is yet.
static bool FollowLinks(const std::string& path, std::string& file) {
  char resolved[PATH_MAX];
  struct stat status;
  if (realpath(path.c_str(), resolved) != nullptr) {
    file = resolved;
    return true;
  }
  file = path;
  return errno == ENOENT && lstat(path.c_str(), &status) != 0;
}

Change ChangePassword(const std::string& path, std::string_view account, std::string_view hash) {
  std::string file;
  if (!FollowLinks(path, file)) {
    return FailWith("no file is at the end of", path);
  }
  const std::string made = file + ".new";
  const Descriptor locked(OpenAndLock(made));
  if (locked.file < 0) {
    return FailWith("cannot write", made);
  }
  const Change change = Replace(locked.file, made, file, account, hash);
  if (change != Change::kDone) {
    unlink(made.c_str());
  }
  return change;
}
