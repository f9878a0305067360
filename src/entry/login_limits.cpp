#include "entry/login_limits.h"

#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <memory>
#include <new>
#include <span>

#include "dates/clock.h"

static constexpr std::size_t PlaceOfRefusal(std::uint32_t place) {
  return kRefusalsStart + place * sizeof(LoginRecord);
}
static constexpr std::size_t PlaceOfEntry(std::uint32_t place) {
  return kEntriesStart + place * sizeof(LoginRecord);
}

// ---- Records ----

// One kind of record, as read; absent when there is no memory or the file fails.
class Records {
 public:
  Records(int file, std::uint32_t count, std::size_t start)
      : records_(new (std::nothrow) LoginRecord[count]), count_(count) {
    if (records_ == nullptr) {
      errno = ENOMEM;
    } else if (!ReadAt(file, records_.get(), count * sizeof(LoginRecord), start)) {
      records_.reset();
    }
  }
  explicit operator bool() const { return records_ != nullptr; }
  std::span<LoginRecord> all() const { return {records_.get(), count_}; }

 private:
  std::unique_ptr<LoginRecord[]> records_;
  std::uint32_t count_;
};

// How old a record is: a free one is older than any other, then come those of the future.
static std::uint64_t AgeOf(const LoginRecord& record, std::int64_t now) {
  if (record.time == 0) {
    return UINT64_MAX;
  }
  if (record.time > now) {
    return UINT64_MAX - 1;
  }
  return static_cast<std::uint64_t>(now) - static_cast<std::uint64_t>(record.time);
}

static std::uint32_t OldestOf(std::span<const LoginRecord> records, std::int64_t now) {
  const auto older = [now](const LoginRecord& a, const LoginRecord& b) {
    return AgeOf(a, now) < AgeOf(b, now);
  };
  return static_cast<std::uint32_t>(std::max_element(records.begin(), records.end(), older) -
                                    records.begin());
}

static bool IsSamePair(const LoginRecord& a, const LoginRecord& b) {
  return a.visitor == b.visitor && a.account == b.account;
}

// ---- The limits ----

// Refusals of one kind by their age in seconds.
using ByAge = std::uint16_t[kLoginWindow];

struct Refusals {
  ByAge of_pair = {};
  ByAge of_visitor = {};
  ByAge of_account = {};
};

static Refusals CountRefusals(std::span<const LoginRecord> records, const LoginRecord& attempt) {
  Refusals refusals;
  for (const LoginRecord& record : records) {
    const bool visitor = record.visitor == attempt.visitor;
    const bool account = record.account == attempt.account;
    if (!visitor && !account) {
      continue;
    }
    const std::uint64_t age = AgeOf(record, attempt.time);
    if (age < kLoginWindow) {
      refusals.of_pair[age] += visitor && account;
      refusals.of_visitor[age] += visitor;
      refusals.of_account[age] += account;
    }
  }
  return refusals;
}

// Seconds until there are fewer refusals than the limit; 0 when there are.
static int WaitFor(const ByAge& refusals, int limit) {
  int newer = 0;
  for (int age = 0; age < kLoginWindow; ++age) {
    newer += refusals[age];
    if (newer >= limit) {
      return kLoginWindow - age;
    }
  }
  return 0;
}

// What a stranger waits for: that his own refusals age, or those of the account.
static int WaitOfStranger(const Refusals& refusals) {
  return std::min(WaitFor(refusals.of_pair, kRefusalsOfStranger),
                  WaitFor(refusals.of_account, kRefusalsOfAccount + 1));
}

static bool HasEntered(std::span<const LoginRecord> entries, const LoginRecord& attempt) {
  return std::any_of(entries.begin(), entries.end(), [&attempt](const LoginRecord& entry) {
    return entry.time != 0 && IsSamePair(entry, attempt);
  });
}

// Whether the entries could be read where they matter.
static bool WaitOf(const LoginAttempt& attempt, const Refusals& refusals, int& wait) {
  wait = std::max(WaitFor(refusals.of_pair, kRefusalsOfVisitorAndAccount),
                  WaitFor(refusals.of_visitor, kRefusalsOfVisitor));
  const int as_stranger = WaitOfStranger(refusals);
  if (as_stranger <= wait) {
    return true;
  }
  const Records entries(attempt.handle, kRememberedEntries, kEntriesStart);
  if (entries && !HasEntered(entries.all(), attempt.refusal)) {
    wait = as_stranger;
  }
  return static_cast<bool>(entries);
}

// ---- An attempt ----

