#include "entry/admission.h"

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <ctime>

#include "entry/login_limits.h"
#include "entry/password_hash.h"
#include "entry/stored_password.h"
#include "entry/visitor.h"
#include "report/refusal_log.h"

// A request to be let in.
struct Entry {
  bool account_found;
  const Environment& env;
  const Settings& settings;
  Visitor visitor;
};

enum Reason {
  kNoReason,
  kNoAccount,
  kNoPasswordRule,
  kNotSignedOn,
  kNotHashed,
  kNoPasswordFile,
  kWrongPassword,
  kTooManyRefusals,
};

// What the error log says of each.
static constexpr const char* kReasonWords[] = {
    "",
    "refused: no such account",
    "refused: no password rule",
    "refused: not signed on",
    "refused: password not hashed, which is mended by",
    "refused: password file cannot be read:",
    "refused: wrong password",
    "refused: too many refusals",
};

// ---- The error log ----

// error: the system's, where there is one.
static void LogRefusal(const Entry& entry, Reason reason, int error = 0) {
  const Settings& settings = entry.settings;
  char detail[kTextSize] = "";
  if (reason == kNotHashed) {
    snprintf(detail, sizeof detail, "orvellis-passwd %s", settings.username);
  } else if (reason == kNoPasswordFile) {
    CopyText(detail, strerror(error));
  }
  LogRequest(entry.env, settings, kReasonWords[reason], detail);
}

static void LogBadNetworks(const Entry& entry, const char* key, std::string_view networks) {
  std::string_view item;
  while (NextListItem(networks, item)) {
    Network network;
    if (!ParseNetwork(item, network)) {
      char sentence[kTextSize];
      char bad[kTextSize];
      snprintf(sentence, sizeof sentence, "%s holds what is no network and matches nobody:", key);
      CopyText(bad, item);
      LogRequest(entry.env, entry.settings, sentence, bad);
    }
  }
}

static void LogNoStore(const Entry& entry, int error) {
  const char* const file = entry.settings.LoginLimits;
  char sentence[kTextSize] = "is not counted, as LoginLimits is not set";
  if (file[0] != '\0') {
    snprintf(sentence, sizeof sentence,
             "is not counted (%s), as LoginLimits cannot be used:", strerror(error));
  }
  LogRequest(entry.env, entry.settings, sentence, file);
}

// ---- Who needs no password ----

static bool IsNamed(std::string_view names, std::string_view user) {
  std::string_view name;
  while (NextListItem(names, name)) {
    if (name == user || name == "*") {
      return true;
    }
  }
  return false;
}

static bool IsSignedOn(const Environment& env, const Settings& settings) {
  return env.AUTH_TYPE[0] != '\0' && env.REMOTE_USER[0] != '\0' && IsNamed(settings.signon, env.REMOTE_USER);
}

static bool NeedsPassword(const Entry& entry) {
  const Settings& settings = entry.settings;
  const bool inside = entry.visitor.known && IsInNetworks(entry.visitor.address, settings.internal_networks);
  const bool open = strcmp(settings.stored_password, "*") == 0;
  return !entry.account_found || !(open || inside || IsSignedOn(entry.env, settings));
}

// ---- The password ----

static Reason ReasonWithoutHash(const Settings& settings, StoredPassword found, const char* stored) {
  if (found == StoredPassword::kUnreadable) {
    return kNoPasswordFile;
  }
  if (found == StoredPassword::kFound && KindOfHash(stored) == HashKind::kPlain) {
    return kNotHashed;
  }
  return settings.signon[0] != '\0' ? kNotSignedOn : kNoPasswordRule;
}

// Spends the time of a hash in any case. error: why the password file cannot be read.
static Reason CheckPassword(const Entry& entry, int& error) {
  const Settings& settings = entry.settings;
  char stored[kTextSize];
  const StoredPassword found = FindStoredPassword(settings, stored);
  error = errno;
  if (entry.account_found && found == StoredPassword::kFound && KindOfHash(stored) == HashKind::kHash) {
    return PasswordMatches(settings.typed_password, stored) ? kNoReason : kWrongPassword;
  }
  SpendHashTime(settings.typed_password);
  return entry.account_found ? ReasonWithoutHash(settings, found, stored) : kNoAccount;
}

// ---- Counting and waiting ----

static timespec SecondFromNow() {
  timespec moment{};
  clock_gettime(CLOCK_MONOTONIC, &moment);
  ++moment.tv_sec;
  return moment;
}

static void WaitUntil(const timespec& moment) {
  while (clock_nanosleep(CLOCK_MONOTONIC, TIMER_ABSTIME, &moment, nullptr) == EINTR) {
  }
}

// One refusal waits at a time, so that waiting ones do not take the server's places. Where that
// cannot be told, each waits.
static Refusal RefuseInASecond(const LoginAttempt& attempt, LoginVerdict verdict, const timespec& answer_at) {
  if (verdict == LoginVerdict::kTry && !TakeWaitingTurn(attempt)) {
    return {kErrorLimited, 1};
  }
  WaitUntil(answer_at);
  return {kErrorRejected};
}

static Refusal Decide(const Entry& entry, LoginAttempt& attempt) {
  const timespec answer_at = SecondFromNow();
  int retry_after = 0;
  const LoginVerdict verdict = BeginLogin(attempt, retry_after);
  if (verdict == LoginVerdict::kTooMany) {
    LogRefusal(entry, kTooManyRefusals);
    return {kErrorLimited, retry_after};
  }
  if (verdict == LoginVerdict::kNoStore) {
    LogNoStore(entry, errno);
  }
  int error = 0;
  const Reason reason = CheckPassword(entry, error);
  if (reason != kNoReason) {
    LogRefusal(entry, reason, error);
    return RefuseInASecond(attempt, verdict, answer_at);
  }
  if (verdict == LoginVerdict::kTry) {
    LoginSucceeded(attempt);
  }
  return {};
}

static Refusal TryToLogIn(const Entry& entry) {
  const Settings& settings = entry.settings;
  LoginAttempt attempt{.file = settings.LoginLimits,
                       .visitor = NetworkOfVisitor(entry.visitor.address),
                       .account = settings.username};
  const Refusal refusal = Decide(entry, attempt);
  EndLogin(attempt);
  return refusal;
}

static Refusal CheckOwnUser(const Entry& entry) {
  int error = 0;
  const Reason reason = CheckPassword(entry, error);
  if (reason == kNoReason) {
    return {};
  }
  LogRefusal(entry, reason, error);
  return {kErrorRejected};
}

static Entry EntryOf(bool account_found, const Environment& env, const Settings& settings) {
  Visitor visitor{.known = false, .address = {}};
  visitor.known = ParseAddress(env.REMOTE_ADDR, visitor.address);
  return {account_found, env, settings, visitor};
}

bool NeedsPassword(bool account_found, const Environment& env, const Settings& settings) {
  return NeedsPassword(EntryOf(account_found, env, settings));
}

Refusal Admit(bool account_found, const Environment& env, const Settings& settings) {
  const Entry entry = EntryOf(account_found, env, settings);
  LogBadNetworks(entry, "InternalIp", settings.internal_networks);
  LogBadNetworks(entry, "TrustedProxies", settings.TrustedProxies);
  if (!NeedsPassword(entry)) {
    return {};
  }
  return env.command_line != 0 ? CheckOwnUser(entry) : TryToLogIn(entry);
}
