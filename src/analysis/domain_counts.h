// What visitors' hosts count as: domains and domain types.
#pragma once

#include <cstdlib>
#include <string_view>

#include "analysis/analysis.h"
#include "analysis/rules.h"
#include "base/network.h"
#include "superlog/superlog.h"

// The visitor's host on its way through the steps.
struct Visitor {
  std::string_view host;
  const Address* ipv6;   // what the host is; null: something else
  char* name = nullptr;  // the resolved name that host may lie in

  explicit Visitor(const SuperLogRecord& record) : host(record.host), ipv6(record.ipv6) {}
  Visitor(const Visitor&) = delete;
  Visitor& operator=(const Visitor&) = delete;
  ~Visitor() {
    if (name != nullptr) {
      free(name);
    }
  }
};

// As much of a resolved name as of a logged one.
std::string_view KeptOfHost(const Rules& rules, std::string_view host);

// Puts the host's name in place of a numeric address; false when there is none.
bool ResolveHost(const Rules& rules, Visitor& visitor, Analysis& analysis);

// Counts a host in the reports of domains that the rules ask for; as an address, where names are looked up
// afterwards. The host becomes what it was cut to.
void CountDomain(const Rules& rules, Visitor& visitor, Analysis& analysis);

// Looks up the addresses that were counted, those of the most requests first, and counts each as its name, or
// as an address where none is known when the time is over. Which were counted is forgotten.
void NameAddresses(const Rules& rules, Analysis& analysis);
