#include "entry/admission.h"

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <ctime>

#include "dates/clock.h"
#include "entry/login_limits.h"
#include "entry/password_hash.h"
#include "entry/stored_password.h"
#include "entry/visitor.h"
#include "report/error_page.h"

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
    "no such account",
    "no password rule",
    "not signed on",
    "password not hashed",
    "password file cannot be read",
    "wrong password",
    "too many refusals",
};

// ---- The error log ----

static constexpr size_t kVisibleSize = 4 * sizeof(Settings::username);
static constexpr size_t kVisitorTextSize = 2 * kVisibleSize;

// What the web server says, where it is no address: it can be anything.
static void WriteVisitor(const Entry& entry, char (&text)[kVisitorTextSize]) {
  char address[kAddressTextSize];
  if (!entry.visitor.known) {
    const std::string_view said = entry.env.REMOTE_ADDR;
    CopyVisible(text, sizeof text, said.empty() ? "-" : said);
    return;
  }
  WriteAddress(entry.visitor.address, address);
  size_t length = CopyText(text, address);
  if (entry.visitor.through_proxy) {
    length += CopyText(text + length, sizeof text - length, " through ");
    CopyVisible(text + length, sizeof text - length, entry.env.REMOTE_ADDR);
  }
}

// What more there is to say of a reason: the command that mends it, or the system's words.
static void WriteRemedy(const char* account, Reason reason, char (&text)[2 * kVisibleSize]) {
  text[0] = '\0';
  if (reason == kNotHashed) {
    snprintf(text, sizeof text, ": orvellis-passwd \"%s\" mends it", account);
  } else if (reason == kNoPasswordFile) {
    snprintf(text, sizeof text, ": %s", strerror(errno));
  }
}

static void LogRefusal(const Entry& entry, Reason reason) {
  char visitor[kVisitorTextSize];
  char account[kVisibleSize];
  char remedy[2 * kVisibleSize];
  CopyVisible(account, sizeof account, entry.settings.username);
  WriteRemedy(account, reason, remedy);
  WriteVisitor(entry, visitor);
  char line[kVisitorTextSize + 2 * kVisibleSize + sizeof remedy];
  snprintf(line, sizeof line, "%s \"%s\" refused: %s%s", visitor, account, kReasonWords[reason], remedy);
  LogError(entry.settings, line);
}

static void LogBadNetworks(const Settings& settings, const char* key, std::string_view networks) {
  std::string_view item;
  while (NextListItem(networks, item)) {
    Network network;
    if (!ParseNetwork(item, network)) {
      char visible[kVisibleSize];
      char line[sizeof visible + 100];
      CopyVisible(visible, sizeof visible, item);
      snprintf(line, sizeof line, "%s: \"%s\" is neither an address nor a network, and matches nobody", key,
               visible);
      LogError(settings, line);
    }
  }
}

static void LogNoStore(const Settings& settings, int reason) {
  char visible[4 * kPathSize];
  char line[sizeof visible + 100];
  CopyVisible(visible, sizeof visible, settings.LoginLimits);
  snprintf(line, sizeof line, "LoginLimits: \"%s\" cannot be used: %s", visible, strerror(reason));
  LogError(settings, line);
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

// Spends the time of a hash in any case; errno tells why the password file cannot be read.
static Reason CheckPassword(const Entry& entry) {
  const Settings& settings = entry.settings;
  char stored[kTextSize];
  const StoredPassword found = FindStoredPassword(settings, stored);
  const int error = errno;
  if (entry.account_found && found == StoredPassword::kFound && KindOfHash(stored) == HashKind::kHash) {
    return PasswordMatches(settings.typed_password, stored) ? kNoReason : kWrongPassword;
  }
  SpendHashTime(settings.typed_password);
  errno = error;
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
static Refusal RefuseInASecond(LoginAttempt& attempt, LoginVerdict verdict, const timespec& answer_at) {
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
    LogNoStore(entry.settings, errno);
  }
  const Reason reason = CheckPassword(entry);
  if (reason == kNoReason) {
    LoginSucceeded(attempt);
    return {};
  }
  LogRefusal(entry, reason);
  return RefuseInASecond(attempt, verdict, answer_at);
}

static Refusal TryToLogIn(const Entry& entry) {
  const Settings& settings = entry.settings;
  LoginAttempt attempt{.file = settings.LoginLimits,
                       .visitor = NetworkOfVisitor(entry.visitor.address),
                       .account = settings.username,
                       .now = CurrentTime()};
  const Refusal refusal = Decide(entry, attempt);
  EndLogin(attempt);
  return refusal;
}

static Refusal CheckOwnUser(const Entry& entry) {
  const Reason reason = CheckPassword(entry);
  if (reason == kNoReason) {
    return {};
  }
  LogRefusal(entry, reason);
  return {kErrorRejected};
}

Refusal Admit(bool account_found, const Environment& env, const Settings& settings) {
  const Entry entry{account_found, env, settings, FindVisitor(env, settings.TrustedProxies)};
  LogBadNetworks(settings, "InternalIp", settings.internal_networks);
  LogBadNetworks(settings, "TrustedProxies", settings.TrustedProxies);
  if (!NeedsPassword(entry)) {
    return {};
  }
  return env.command_line != 0 ? CheckOwnUser(entry) : TryToLogIn(entry);
}
