#include "analysis/domain_counts.h"

#include <algorithm>
#include <array>
#include <utility>

#include "analysis/look_ups.h"
#include "analysis/normalise.h"
#include "superlog/byte_scan.h"

// ---- While records stream through ----

std::string_view KeptOfHost(const Rules& rules, std::string_view host) {
  return host.substr(0, rules.longest_item);
}

static bool IsNumeric(const Visitor& visitor) {
  return visitor.ipv6 != nullptr || IsIpAddr(visitor.host);
}

bool ResolveHost(const Rules& rules, Visitor& visitor, Analysis& analysis) {
  if (!IsNumeric(visitor)) {
    return false;
  }
  visitor.name = rules.name_of(visitor.host.data(), analysis.look_ups);
  if (visitor.name == nullptr) {
    return false;
  }
  visitor.host = visitor.name;
  visitor.ipv6 = nullptr;
  return true;
}

static void CountPartOfHost(CountedReport& report, const Visitor& visitor, std::string_view part) {
  if (visitor.name == nullptr) {
    CountItem(report, part, false);
  } else {
    CountCopy(report, part);
  }
}

// What is given to one customer of a network, as "2001:db8:1::/48".
static constexpr char kBehindNetwork[] = "/48";
using NetworkText = char[kAddressTextSize + sizeof kBehindNetwork + kScanOverread];

static std::string_view WriteNetwork(const Address& address, NetworkText& network) {
  constexpr int kBits = 48;
  char text[kAddressTextSize];
  WriteAddress(FirstBits(address, kBits), text);
  const size_t length = CopyText(network, text);
  return {network, length + CopyText(network + length, sizeof kBehindNetwork, kBehindNetwork)};
}

static std::string_view TypeOfAddress() {
  return checkIP("0");
}

static void CountIpv6Network(const Rules& rules, const Address& address, Analysis& analysis) {
  if (rules.domains) {
    NetworkText network;
    CountCopy(analysis.domains, WriteNetwork(address, network));
  }
  if (rules.domain_types) {
    CountItem(analysis.domaintypes, TypeOfAddress(), false);
  }
}

static std::string_view DomainOf(std::string_view host) {
  return IPaddress(host) ? TruncateIP(host) : TruncateLSD(host);
}

// Each is one of the requests that the shares of both reports are of.
static void CountAddress(const Rules& rules, std::string_view address, Analysis& analysis) {
  CountItem(analysis.addresses, address, false);
  analysis.domains.total += rules.domains ? 1 : 0;
  analysis.domaintypes.total += rules.domain_types ? 1 : 0;
}

void CountDomain(const Rules& rules, Visitor& visitor, Analysis& analysis) {
  if (rules.dns == DnsMode::kDomainReportsOnly) {
    ResolveHost(rules, visitor, analysis);
  } else if (rules.dns == DnsMode::kAfterwards && IsNumeric(visitor)) {
    CountAddress(rules, visitor.host, analysis);
    return;
  }
  if (visitor.ipv6 != nullptr) {
    CountIpv6Network(rules, *visitor.ipv6, analysis);
    return;
  }
  if (rules.domains) {
    visitor.host = DomainOf(KeptOfHost(rules, visitor.host));
    CountPartOfHost(analysis.domains, visitor, visitor.host);
  }
  if (rules.domain_types) {
    // deliberate: from the host as the domains report has shortened it
    CountPartOfHost(analysis.domaintypes, visitor, TypeOfDomain(visitor.host));
  }
}

// ---- When all are counted ----

// An address whose name is asked for.
struct Asked {
  bool waits;
  Address address;
  KeyCount requests;
};

// All that is under way, by the number of its question.
struct Questions {
  const Rules& rules;
  Analysis& analysis;
  std::array<Asked, kMostAtOnce> asked{};
  size_t waiting = 0;
};

// As what a request from it counts; the totals have it already.
static void AddRequests(const Questions& questions, std::string_view domain, std::string_view type,
                        const KeyCount& requests) {
  Analysis& analysis = questions.analysis;
  if (questions.rules.domains) {
    add_items(analysis.domains.list, analysis.domains.info, domain, requests);
  }
  if (questions.rules.domain_types) {
    add_items(analysis.domaintypes.list, analysis.domaintypes.info, type, requests);
  }
}

