#include "run/store_folder.h"

#include <sys/stat.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>

static constexpr mode_t kOwnersAlone = 0700;

// An absolute path from the environment; null when it is none.
static const char* AbsolutePath(const char* variable) {
  const char* const path = getenv(variable);
  return path != nullptr && path[0] == '/' ? path : nullptr;
}

// Empty where it is too long.
static void Join(char (&joined)[kPathSize], const char* parent, const char* name) {
  if (snprintf(joined, sizeof joined, "%s/%s", parent, name) >= static_cast<int>(sizeof joined)) {
    joined[0] = '\0';
  }
}

static void MakeUsersStore(char (&folder)[kPathSize]) {
  char caches[kPathSize] = "";
  if (const char* const named = AbsolutePath("XDG_CACHE_HOME")) {
    CopyText(caches, strlen(named) < sizeof caches ? named : "");
  } else if (const char* const home = AbsolutePath("HOME")) {
    Join(caches, home, ".cache");
  }
  if (caches[0] == '\0') {
    return;
  }
  Join(folder, caches, "orvellis");
  mkdir(caches, kOwnersAlone);
  mkdir(folder, kOwnersAlone);
}

void ChooseStore(char (&folder)[kPathSize], bool from_shell) {
  folder[0] = '\0';
  const char* const named = getenv("ORVELLIS_CACHE");
  if (named != nullptr) {
    CopyText(folder, strlen(named) < sizeof folder ? named : "");
  } else if (from_shell) {
    MakeUsersStore(folder);
  } else {
    CopyText(folder, kWebStore);
  }
}

void SettlePartCache(Settings& settings, bool from_shell) {
  const std::string_view given = settings.part_cache;
  if (given == "1") {
    ChooseStore(settings.part_cache, from_shell);
  } else if (given == "0") {
    settings.part_cache[0] = '\0';
  } else if (from_shell && !given.empty()) {
    mkdir(settings.part_cache, kOwnersAlone);
  }
  if (settings.rules.whole_logs && settings.store[0] == '\0') {
    CopyText(settings.store, settings.part_cache);
  }
}
