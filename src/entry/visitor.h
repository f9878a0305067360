// Who sends the request: the address that the web server names, or behind proxies of
// the installation's own the address that these tell.
#pragma once

#include "base/network.h"
#include "cgi/settings.h"

struct Visitor {
  bool known;  // false: the web server names no address, and address is ::
  Address address;
};

// The visitor of the request: REMOTE_ADDR, unless that is one of the trusted proxies, a
// list of networks. Then the header X-Forwarded-For tells, from its end, of the visitor and the
// proxies in between: its last address that is not a trusted proxy's, or where an
// entry is no address, or none is left, the one that was told before.
Visitor FindVisitor(const Environment& env, std::string_view trusted_proxies);

// The same, and lets REMOTE_ADDR name the visitor, so that nobody who asks later, the error log first
// of all, takes the proxy for one. What is no address stays there.
void MeetVisitor(Environment& env, std::string_view trusted_proxies);
