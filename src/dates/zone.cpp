#include "dates/zone.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "base/memory_end.h"
#include "base/text.h"
#include "dates/clock.h"
#include "dates/local_time.h"

static constexpr char kZones[] = "/usr/share/zoneinfo";
static constexpr char kMachineZone[] = "/etc/localtime";
static constexpr std::string_view kKindOfFile = "TZif";

// What the environment says of the machine's zone, while the report has another one.
static bool mTaken = false;
static bool mHadVariable = false;
static char mVariable[kPathSize];
static long mMachineOffset = 0;

// ---- Names ----

static bool IsOfName(char c) {
  return IsLetterAscii(c) || IsDigitAscii(c) || c == '_' || c == '+' || c == '-';
}

static bool IsName(std::string_view name) {
  if (name.empty() || name.size() > kLongestZoneName || name[0] < 'A' || name[0] > 'Z' ||
      name.ends_with('/')) {
    return false;
  }
  for (size_t i = 0; i < name.size(); ++i) {
    if (!IsOfName(name[i]) && (name[i] != '/' || name[i - 1] == '/')) {
      return false;
    }
  }
  return true;
}

// Where the C library looks for zones.
static const char* ZonesFolder() {
  const char* const named = getenv("TZDIR");
  return named == nullptr || *named == '\0' ? kZones : named;
}

// ---- Files ----

static int OpenPlainFile(const char* path) {
  const int file = open(path, O_RDONLY | O_CLOEXEC | O_NONBLOCK | O_NOCTTY);
  struct stat info;
  if (file >= 0 && (fstat(file, &info) != 0 || !S_ISREG(info.st_mode))) {
    close(file);
    errno = EACCES;
    return -1;
  }
  return file;
}

static bool IsZoneFile(const char* path) {
  const int file = OpenPlainFile(path);
  if (file < 0) {
    return false;
  }
  char begin[kKindOfFile.size()];
  const bool is_zone =
      read(file, begin, sizeof begin) == sizeof begin && std::string_view(begin, sizeof begin) == kKindOfFile;
  close(file);
  return is_zone;
}

static bool IsInDatabase(std::string_view name) {
  char path[kPathSize + kLongestZoneName + 2];
  const int length =
      snprintf(path, sizeof path, "%s/%.*s", ZonesFolder(), static_cast<int>(name.size()), name.data());
  return static_cast<size_t>(length) < sizeof path && IsZoneFile(path);
}

// ---- The machine's zone, and another one ----

// Null where nothing is said.
static const char* Variable() {
  const char* const variable = getenv("TZ");
  return variable != nullptr && *variable == ':' ? variable + 1 : variable;
}

static void LeaveMachineZone() {
  if (mTaken) {
    return;
  }
  const char* const variable = getenv("TZ");
  const time_t now = CurrentTime();
  tm local{};
  mHadVariable = variable != nullptr;
  CopyText(mVariable, mHadVariable ? variable : "");
  localtime_r(&now, &local);
  mMachineOffset = local.tm_gmtoff;
  mTaken = true;
}

bool UseZone(std::string_view name) {
  if (name.empty()) {
    ResetZone();
    return true;
  }
  // The library knows this one without any file.
  if (!IsName(name) || (name != "UTC" && !IsInDatabase(name))) {
    return false;
  }
  LeaveMachineZone();
  char zone[kLongestZoneName + 1];
  CopyText(zone, name);
  if (setenv("TZ", zone, 1) != 0) {
    EndWithoutMemory();
  }
  ResetLocalTime();
  return true;
}

void ResetZone() {
  if (!mTaken) {
    return;
  }
  mTaken = false;
  if (!mHadVariable) {
    unsetenv("TZ");
  } else if (setenv("TZ", mVariable, 1) != 0) {
    EndWithoutMemory();
  }
  ResetLocalTime();
}

void MachineTime(time_t when, tm& parts) {
  if (!mTaken) {
    localtime_r(&when, &parts);
    return;
  }
  const time_t shifted = when + mMachineOffset;
  gmtime_r(&shifted, &parts);
}

// ---- What it is called ----

// What stands behind the folder of zones in a path; the whole of any other text.
static const char* NameInPath(const char* path) {
  static constexpr std::string_view kFolder = "/zoneinfo/";
  const char* const folder = strstr(path, kFolder.data());
  return folder == nullptr ? path : folder + kFolder.size();
}

// Empty when the machine's zone is a file of its own, or is not set.
static const char* NameOfMachineZone() {
  static char target[kPathSize];
  const ssize_t length = readlink(kMachineZone, target, sizeof target - 1);
  target[length < 0 ? 0 : length] = '\0';
  const char* const name = NameInPath(target);
  return name == target ? "" : name;
}

const char* ZoneName(time_t when) {
  const char* const variable = Variable();
  if (variable != nullptr && *variable != '\0') {
    return NameInPath(variable);
  }
  const char* const machine = variable == nullptr ? NameOfMachineZone() : "";
  if (*machine != '\0') {
    return machine;
  }
  tm local{};
  TimeToLocal(when, local);
  return local.tm_zone == nullptr ? "" : local.tm_zone;
}

// ---- What decides it ----

// The file that the library reads for a zone, if there is one.
static void MakePath(const char* zone, char* path, size_t capacity) {
  if (zone == nullptr) {
    CopyText(path, capacity, kMachineZone);
  } else if (*zone == '/') {
    CopyText(path, capacity, zone);
  } else {
    snprintf(path, capacity, "%s/%s", ZonesFolder(), zone);
  }
}

// A zone without a file is told by its rules, or is none.
static bool AddContent(const char* path, char* out, size_t capacity, size_t& size) {
  const int file = OpenPlainFile(path);
  if (file < 0) {
    return errno == ENOENT || errno == ENOTDIR || errno == ENAMETOOLONG;
  }
  ssize_t got = 0;
  while (size < capacity && (got = read(file, out + size, capacity - size)) > 0) {
    size += static_cast<size_t>(got);
  }
  close(file);
  return got == 0 && size < capacity;
}

size_t ReadZone(char* out, size_t capacity) {
  const char* const zone = Variable();
  char path[2 * kPathSize];
  MakePath(zone, path, sizeof path);
  size_t size = CopyText(out, capacity, zone == nullptr ? "" : zone) + 1;
  return size < capacity && AddContent(path, out, capacity, size) ? size : 0;
}
