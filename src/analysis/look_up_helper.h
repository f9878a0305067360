// The process that asks for the names of addresses, many at once: one for a run.
//
// A thread for each question that is under way waits for the system's resolver. The process is started before
// the run gives up what it does not need, and gives up itself all but what look-ups read and name servers. It
// gets addresses and never a text of a log; and a name server's answer meets nothing of the run but
// the characters of a name.
#pragma once

#include <netdb.h>
#include <sys/types.h>

#include <cstddef>
#include <cstdint>

#include "base/network.h"

inline constexpr size_t kMostAtOnce = 64;        // questions under way
inline constexpr size_t kLongestHostName = 253;  // as DNS has it

struct LookUpQuestion {
  std::uint32_t number;  // of the asker's choice
  Address address;
};

enum class LookUpOutcome : std::uint8_t {
  kNamed,
  kNameless,    // also where the answer is no name of a host
  kUnanswered,  // nobody knows: no name server answered, or there is none
};

struct LookUpAnswer {
  std::uint32_t number;
  LookUpOutcome outcome;
  char name[kLongestHostName + 1];  // in lower case; empty: none
};

// Takes what a resolver has said for a name, in lower case: letters, digits, "-", "_" and ".", with a letter
// behind the last dot, and nothing that reads as a part of an IPv4 address when it is cut to its domain.
// False for any other text, and a longer one.
bool TakeHostName(const char* text, char (&name)[kLongestHostName + 1]);

// The system's resolver, unless a test has another one.
extern int (*mpGetName)(const sockaddr* address, socklen_t size, char* name, socklen_t name_size,
                        char* service, socklen_t service_size, int flags);

// Answers the questions that come through the socket, in any order, until its other end is closed or the
// parent gone. Never returns.
[[noreturn]] void ServeLookUps(int socket, pid_t parent);
