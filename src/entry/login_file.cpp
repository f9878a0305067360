#include "entry/login_file.h"

#include <fcntl.h>
#include <sys/random.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <ctime>
#include <string>

#include "base/path.h"
#include "base/text.h"

// It begins with a byte that no text begins with.
static constexpr std::uint8_t kMagic[8] = {0x89, 'O', 'R', 'V', 'L', 'I', 'M', '\n'};
static constexpr std::uint32_t kVersion1 = 1;

static_assert(sizeof(LoginFileHeader) == 48 && sizeof(LoginRecord) == 24,
              "no byte of the file is left to chance");

// ---- Bytes ----

bool ReadAt(int file, void* data, std::size_t size, std::size_t start) {
  auto* const bytes = static_cast<char*>(data);
  for (std::size_t done = 0; done < size;) {
    const ssize_t got = pread(file, bytes + done, size - done, static_cast<off_t>(start + done));
    if (got == 0) {
      errno = EIO;
    }
    if (got == 0 || (got < 0 && errno != EINTR)) {
      return false;
    }
    done += static_cast<std::size_t>(std::max<ssize_t>(got, 0));
  }
  return true;
}

bool WriteAt(int file, const void* data, std::size_t size, std::size_t start) {
  const auto* const bytes = static_cast<const char*>(data);
  for (std::size_t done = 0; done < size;) {
    const ssize_t put = pwrite(file, bytes + done, size - done, static_cast<off_t>(start + done));
    if (put < 0 && errno != EINTR) {
      return false;
    }
    done += static_cast<std::size_t>(std::max<ssize_t>(put, 0));
  }
  return true;
}

// ---- Hashes ----

// A first byte tells what is hashed, so that no visitor is taken for an account.
static SipHash BeginHashOf(const SipKey& key, char what) {
  SipHash hash = BeginSipHash(key);
  AddByte(hash, static_cast<std::uint8_t>(what));
  return hash;
}

std::uint64_t HashOfVisitor(const SipKey& key, const Address& visitor) {
  SipHash hash = BeginHashOf(key, 'v');
  for (const std::uint8_t byte : visitor.bytes) {
    AddByte(hash, byte);
  }
  return EndSipHash(hash);
}

std::uint64_t HashOfAccount(const SipKey& key, std::string_view account) {
  SipHash hash = BeginHashOf(key, 'a');
  for (const char c : account) {
    AddByte(hash, static_cast<std::uint8_t>(ToLowerAscii(c)));
  }
  return EndSipHash(hash);
}

static std::uint64_t CheckOf(const LoginFileHeader& header) {
  SipHash hash = BeginHashOf(header.key, 'h');
  const auto* const bytes = reinterpret_cast<const std::uint8_t*>(&header);
  for (std::size_t i = 0; i < offsetof(LoginFileHeader, check); ++i) {
    AddByte(hash, bytes[i]);
  }
  return EndSipHash(hash);
}

// ---- Opening ----

static bool IsRegular(int file) {
  struct stat status;
  if (fstat(file, &status) != 0) {
    return false;
  }
  errno = EEXIST;
  return S_ISREG(status.st_mode);
}

// Made by root, it is to be used by the server, whose folder it stands in.
static void GiveToOwnerOfFolder(int file, const char* path) {
  const std::size_t length = FolderLength(path);
  const std::string folder = length == 0 ? "." : std::string(path, length);
  struct stat status;
  if (stat(folder.c_str(), &status) == 0) {
    [[maybe_unused]] const int refused = fchown(file, status.st_uid, status.st_gid);
  }
}

int OpenLoginFile(const char* path, bool create) {
  constexpr int kFlags = O_RDWR | O_NOFOLLOW | O_CLOEXEC | O_NONBLOCK | O_NOCTTY;
  int file = open(path, kFlags);
  if (file < 0 && errno == ENOENT && create) {
    file = open(path, kFlags | O_CREAT, 0600);
    if (file >= 0 && geteuid() == 0) {
      GiveToOwnerOfFolder(file, path);
    }
  }
  if (file >= 0 && !IsRegular(file)) {
    const int reason = errno;
    close(file);
    errno = reason;
    return -1;
  }
  return file;
}

// ---- Locks ----

static bool SetLock(int file, LoginLock lock, short type) {
  struct flock range = {};
  range.l_type = type;
  range.l_whence = SEEK_SET;
  range.l_start = static_cast<off_t>(lock);
  range.l_len = 1;
  return fcntl(file, F_OFD_SETLK, &range) == 0;
}

static std::int64_t Milliseconds() {
  timespec now = {};
  clock_gettime(CLOCK_MONOTONIC, &now);
  return now.tv_sec * std::int64_t{1000} + now.tv_nsec / 1000000;
}

bool TakeLoginLock(int file, LoginLock lock, int milliseconds) {
  const std::int64_t end = Milliseconds() + milliseconds;
  while (!SetLock(file, lock, F_WRLCK)) {
    if (errno != EAGAIN && errno != EACCES && errno != EINTR) {
      return false;
    }
    if (Milliseconds() >= end) {
      errno = EBUSY;
      return false;
    }
    const timespec pause = {.tv_sec = 0, .tv_nsec = 1000000};
    nanosleep(&pause, nullptr);
  }
  return true;
}

void DropLoginLock(int file, LoginLock lock) {
  SetLock(file, lock, F_UNLCK);
}

// ---- The header ----

static bool MakeHeader(LoginFileHeader& header) {
  header = {};
  memcpy(header.magic, kMagic, sizeof kMagic);
  header.version = kVersion1;
  header.refusals = kRememberedRefusals;
  header.entries = kRememberedEntries;
  header.record = sizeof(LoginRecord);
  if (getrandom(header.key.data(), header.key.size(), GRND_NONBLOCK) !=
      static_cast<ssize_t>(header.key.size())) {
    return false;
  }
  header.check = CheckOf(header);
  return true;
}

// The place of all records is taken at once: a disk that is full later leaves the
// limits as they are.
static bool TakePlace(int file) {
  errno = posix_fallocate(file, 0, kLoginFileSize);
  return errno == 0;
}

// Whatever ends a run on the way leaves a file that is empty, or too short and
// begun anew the next time.
static bool BeginLoginFile(int file, LoginFileHeader& header) {
  if (!MakeHeader(header) || ftruncate(file, 0) != 0) {
    return false;
  }
  if (WriteAt(file, &header, sizeof header, 0) && TakePlace(file)) {
    return true;
  }
  const int reason = errno;
  [[maybe_unused]] const int refused = ftruncate(file, 0);
  errno = reason;
  return false;
}

static bool IsSound(const LoginFileHeader& header, off_t size) {
  return size == off_t{kLoginFileSize} && header.version == kVersion1 &&
         header.refusals == kRememberedRefusals && header.entries == kRememberedEntries &&
         header.record == sizeof(LoginRecord) && header.check == CheckOf(header);
}

bool ReadLoginHeader(int file, LoginFileHeader& header) {
  struct stat status;
  header = {};
  if (fstat(file, &status) != 0) {
    return false;
  }
  const auto size = static_cast<std::size_t>(status.st_size);
  if (!ReadAt(file, &header, std::min(sizeof header, size), 0)) {
    return false;
  }
  if (memcmp(header.magic, kMagic, std::min(sizeof kMagic, size)) != 0) {
    errno = EEXIST;
    return false;
  }
  return IsSound(header, status.st_size) || BeginLoginFile(file, header);
}
