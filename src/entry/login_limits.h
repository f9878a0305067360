// How often a password may be guessed.
//
// Every run of the program counts in one file of fixed size (login_file.h), as a
// run serves one request and knows nothing of the others. Within any ten minutes
// there are
//
//   10 refusals for one visitor and one account,
//    3 of them when the account had more than 100 refusals from all visitors
//      together, unless the visitor has entered this account before: guesses from
//      everywhere stop, and nobody locks out who knows the password,
//   50 refusals for one visitor over all accounts, whether they exist or not.
//
// A visitor is what NetworkOfVisitor says: an IPv4 address, or a /64 of IPv6. The
// window slides: a refusal counts for exactly 600 seconds. An attempt that the
// limits turn away does not count. Times are seconds of CurrentTime, above 0, and of the moment when the
// attempt has its turn at the file; a refusal that lies in the future, because the clock was set back,
// counts no more. Accounts are compared ignoring the case of ASCII letters.
//
// The file remembers 16,384 refusals and 4,096 visitors with the account that they
// entered; the oldest are forgotten first. To be refused so often within ten minutes
// takes more than 300 addresses.
//
// A file that is missing or empty is begun; one that was damaged is begun anew when it
// still bears the magic of its kind, which forgets all. Anything else (a folder, a
// pipe, a link, a file of another make, no right to write, a full disk when the file
// is to be begun, 10 s without getting the lock) is kNoStore: nothing was counted,
// and the caller decides.
#pragma once

#include <cstdint>
#include <string_view>

#include "base/network.h"
#include "entry/login_file.h"

inline constexpr int kLoginWindow = 600;  // seconds
inline constexpr int kRefusalsOfVisitorAndAccount = 10;
inline constexpr int kRefusalsOfVisitor = 50;
inline constexpr int kRefusalsOfAccount = 100;  // from all visitors; with more, strangers have fewer tries
inline constexpr int kRefusalsOfStranger = 3;

// Milliseconds. A run holds the lock for microseconds, but one that the system lets wait
// meanwhile holds it for as long; and who gets no lock is not counted, which nobody
// shall bring about by asking often.
inline constexpr int kLockWait = 10000;

// One attempt. The caller fills the first three, which must stay as they are until
// EndLogin, and hands the visitor's network over.
struct LoginAttempt {
  const char* file;
  Address visitor;
  std::string_view account;
  int lock_wait = kLockWait;
  int handle = -1;          // the opened file
  std::uint32_t place = 0;  // of the refusal that was written down
  LoginRecord refusal = {};
};

enum class LoginVerdict { kTry, kTooMany, kNoStore };

// Looks at the limits and, when the attempt may be made, writes it down as a refusal
// at once, so that guesses made side by side count, and one that is cut off does. The
// file is locked no longer than that. retry_after: seconds until an attempt would be
// let through if nothing else happened, 1 to 600, for kTooMany; else 0. errno tells
// why there is kNoStore. Whatever the verdict, EndLogin ends the attempt.
LoginVerdict BeginLogin(LoginAttempt& attempt, int& retry_after);

// The password was right: takes the refusal back that BeginLogin wrote down, that one
// only, and remembers that this visitor entered this account. Only after kTry. Where
// the file cannot be used any more the refusal stays.
void LoginSucceeded(const LoginAttempt& attempt);

// True when no other run has the waiting turn, and this one has it now, until
// EndLogin or its end. Never waits. False, too, when the file cannot be used.
bool TakeWaitingTurn(const LoginAttempt& attempt);

// Closes the file. May be called more than once.
void EndLogin(LoginAttempt& attempt);

// Forgets the refusals of an account, of an address (a text; its whole network), or
// of one at the other when both are given; of all when both are empty. Who entered
// accounts before stays remembered. A file that is missing holds none, and is not
// made. False: errno tells; EINVAL when the address is none.
bool ForgetRefusals(const char* file, std::string_view account, std::string_view address);
