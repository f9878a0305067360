// What the configuration holds as an account's password.
#pragma once

#include "cgi/settings.h"

enum class StoredPassword {
  kFound,       // a hash, or what stands in its place
  kNone,        // neither the account's line nor the password file has one
  kUnreadable,  // it would stand in the password file, which cannot be opened: errno tells why
};

// Leaves the stored text of the account settings.username in stored: that of its line, or
// else that of its first line "name:text" in the password file, the name compared
// ignoring case, whatever follows another ":" left out. A text that is longer than
// stored is cut, and no hash then.
StoredPassword FindStoredPassword(const Settings& settings, char (&stored)[kTextSize]);
