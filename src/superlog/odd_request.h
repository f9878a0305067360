// Requests that have no URL: connections that were closed before a request came, and what
// came from programs that do not speak HTTP.
#pragma once

#include <string_view>

#include "superlog/byte_scan.h"

// What is counted in place of their URL. A request in a log has no blank in its URL, so that
// none can be taken for one of them.
inline constexpr char kNoRequest[sizeof "(no request)" + kScanOverread] = "(no request)";
inline constexpr char kNotHttp[sizeof "(not HTTP)" + kScanOverread] = "(not HTTP)";

// The URL of a whole request, "GET /a HTTP/1.0", that does not begin with "/": as it stands where
// the request is one of HTTP (the address that a proxy is asked for, "*", a host with a port, a word);
// else one of the above. url: what was cut out of the request (TrimFullRequest), which lies in the line from
// line on.
std::string_view UrlOfOddRequest(std::string_view url, const char* line);

// The same where a layout has the URL by itself: anything may be one but nothing, "-", and what Squid writes
// in its place: "error:" and a reason.
std::string_view UrlOrNoRequest(std::string_view url);

// Whether the view is what one of the two has put in place of a URL, perhaps cut.
inline bool HasNoUrl(std::string_view url) {
  return url.data() == kNoRequest || url.data() == kNotHttp;
}
