// Lists of networks, and the visitor whom proxies tell. The input's lines are the list of
// networks, the address of the peer, and what the proxies tell.
#include <arpa/inet.h>

#include <vector>

#include "entry/visitor.h"
#include "support.h"

// ---- The same, read plainly ----

static bool PlainAddress(const std::string& text, Address& address) {
  const bool bracketed = text.size() > 2 && text.front() == '[' && text.back() == ']';
  const std::string bare = bracketed ? text.substr(1, text.size() - 2) : text;
  if (bare.find('\0') != std::string::npos) {
    return false;
  }
  const std::string wide = bare.find(':') != std::string::npos ? bare : bracketed ? "" : "::ffff:" + bare;
  // "::ffff:" may not make an address of hexadecimal digits.
  const bool dotted = bare.find(':') == std::string::npos;
  uint8_t four[4];
  return (!dotted || inet_pton(AF_INET, bare.c_str(), four) == 1) &&
         inet_pton(AF_INET6, wide.c_str(), address.bytes.data()) == 1;
}

static std::vector<std::string> PlainItems(std::string_view list) {
  std::vector<std::string> items;
  for (bool more = true; more;) {
    more = list.find(',') != std::string_view::npos;
    std::string item(TakePart(list, ','));
    item.erase(0, item.find_first_not_of(" \t"));
    item.erase(item.find_last_not_of(" \t") + 1);
    items.push_back(item);
  }
  return items;
}

static bool PlainIsIn(const Address& address, std::string item) {
  const size_t slash = item.find('/');
  const std::string bits = slash == std::string::npos ? "" : item.substr(slash + 1);
  const std::string text = item.substr(0, slash);
  Address network{};
  if (!PlainAddress(text, network)) {
    return false;
  }
  const int before = text.find(':') == std::string::npos ? 96 : 0;
  int count = 128;
  if (slash != std::string::npos) {
    if (bits.empty() || bits.find_first_not_of("0123456789") != std::string::npos) {
      return false;
    }
    const double number = strtod(bits.c_str(), nullptr);
    if (number > 128 - before) {
      return false;
    }
    count = before + static_cast<int>(number);
  }
  static constexpr char kIpv4[] = "\0\0\0\0\0\0\0\0\0\0\xFF\xFF";
  if (count < 96 && memcmp(address.bytes.data(), kIpv4, 12) == 0) {
    return false;
  }
  for (int n = 0; n < count; ++n) {
    if (((address.bytes[n / 8] ^ network.bytes[n / 8]) >> (7 - n % 8) & 1) != 0) {
      return false;
    }
  }
  return true;
}

static bool PlainIsInAny(const Address& address, std::string_view networks) {
  const std::vector<std::string> items = PlainItems(networks);
  return std::any_of(items.begin(), items.end(),
                     [&](const std::string& item) { return PlainIsIn(address, item); });
}

// With its port cut off, where it can have one.
static bool PlainEntry(const std::string& entry, Address& address) {
  const size_t colon = entry.rfind(':');
  if (PlainAddress(entry, address)) {
    return true;
  }
  if (colon == std::string::npos || colon + 1 == entry.size() ||
      entry.find_first_not_of("0123456789", colon + 1) != std::string::npos) {
    return false;
  }
  const std::string host = entry.substr(0, colon);
  const bool may_have_port = host.find(':') == std::string::npos || host.front() == '[';
  return may_have_port && PlainAddress(host, address);
}

static Address PlainVisitor(const Address& peer, std::string_view told, std::string_view networks) {
  Address visitor = peer;
  const std::vector<std::string> entries = PlainItems(told);
  for (auto entry = entries.rbegin(); entry != entries.rend() && PlainIsInAny(visitor, networks); ++entry) {
    Address next{};
    if (!PlainEntry(*entry, next)) {
      break;
    }
    visitor = next;
  }
  return visitor;
}

// ---- Both ----

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  std::string_view input = AsText(data, size);
  const std::string_view networks = TakePart(input);
  Environment env = {};
  CopyText(env.REMOTE_ADDR, TakePart(input));
  CopyText(env.HTTP_X_FORWARDED_FOR, TakePart(input));
  Address peer{};
  const bool known = PlainAddress(env.REMOTE_ADDR, peer);
  const Visitor visitor = FindVisitor(env, networks);
  REQUIRE(visitor.known == known);
  if (!known) {
    return 0;
  }
  REQUIRE(IsInNetworks(peer, networks) == PlainIsInAny(peer, networks));
  REQUIRE(visitor.address == PlainVisitor(peer, env.HTTP_X_FORWARDED_FOR, networks));
  char text[kAddressTextSize];
  Address again{};
  WriteAddress(visitor.address, text);
  REQUIRE(ParseAddress(text, again) && again == visitor.address);
  return 0;
}
