#include "entry/stored_password.h"

#include "base/text_file.h"

static bool IsLineOf(std::string_view username, std::string_view line) {
  return !username.empty() && BeginsWithIgnoreCase(line, username) && line[0] != '#' && line[0] != ';' &&
         line.substr(username.size()).starts_with(':');
}

static bool FindInFile(TextFile& file, std::string_view username, char (&stored)[kTextSize]) {
  char line[kLineMax + 1];
  while (NextLine(file, line, kWholeLines) > 0) {
    if (IsLineOf(username, line)) {
      const std::string_view text = std::string_view(line).substr(username.size() + 1);
      CopyText(stored, text.substr(0, text.find(':')));
      return true;
    }
  }
  return false;
}

StoredPassword FindStoredPassword(const Settings& settings, char (&stored)[kTextSize]) {
  CopyText(stored, settings.stored_password);
  if (stored[0] != '\0') {
    return StoredPassword::kFound;
  }
  if (settings.UserPasswords[0] == '\0') {
    return StoredPassword::kNone;
  }
  TextFile file;
  if (!OpenTextFile(file, settings.UserPasswords)) {
    return StoredPassword::kUnreadable;
  }
  const bool found = FindInFile(file, settings.username, stored);
  CloseTextFile(file);
  return found ? StoredPassword::kFound : StoredPassword::kNone;
}
