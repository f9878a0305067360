#include "analysis/normalise.h"

#include <algorithm>
#include <bit>

#include "base/text.h"
#include "superlog/byte_scan.h"

static constexpr std::string_view kNullHost = "(null)";  // an absent host as some servers write it
static constexpr std::string_view kMsie = "MSIE";

bool IsIpAddr(std::string_view text) {
  constexpr int32_t kLargestOctet = 255;
  uint32_t octet = 0;
  int dots = 0;
  text.remove_prefix(std::min(text.find_first_not_of(' '), text.size()));
  for (const char c : text) {
    if (IsDigitAscii(c)) {
      octet = octet * 10 + static_cast<uint32_t>(c - '0');
    } else if (c == '.') {
      // deliberate: the last octet, which no dot ends, may exceed 255, and an octet may be empty
      if (static_cast<int32_t>(octet) > kLargestOctet || ++dots > 3) {
        return false;
      }
      octet = 0;
    } else if (c == ' ') {
      break;
    } else {
      return false;
    }
  }
  return dots == 3;
}

bool IpAddrsOnly(std::string_view text) {
  return std::all_of(text.begin(), text.end(),
                     [](char c) { return IsDigitAscii(c) || c == '.' || c == ',' || c == ';'; });
}

std::string_view TruncateDomain(std::string_view host, int n) {
  if (host == kNullHost) {
    return host.substr(0, 0);
  }
  int dots = 0;
  for (size_t at = host.size(); n > 0 && at > 0; --at) {
    if (host[at - 1] == '.' && ++dots == n) {
      return host.substr(at);
    }
  }
  return host;
}

std::string_view WithoutPort(std::string_view site) {
  const size_t port = site.find_last_not_of("0123456789");
  const bool is_port = port != std::string_view::npos && port + 1 < site.size() && site[port] == ':' &&
                       (site.find(':') == port || site[port - 1] == ']');
  return is_port ? site.substr(0, port) : site;
}

std::string_view TruncateLSD(std::string_view host) {
  const size_t first = host.find('.');
  if (first == std::string_view::npos || host.find('.', first + 1) == std::string_view::npos) {
    return host;
  }
  return host.substr(first + 1);
}

[[gnu::cold]] static std::string_view TruncateLongIP(std::string_view address) {
  size_t dot = address.find('.');
  for (int more = 2; more > 0 && dot != std::string_view::npos; --more) {
    dot = address.find('.', dot + 1);
  }
  return address.substr(0, dot);
}

std::string_view TruncateIP(std::string_view address) {
  constexpr size_t kSeen = 64;  // bytes that are looked at at once
  if (address.size() - 1 >= kSeen) {
    return TruncateLongIP(address);
  }
  uint64_t dots = MatchMask64(address.data(), '.');
  dots &= dots - 1;
  dots &= dots - 1;
  return dots == 0 ? address : address.substr(0, static_cast<size_t>(std::countr_zero(dots)));
}

std::string_view TruncateAt(std::string_view url, char end_mark) {
  const char* const end = FindEither(url.data(), url.data() + url.size(), '?', end_mark);
  return {url.data(), static_cast<size_t>(end - url.data())};
}

std::string_view TruncateCGI(std::string_view url) {
  return TruncateAt(url, '"');
}

std::string_view TruncateFileType(std::string_view url) {
  url = url.substr(0, url.find('?'));
  for (size_t at = url.size(); at > 0 && url[at - 1] != '/'; --at) {
    if (url[at - 1] == '.') {
      return url.substr(at - 1);
    }
  }
  return url.substr(0, 0);
}

// As a key, it is read beyond its end.
static constexpr char kUnknown[kScanOverread + 7] = "UNKNOWN";

std::string_view checkIP(std::string_view label) {
  if (label.empty() || std::any_of(label.begin(), label.end(), IsLetterAscii)) {
    return label;
  }
  return {kUnknown, 7};
}

std::string_view TypeOfDomain(std::string_view domain) {
  return checkIP(TruncateDomain(domain, 1));
}

std::string_view TypeOfDomainOrNetwork(std::string_view domain) {
  return domain.ends_with("::/48") ? std::string_view{kUnknown, 7} : TypeOfDomain(domain);
}

bool MSIE(std::string_view agent) {
  if (!ContainsText(agent, kMsie)) {
    return false;
  }
  size_t at = 0;
  while ((at = agent.find(kMsie.front(), at)) != std::string_view::npos) {
    ++at;
    size_t matched = 1;
    // deliberate: a character that breaks the match is used up, so "MMSIE" is not recognised
    while (at < agent.size() && agent[at++] == kMsie[matched]) {
      if (++matched == kMsie.size()) {
        return true;
      }
    }
  }
  return false;
}
