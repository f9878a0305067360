#include "superlog/odd_request.h"

#include <algorithm>

// No scheme is called so. A connection that ended before a request came held none.
static std::string_view UrlOrError(std::string_view url) {
  constexpr std::string_view kNoneCame = "error:transaction-end-before-headers";
  const bool error = url.starts_with("error:") && url.find('/') == std::string_view::npos;
  return !error ? url : url == kNoneCame ? std::string_view{kNoRequest} : std::string_view{kNotHttp};
}

std::string_view UrlOrNoRequest(std::string_view url) {
  return url.empty() || url == "-" ? kNoRequest : UrlOrError(url);
}

// What stands before the URL and the space before it, back to what parts it from the field before it.
static std::string_view MethodBefore(const char* url, const char* line) {
  if (url - line < 2 || url[-1] != ' ') {
    return {};
  }
  const char* const end = url - 1;
  const char* begin = end;
  while (begin != line && begin[-1] >= 'A' && begin[-1] <= 'Z') {
    --begin;
  }
  const bool whole =
      begin == line || std::string_view("\"\t \0", 4).find(begin[-1]) != std::string_view::npos;
  return whole ? std::string_view(begin, end) : std::string_view{};
}

// Requests of the first HTTP name no protocol, and can only get.
static bool IsHttp(std::string_view method, const char* behind_url) {
  static constexpr std::string_view kProtocol = "HTTP/";
  return method == "GET" ||
         (!method.empty() && std::equal(kProtocol.begin(), kProtocol.end(), behind_url + 1));
}

std::string_view UrlOfOddRequest(std::string_view url, const char* line) {
  const std::string_view named = UrlOrNoRequest(url);
  if (HasNoUrl(named) || IsHttp(MethodBefore(url.data(), line), url.data() + url.size())) {
    return named;
  }
  return kNotHttp;
}
