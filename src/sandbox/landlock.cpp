#include "sandbox/landlock.h"

#include <fcntl.h>
#include <sys/prctl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstddef>

// ---- The kernel's interface ----

// Numbers of our own: the kernel's headers on the machine that builds may be older
// than the kernel that runs the program.
static constexpr long kCreateRuleset = 444;
static constexpr long kAddRule = 445;
static constexpr long kRestrictSelf = 446;
static constexpr unsigned kAskVersion = 1;
static constexpr int kPathRule = 1;
static constexpr int kPortRule = 2;
static constexpr std::uint64_t kConnectTcp = 1 << 1;

// What an older kernel does not know of it must be 0.
struct RulesetAttributes {
  std::uint64_t files;
  std::uint64_t network;
  std::uint64_t scopes;
};

struct [[gnu::packed]] PathAttributes {
  std::uint64_t rights;
  std::int32_t file;
};

struct PortAttributes {
  std::uint64_t rights;
  std::uint64_t port;
};

// What each version of Landlock can take away.
static constexpr struct {
  long version;
  RulesetAttributes added;
} kVersions[] = {
    {1, {.files = 0x1fff, .network = 0, .scopes = 0}},   // execute, write, read, list, remove, make
    {2, {.files = 1 << 13, .network = 0, .scopes = 0}},  // move between folders
    {3, {.files = kTruncateFile, .network = 0, .scopes = 0}},
    {4, {.files = 0, .network = 0x3, .scopes = 0}},      // TCP: bind, connect
    {5, {.files = 1 << 15, .network = 0, .scopes = 0}},  // control devices
    {6, {.files = 0, .network = 0, .scopes = 0x3}},      // abstract sockets of others, signals to others
};

// ---- What is allowed ----

static RulesetAttributes AllOf(long version) {
  RulesetAttributes all{};
  for (const auto& step : kVersions) {
    if (step.version <= version) {
      all.files |= step.added.files;
      all.network |= step.added.network;
      all.scopes |= step.added.scopes;
    }
  }
  return all;
}

bool BeginLandlock(Landlock& landlock) {
  landlock = {};
  const long version = syscall(kCreateRuleset, nullptr, std::size_t{0}, kAskVersion);
  if (version < 1) {
    return false;
  }
  const RulesetAttributes all = AllOf(version);
  landlock.file_rights = all.files;
  landlock.network_rights = all.network;
  landlock.rules = static_cast<int>(syscall(kCreateRuleset, &all, sizeof all, 0U));
  landlock.failure = landlock.rules < 0 ? errno : 0;
  return landlock.rules >= 0;
}

static void Note(Landlock& landlock, int failure) {
  if (landlock.failure == 0) {
    landlock.failure = failure;
  }
}

static void AddPathRule(Landlock& landlock, int file, std::uint64_t rights) {
  const PathAttributes rule{.rights = rights & landlock.file_rights, .file = file};
  // EBADFD: what no path leads to by itself is never asked for.
  if (rule.rights != 0 && syscall(kAddRule, landlock.rules, kPathRule, &rule, 0U) != 0 && errno != EBADFD) {
    Note(landlock, errno);
  }
}

// Whether what the error tells of would come between the process and the file anyhow.
static bool IsOutOfReach(int error) {
  return error == ENOENT || error == ENOTDIR || error == EACCES || error == ELOOP || error == ENAMETOOLONG;
}

static int Find(Landlock& landlock, const char* path) {
  const int file = open(path, O_PATH | O_CLOEXEC);
  if (file < 0 && !IsOutOfReach(errno)) {
    Note(landlock, errno);
  }
  return file;
}

void AllowFile(Landlock& landlock, const char* path, std::uint64_t rights) {
  const int file = Find(landlock, path);
  if (file >= 0) {
    AddPathRule(landlock, file, rights);
    close(file);
  }
}

bool AllowPath(Landlock& landlock, const char* path, const PathRights& rights) {
  const int file = Find(landlock, path);
  if (file < 0) {
    return false;
  }
  struct stat info;
  if (fstat(file, &info) == 0) {
    AddPathRule(landlock, file, S_ISDIR(info.st_mode) ? rights.folder : rights.file);
  } else {
    Note(landlock, errno);
  }
  close(file);
  return true;
}

void AllowTcpTo(Landlock& landlock, std::uint16_t port) {
  const PortAttributes rule{.rights = kConnectTcp & landlock.network_rights, .port = port};
  if (rule.rights != 0 && syscall(kAddRule, landlock.rules, kPortRule, &rule, 0U) != 0) {
    Note(landlock, errno);
  }
}

int EnterLandlock(Landlock& landlock) {
  if (landlock.failure == 0 &&
      (prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0) != 0 || syscall(kRestrictSelf, landlock.rules, 0U) != 0)) {
    landlock.failure = errno;
  }
  close(landlock.rules);
  landlock.rules = -1;
  return landlock.failure;
}
