// What the configuration says about accounts and their passwords.
#pragma once

#include <string>
#include <string_view>

#include "cgi/settings.h"

// The configuration of the installation that this program belongs to.
std::string InstalledConfiguration();

// Whether an account can be called so; says a sentence when not. Names have 1 to 99
// bytes without ":", ";", "/" and control characters, and begin with neither "#" nor a
// blank.
bool IsAccountName(std::string_view name);

// Reads the configuration as a request for the account does; found tells whether it has
// the account. False, after a sentence, when it cannot be read.
bool ReadConfiguration(const std::string& path, std::string_view account, Settings& settings, bool& found);

// Prints a line for each account of the configuration: its name, and what kind of password
// it has. password_file takes the place of the configuration's, unless it is empty. False,
// after a sentence, when a file cannot be read.
bool ListAccounts(const std::string& configuration, const std::string& password_file);
