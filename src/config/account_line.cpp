#include "config/account_line.h"

#include "cgi/parameters.h"

void InsertUserName(char (&out)[kAccountItemSize], std::string_view item, std::string_view username) {
  size_t length = 0;
  const auto append = [&](std::string_view text) {
    length += CopyText(out + length, kAccountItemSize - length, text);
  };
  for (size_t token; (token = item.find(kUserToken)) != std::string_view::npos;) {
    append(item.substr(0, token));
    append(username);
    item.remove_prefix(token + kUserToken.size());
  }
  append(item);
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