// The file is locked when the clock is asked: of what others have written down, nothing lies in the future
// because this run was slow.
static LoginVerdict Decide(LoginAttempt& attempt, int& retry_after) {
  LoginFileHeader header;
  if (!ReadLoginHeader(attempt.handle, header)) {
    return LoginVerdict::kNoStore;
  }
  attempt.refusal = {.time = CurrentTime(),
                     .visitor = HashOfVisitor(header.key, attempt.visitor),
                     .account = HashOfAccount(header.key, attempt.account)};
  const Records refusals(attempt.handle, kRememberedRefusals, kRefusalsStart);
  if (!refusals || !WaitOf(attempt, CountRefusals(refusals.all(), attempt.refusal), retry_after)) {
    return LoginVerdict::kNoStore;
  }
  if (retry_after > 0) {
    return LoginVerdict::kTooMany;
  }
  attempt.place = OldestOf(refusals.all(), attempt.refusal.time);
  return WriteAt(attempt.handle, &attempt.refusal, sizeof attempt.refusal, PlaceOfRefusal(attempt.place))
             ? LoginVerdict::kTry
             : LoginVerdict::kNoStore;
}

LoginVerdict BeginLogin(LoginAttempt& attempt, int& retry_after) {
  retry_after = 0;
  attempt.handle = OpenLoginFile(attempt.file, true);
  if (attempt.handle < 0 || !TakeLoginLock(attempt.handle, LoginLock::kData, attempt.lock_wait)) {
    return LoginVerdict::kNoStore;
  }
  const LoginVerdict verdict = Decide(attempt, retry_after);
  const int reason = errno;
  DropLoginLock(attempt.handle, LoginLock::kData);
  errno = reason;
  return verdict;
}

// In the meantime the file may have been begun anew, or so many others refused that
// the place is another's.
static void TakeRefusalBack(const LoginAttempt& attempt) {
  LoginRecord found;
  const std::size_t place = PlaceOfRefusal(attempt.place);
  if (ReadAt(attempt.handle, &found, sizeof found, place) && found == attempt.refusal) {
    const LoginRecord none = {};
    WriteAt(attempt.handle, &none, sizeof none, place);
  }
}

static void RememberEntry(const LoginAttempt& attempt) {
  const Records entries(attempt.handle, kRememberedEntries, kEntriesStart);
  if (!entries) {
    return;
  }
  const auto all = entries.all();
  const auto same = std::find_if(all.begin(), all.end(), [&attempt](const LoginRecord& entry) {
    return IsSamePair(entry, attempt.refusal);
  });
  const std::uint32_t place = same != all.end() ? static_cast<std::uint32_t>(same - all.begin())
                                                : OldestOf(all, attempt.refusal.time);
  WriteAt(attempt.handle, &attempt.refusal, sizeof attempt.refusal, PlaceOfEntry(place));
}

void LoginSucceeded(const LoginAttempt& attempt) {
  if (attempt.handle < 0 || !TakeLoginLock(attempt.handle, LoginLock::kData, attempt.lock_wait)) {
    return;
  }
  LoginFileHeader header;
  if (ReadLoginHeader(attempt.handle, header)) {
    TakeRefusalBack(attempt);
    RememberEntry(attempt);
  }
  DropLoginLock(attempt.handle, LoginLock::kData);
}

bool TakeWaitingTurn(const LoginAttempt& attempt) {
  return attempt.handle >= 0 && TakeLoginLock(attempt.handle, LoginLock::kWaitingTurn, 0);
}

void EndLogin(LoginAttempt& attempt) {
  if (attempt.handle >= 0) {
    close(attempt.handle);
    attempt.handle = -1;
  }
}

// ---- Forgetting ----

static bool ForgetIn(int file, std::string_view account, const Address* visitor) {
  LoginFileHeader header;
  if (!ReadLoginHeader(file, header)) {
    return false;
  }
  const Records refusals(file, kRememberedRefusals, kRefusalsStart);
  if (!refusals) {
    return false;
  }
  const std::uint64_t of_account = HashOfAccount(header.key, account);
  const std::uint64_t of_visitor = visitor == nullptr ? 0 : HashOfVisitor(header.key, *visitor);
  for (LoginRecord& record : refusals.all()) {
    if ((account.empty() || record.account == of_account) &&
        (visitor == nullptr || record.visitor == of_visitor)) {
      record = {};
    }
  }
  return WriteAt(file, refusals.all().data(), refusals.all().size_bytes(), kRefusalsStart);
}

static bool ForgetLocked(int file, std::string_view account, const Address* visitor) {
  return TakeLoginLock(file, LoginLock::kData, kLockWait) && ForgetIn(file, account, visitor);
}

bool ForgetRefusals(const char* file, std::string_view account, std::string_view address) {
  Address visitor = {};
  if (!address.empty() && !ParseAddress(address, visitor)) {
    errno = EINVAL;
    return false;
  }
  visitor = NetworkOfVisitor(visitor);
  const int opened = OpenLoginFile(file, false);
  if (opened < 0) {
    return errno == ENOENT;
  }
  const bool forgotten = ForgetLocked(opened, account, address.empty() ? nullptr : &visitor);
  const int reason = errno;
  close(opened);
  errno = reason;
  return forgotten;
}
