// Changing the password file.
#pragma once

#include <string>
#include <string_view>

enum class Change {
  kDone,
  kNothingThere,  // no line to be deleted
  kFailed,        // a sentence was said, and the old file is as it was
};

// The content with "account:hash" in place of the first line of the account, all its
// other lines left out, whatever their case; at its end when there was none. Without a
// hash (a null view) all its lines are left out. Every other byte stays.
std::string ReplaceLines(std::string_view content, std::string_view account, std::string_view hash);

// The same in a file: a new one is written beside it, PATH.new, and takes its place
// when every byte is on the disk. It has the owner, group, mode and access list of the old one; one
// that root makes anew belongs to root and the group www-data, mode 0640. A link is
// followed, and the file that it leads to replaced. Others that change the file are waited
// for, at most a minute. Files of more than 16 MB are refused.
Change ChangePassword(const std::string& path, std::string_view account, std::string_view hash);
