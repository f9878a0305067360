#include "config/account_line.h"

#include "cgi/parameters.h"

// Appends text at out + length and returns the new length.
static size_t Append(char (&out)[kAccountItemSize], size_t length, std::string_view text) {
  CopyText(out + length, kAccountItemSize - length, text);
  return length + text.size();
}

void InsertUserName(char (&out)[kAccountItemSize], std::string_view item, std::string_view username) {
  size_t length = 0;
  for (size_t token; (token = item.find(kUserToken)) != std::string_view::npos;) {
    length = Append(out, length, item.substr(0, token));
    length = Append(out, length, username);
    item.remove_prefix(token + kUserToken.size());
  }
  Append(out, length, item);
}

void ParseUserData(std::string_view line, Settings& settings) {
  char item[kAccountItemSize];
  for (;;) {
    const size_t end = line.find(';');
    InsertUserName(item, line.substr(0, end), settings.username);
    CompareParam(item, settings, ParamSource::kAccount, kLevelAccount);
    if (end == std::string_view::npos) {
      return;
    }
    line.remove_prefix(end + 1);
  }
}
