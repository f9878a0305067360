#include "entry/network.h"

#include <arpa/inet.h>

#include <algorithm>
#include <charconv>
#include <cstring>

#include "base/text.h"

static constexpr std::array<std::uint8_t, 12> kMappedPrefix = {0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0xFF, 0xFF};
static constexpr int kMappedBits = 8 * kMappedPrefix.size();
static constexpr int kAllBits = 128;

static bool IsIpv4(const Address& address) {
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

void WriteAddress(const Address& address, char (&text)[kAddressTextSize]) {
  const std::uint8_t* const bytes = address.bytes.data();
  if (IsIpv4(address)) {
    inet_ntop(AF_INET, bytes + kMappedPrefix.size(), text, sizeof text);
  } else {
    inet_ntop(AF_INET6, bytes, text, sizeof text);
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

Address NetworkOfVisitor(const Address& address) {
  Address network = address;
  if (!IsIpv4(address)) {
    std::fill(network.bytes.begin() + 8, network.bytes.end(), std::uint8_t{0});
  }
  return network;
}
