#include "superlog/request_words.h"

#include <algorithm>

#include "base/text.h"

std::string_view MethodOfRequest(std::string_view request) {
  const std::string_view method = request.substr(0, request.find(' '));
  const bool path = method.size() == request.size() && method.starts_with('/');
  return method.empty() || method == "-" || path ? std::string_view{} : method;
}

static bool IsProtocol(std::string_view word) {
  const size_t slash = word.find('/');
  if (slash == 0 || slash >= word.size() - 1) {
    return false;
  }
  const std::string_view version = word.substr(slash + 1);
  return std::all_of(word.begin(), word.begin() + static_cast<ptrdiff_t>(slash), IsLetterAscii) &&
         IsDigitAscii(version[0]) && version.find_first_not_of("0123456789.") == std::string_view::npos;
}

// The quote behind a request stays with it where a line ends too early.
std::string_view ProtocolOfRequest(std::string_view request) {
  request.remove_suffix(request.ends_with('"') ? 1 : 0);
  const size_t first = request.find(' ');
  const size_t last = request.rfind(' ');
  if (first == last) {
    return {};
  }
  const std::string_view word = request.substr(last + 1);
  return IsProtocol(word) ? word : std::string_view{};
}
