#include "passwd/accounts.h"

#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <climits>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <vector>

#include "base/path.h"
#include "cgi/parameters.h"
#include "config/config_file.h"
#include "entry/password_hash.h"
#include "entry/stored_password.h"
#include "passwd/say.h"

// Seen from the program; the build tells it for other folders than these.
#ifndef ORVELLIS_TO_CONFIGURATION
#define ORVELLIS_TO_CONFIGURATION "../libexec/orvellis/cgi/orvellis.conf"
#endif

std::string InstalledConfiguration() {
  char program[PATH_MAX];
  if (realpath("/proc/self/exe", program) != nullptr) {
    const std::string folder(program, FolderLength(program));
    char resolved[PATH_MAX];
    if (realpath((folder + ORVELLIS_TO_CONFIGURATION).c_str(), resolved) != nullptr) {
      return resolved;
    }
  }
  return "/etc/orvellis/orvellis.conf";
}

bool IsAccountName(std::string_view name) {
  const bool bad = std::any_of(name.begin(), name.end(), [](char c) {
    return c == ':' || c == ';' || c == '/' || c == '\x7F' || static_cast<unsigned char>(c) < ' ';
  });
  if (name.empty() || bad || name.starts_with('#') || name.starts_with(' ') ||
      name.size() >= sizeof Settings::username) {
    Complain("no account can be called %s", Quoted(name).c_str());
    return false;
  }
  return true;
}

// ---- The configuration ----

static bool OpenConfiguration(const std::string& path, ConfigFile& file) {
  file.fall_back = false;
  file.pipes = Pipes::kKeep;
  if (path.size() >= sizeof file.path) {
    errno = ENAMETOOLONG;
  } else if (CopyText(file.path, path); OpenConfigFile(file)) {
    return true;
  }
  Complain("cannot read the configuration %s: %s", Quoted(path).c_str(), strerror(errno));
  return false;
}

static void BeginSettings(const std::string& path, std::string_view account, Settings& settings) {
  static const Environment kNoRequest = {};
  initialize(settings, kNoRequest);
  CopyText(settings.config, path);
  CopyText(settings.username, account);
  settings.rules.names_as_written = true;
}

bool ReadConfiguration(const std::string& path, std::string_view account, Settings& settings, bool& found) {
  ConfigFile file;
  if (!OpenConfiguration(path, file)) {
    return false;
  }
  BeginSettings(path, account, settings);
  ParseConfigFile(file, settings, found);
  return true;
}

// ---- The list ----

struct Listed {
  std::string name;
  std::string of_line;  // the last password that a line of it sets
};

static Listed& FindListed(std::vector<Listed>& accounts, std::string_view name) {
  for (Listed& account : accounts) {
    if (EqualIgnoreCase(account.name, name)) {
      return account;
    }
  }
  accounts.push_back({.name = std::string(name), .of_line = ""});
  return accounts.back();
}

static bool FindAccounts(const std::string& configuration, std::vector<Listed>& accounts) {
  ConfigFile file;
  if (!OpenConfiguration(configuration, file)) {
    return false;
  }
  Settings settings;
  BeginSettings(configuration, "", settings);
  while (NextAccount(file, settings)) {
    Listed& account = FindListed(accounts, settings.username);
    if (settings.stored_password[0] != '\0') {
      account.of_line = settings.stored_password;
    }
    settings.stored_password[0] = '\0';
  }
  CloseConfigFile(file);
  return true;
}

static const char* WordFor(std::string_view stored) {
  if (stored == "*") {
    return "*";
  }
  switch (KindOfHash(stored)) {
    case HashKind::kHash:
      return "hash";
    case HashKind::kPlain:
      return "plain password";
    default:
      return "none";
  }
}

static bool PrintAccount(const Listed& account, Settings& settings) {
  char stored[kTextSize] = "";
  CopyText(settings.username, account.name);
  CopyText(settings.stored_password, account.of_line);
  if (FindStoredPassword(settings, stored) == StoredPassword::kUnreadable) {
    Complain("cannot read the password file %s: %s", Quoted(settings.UserPasswords).c_str(), strerror(errno));
    return false;
  }
  printf("%-24s %s%s\n", Quoted(account.name).c_str(), WordFor(stored),
         account.of_line.empty() ? "" : ", in its line");
  return true;
}

bool ListAccounts(const std::string& configuration, const std::string& password_file) {
  std::vector<Listed> accounts;
  Settings settings;
  bool found;
  if (password_file.size() >= sizeof settings.UserPasswords) {
    Complain("the path of the password file is longer than %zu bytes", sizeof settings.UserPasswords - 1);
    return false;
  }
  if (!FindAccounts(configuration, accounts) || !ReadConfiguration(configuration, "", settings, found)) {
    return false;
  }
  if (!password_file.empty()) {
    CopyText(settings.UserPasswords, password_file);
  }
  return std::all_of(accounts.begin(), accounts.end(),
                     [&settings](const Listed& account) { return PrintAccount(account, settings); });
}
