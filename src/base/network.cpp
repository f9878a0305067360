#include "base/network.h"

#include <arpa/inet.h>

#include <algorithm>
#include <charconv>
#include <cstring>

#include "base/text.h"

static constexpr std::array<std::uint8_t, 12> kMappedPrefix = {0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0xFF, 0xFF};
static constexpr int kMappedBits = 8 * kMappedPrefix.size();
static constexpr int kAllBits = 128;

bool IsIpv4(const Address& address) {
  return std::equal(kMappedPrefix.begin(), kMappedPrefix.end(), address.bytes.begin());
}

// ---- Addresses ----

static bool ParseIpv4(const char* text, Address& address) {
  std::array<std::uint8_t, 4> bytes;
  if (inet_pton(AF_INET, text, bytes.data()) != 1) {
    return false;
  }
  std::copy(kMappedPrefix.begin(), kMappedPrefix.end(), address.bytes.begin());
  std::copy(bytes.begin(), bytes.end(), address.bytes.begin() + kMappedPrefix.size());
  return true;
}

static bool ParseIpv6(const char* text, Address& address) {
  Address parsed;
  if (inet_pton(AF_INET6, text, parsed.bytes.data()) != 1) {
    return false;
  }
  address = parsed;
  return true;
}

bool ParseAddress(std::string_view text, Address& address) {
  const bool bracketed = text.size() > 2 && text.front() == '[' && text.back() == ']';
  const std::string_view bare = bracketed ? text.substr(1, text.size() - 2) : text;
  char copy[kAddressTextSize];
  if (CopyText(copy, bare) != bare.size()) {
    return false;  // too long, or with a NUL in it
  }
  return ParseIpv6(copy, address) || (!bracketed && ParseIpv4(copy, address));
}

static constexpr int kGroups = 8;

static unsigned GroupOf(const Address& address, int group) {
  const auto first = static_cast<size_t>(group) * 2;
  return address.bytes[first] * 256U + address.bytes[first + 1];
}

// Groups of an address, from first up to end.
struct Groups {
  int first;
  int end;
};

// The first of the longest rows of zeros.
static Groups FindZeros(const Address& address) {
  Groups longest{kGroups, kGroups};
  for (int first = 0; first < kGroups; ++first) {
    int end = first;
    while (end < kGroups && GroupOf(address, end) == 0) {
      ++end;
    }
    if (end - first > longest.end - longest.first) {
      longest = {first, end};
    }
  }
  return longest.end - longest.first > 1 ? longest : Groups{kGroups, kGroups};
}

// By hand: the library's own way costs more than reading a line of a log.
static void WriteIpv6(const Address& address, char (&text)[kAddressTextSize]) {
  const Groups zeros = FindZeros(address);
  char* end = text;
  for (int group = 0; group < kGroups; ++group) {
    if (group == zeros.first) {
      *end++ = ':';
      *end++ = ':';
      group = zeros.end - 1;
      continue;
    }
    if (group != 0 && group != zeros.end) {
      *end++ = ':';
    }
    end = std::to_chars(end, std::end(text), GroupOf(address, group), 16).ptr;
  }
  *end = '\0';
}

void WriteAddress(const Address& address, char (&text)[kAddressTextSize]) {
  if (IsIpv4(address)) {
    inet_ntop(AF_INET, address.bytes.data() + kMappedPrefix.size(), text, sizeof text);
  } else {
    WriteIpv6(address, text);
  }
}

// ---- Networks ----

// A number of bits: digits alone.
static bool ParseBits(std::string_view text, int most, int& bits) {
  const char* const end = text.data() + text.size();
  const bool digits = !text.empty() && std::all_of(text.begin(), text.end(), IsDigitAscii);
  const auto [stopped, error] = std::from_chars(text.data(), end, bits);
  return digits && error == std::errc() && stopped == end && bits <= most;
}

bool ParseNetwork(std::string_view text, Network& network) {
  const size_t slash = text.find('/');
  const std::string_view written = text.substr(0, slash);
  Network parsed{.address = {}, .bits = kAllBits};
  if (!ParseAddress(written, parsed.address)) {
    return false;
  }
  const int before = written.find(':') == std::string_view::npos ? kMappedBits : 0;
  if (slash != std::string_view::npos) {
    if (!ParseBits(text.substr(slash + 1), kAllBits - before, parsed.bits)) {
      return false;
    }
    parsed.bits += before;
  }
  network = parsed;
  return true;
}

bool IsInNetwork(const Address& address, const Network& network) {
  if (network.bits < kMappedBits && IsIpv4(address)) {
    return false;
  }
  const size_t whole = static_cast<size_t>(network.bits) / 8;
  const int mask = 0xFF00 >> (network.bits % 8);  // its low eight bits are those of the byte behind
  return memcmp(address.bytes.data(), network.address.bytes.data(), whole) == 0 &&
         (whole == address.bytes.size() ||
          ((address.bytes[whole] ^ network.address.bytes[whole]) & mask & 0xFF) == 0);
}

// ---- Lists ----

std::string_view WithoutBlanks(std::string_view text) {
  static constexpr std::string_view kBlanks = " \t";
  const size_t first = text.find_first_not_of(kBlanks);
  return first == std::string_view::npos ? ""
                                         : text.substr(first, text.find_last_not_of(kBlanks) - first + 1);
}

bool NextListItem(std::string_view& list, std::string_view& item) {
  while (!list.empty()) {
    const size_t comma = list.find(',');
    item = WithoutBlanks(list.substr(0, comma));
    list.remove_prefix(comma == std::string_view::npos ? list.size() : comma + 1);
    if (!item.empty()) {
      return true;
    }
  }
  return false;
}

bool IsInNetworks(const Address& address, std::string_view networks) {
  std::string_view item;
  while (NextListItem(networks, item)) {
    Network network;
    if (ParseNetwork(item, network) && IsInNetwork(address, network)) {
      return true;
    }
  }
  return false;
}

Address FirstBits(const Address& address, int bits) {
  Address network = address;
  for (int byte = bits / 8; byte < kAllBits / 8; ++byte) {
    const int kept = byte == bits / 8 ? bits % 8 : 0;
    network.bytes[byte] &= static_cast<std::uint8_t>(0xFF00 >> kept);
  }
  return network;
}

Address NetworkOfVisitor(const Address& address) {
  return IsIpv4(address) ? address : FirstBits(address, 64);
}
