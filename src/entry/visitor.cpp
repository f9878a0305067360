#include "entry/visitor.h"

// An entry of the header: an address, behind which a port may stand.
static bool ParseEntry(std::string_view entry, Address& address) {
  if (ParseAddress(entry, address)) {
    return true;
  }
  const size_t colon = entry.rfind(':');
  if (colon == std::string_view::npos) {
    return false;
  }
  const std::string_view host = entry.substr(0, colon);
  const std::string_view port = entry.substr(colon + 1);
  const bool digits = port.find_first_not_of("0123456789") == std::string_view::npos;
  const bool apart = host.ends_with(']') || host.find(':') == std::string_view::npos;
  return apart && digits && !port.empty() && ParseAddress(host, address);
}

static std::string_view TakeLastEntry(std::string_view& list) {
  const size_t comma = list.rfind(',');
  const std::string_view entry = comma == std::string_view::npos ? list : list.substr(comma + 1);
  list = list.substr(0, comma == std::string_view::npos ? 0 : comma);
  return WithoutBlanks(entry);
}

Visitor FindVisitor(const Environment& env, std::string_view trusted_proxies) {
  Visitor visitor{.known = false, .address = {}};
  visitor.known = ParseAddress(env.REMOTE_ADDR, visitor.address);
  if (!visitor.known) {
    return visitor;
  }
  std::string_view told = env.HTTP_X_FORWARDED_FOR;
  while (IsInNetworks(visitor.address, trusted_proxies) && ParseEntry(TakeLastEntry(told), visitor.address)) {
  }
  return visitor;
}

Visitor MeetVisitor(Environment& env, std::string_view trusted_proxies) {
  const Visitor visitor = FindVisitor(env, trusted_proxies);
  if (visitor.known) {
    char text[kAddressTextSize];
    WriteAddress(visitor.address, text);
    CopyText(env.REMOTE_ADDR, text);
  }
  return visitor;
}
