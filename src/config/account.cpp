#include "config/account.h"

#include <crypt.h>

#include <cstdlib>
#include <cstring>

#include "analysis/dns_cache.h"
#include "analysis/normalise.h"
#include "base/text_file.h"

// ---- The installation's own network ----

static bool Contains(std::string_view text, std::string_view fragment) {
  return text.find(fragment) != std::string_view::npos;
}

// deliberate: an empty fragment is kept, and being empty matches every requester
static bool AnyFragmentIn(std::string_view fragments, std::string_view name, std::string_view address) {
  for (;;) {
    const size_t comma = fragments.find(',');
    const std::string_view fragment = fragments.substr(0, comma);
    if (Contains(name, fragment) || Contains(address, fragment)) {
      return true;
    }
    if (comma == std::string_view::npos) {
      return false;
    }
    fragments.remove_prefix(comma + 1);
  }
}

bool LocalIP(const Settings& settings, const char* remote_host, const char* remote_addr) {
  if (settings.InternalIp[0] == '\0') {
    return false;
  }
  const bool by_name = IsIpAddr(remote_host) && !IpAddrsOnly(settings.InternalIp);
  char* resolved = by_name ? GetHostFromIP(remote_host) : nullptr;
  const bool local =
      AnyFragmentIn(settings.InternalIp, resolved != nullptr ? resolved : remote_host, remote_addr);
  free(resolved);
  return local;
}

// ---- The password file ----

static bool IsLineOf(std::string_view username, std::string_view line) {
  return BeginsWithIgnoreCase(line, username) && line.substr(username.size()).starts_with(':');
}

// Leaves the user's password in stored; false when no line is the user's. Lines
// come in pieces of at most 243 characters, and each piece is tested as a line.
static bool FindStoredPassword(TextFile& file, std::string_view username, char (&stored)[kTextSize]) {
  char piece[kTextSize];
  while (NextLine(file, piece, kPieces) > 0) {
    if (piece[0] == '#' || piece[0] == ';' || !IsLineOf(username, piece)) {
      continue;
    }
    const std::string_view password = std::string_view(piece).substr(username.size() + 1);
    CopyText(stored, password.substr(0, password.find_first_of(":\r\n")));
    return true;
  }
  return false;
}

// The whole stored text is the salt; crypt takes from it what its scheme needs.
static bool PasswordMatches(const char* typed, const char* stored) {
  if (strcmp(stored, "*") == 0 || EqualIgnoreCase(typed, stored)) {
    return true;
  }
  const char* hashed = crypt(typed, stored);
  return hashed != nullptr && EqualIgnoreCase(hashed, stored);
}

static Error AcceptIf(bool accepted) {
  return accepted ? kNoError : kErrorRejected;
}

Error VerifyPassword(const Settings& settings) {
  if (settings.UserPasswords[0] == '\0') {
    return kNoError;
  }
  // deliberate: always a path, the word "system" too
  TextFile file;
  if (!OpenTextFile(file, settings.UserPasswords)) {
    return kErrorPasswordFile;
  }
  char stored[kTextSize];
  const bool known = FindStoredPassword(file, settings.username, stored);
  CloseTextFile(file);
  return AcceptIf(known && PasswordMatches(settings.password_form, stored));
}

// ---- The session ----

// deliberate: the account line's password is compared ignoring case
static Error CheckPassword(const Settings& settings) {
  const std::string_view password = settings.password_account;
  if (password.empty()) {
    return VerifyPassword(settings);
  }
  return AcceptIf(password == "*" || EqualIgnoreCase(password, settings.password_form));
}

Error ValidateSession(const Environment& env, const Settings& settings) {
  return LocalIP(settings, env.REMOTE_HOST, env.REMOTE_ADDR) ? kNoError : CheckPassword(settings);
}

Refusal AdmitByPlainRules(bool account_found, Environment& env, const Settings& settings) {
  return {account_found ? ValidateSession(env, settings) : kErrorRejected};
}