static void AddHost(const Questions& questions, std::string_view host, const KeyCount& requests) {
  const std::string_view domain = DomainOf(host);
  AddRequests(questions, domain, TypeOfDomain(questions.rules.domains ? domain : host), requests);
}

// Hosts are cut by scans that read on behind their ends.
static void AddCopyOfHost(const Questions& questions, const char* host, const KeyCount& requests) {
  char copy[kLongestHostName + 1 + kScanOverread];
  const size_t length = CopyText(copy, kLongestHostName + 1, host);
  AddHost(questions, {copy, length}, requests);
}

static void AddAsAddress(const Questions& questions, const Asked& asked) {
  if (IsIpv4(asked.address)) {
    char text[kAddressTextSize];
    WriteAddress(asked.address, text);
    AddCopyOfHost(questions, text, asked.requests);
    return;
  }
  NetworkText network;
  AddRequests(questions, WriteNetwork(asked.address, network), TypeOfAddress(), asked.requests);
}

static void LeaveOut(Questions& questions, const Asked& asked) {
  LookUpFigures& figures = questions.analysis.look_ups;
  ++(LookUpsAreOver() ? figures.left_out : figures.unanswered);
  AddAsAddress(questions, asked);
}

// Takes the answer to a question, whose place is free then.
static void TakeAnswer(Questions& questions, const LookUpAnswer& answer) {
  Asked& asked = questions.asked[answer.number % kMostAtOnce];
  if (!asked.waits) {
    return;
  }
  asked.waits = false;
  --questions.waiting;
  if (answer.outcome == LookUpOutcome::kNamed) {
    AddCopyOfHost(questions, answer.name, asked.requests);
    return;
  }
  questions.analysis.look_ups.unanswered += answer.outcome == LookUpOutcome::kUnanswered ? 1 : 0;
  AddAsAddress(questions, asked);
}

static void GiveUpWaiting(Questions& questions) {
  for (Asked& asked : questions.asked) {
    if (asked.waits) {
      asked.waits = false;
      LeaveOut(questions, asked);
    }
  }
  questions.waiting = 0;
}

static void WaitForOne(Questions& questions) {
  LookUpAnswer answer;
  if (NextAnswer(answer)) {
    TakeAnswer(questions, answer);
  } else {
    GiveUpWaiting(questions);
  }
}

static void Ask(Questions& questions, const Asked& asked) {
  ++questions.analysis.look_ups.addresses;
  if (questions.waiting == kMostAtOnce) {
    WaitForOne(questions);
  }
  auto* const free = std::find_if(questions.asked.begin(), questions.asked.end(),
                                  [](const Asked& other) { return !other.waits; });
  const auto number = static_cast<uint32_t>(free - questions.asked.begin());
  if (!AskForName({number, asked.address})) {
    LeaveOut(questions, asked);
    return;
  }
  *free = asked;
  ++questions.waiting;
}

// What memory reclaims took from the addresses is missing from the reports of domains.
static void TakeReclaimsOver(const Rules& rules, Analysis& analysis) {
  const int32_t reclaimed = std::exchange(analysis.addresses.info->reclaimed, 0);
  analysis.domains.info->reclaimed += rules.domains ? reclaimed : 0;
  analysis.domaintypes.info->reclaimed += rules.domain_types ? reclaimed : 0;
}

// Each address leaves the table before it is asked for, so that none is taken from there meanwhile.
void NameAddresses(const Rules& rules, Analysis& analysis) {
  Questions questions{rules, analysis};
  List& list = analysis.addresses.list;
  char host[kLongestItem + 1 + kScanOverread];
  Asked asked{.waits = true, .address = {}, .requests = {}};
  SortList(list);
  while (take_first(list, *analysis.addresses.info, host, kLongestItem + 1, asked.requests)) {
    if (ParseAddress(host, asked.address)) {
      Ask(questions, asked);
    } else {
      AddHost(questions, host, asked.requests);
    }
  }
  while (questions.waiting > 0) {
    WaitForOne(questions);
  }
  destroy(list);
  TakeReclaimsOver(rules, analysis);
}
