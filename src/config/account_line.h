// Takes a user account line of the configuration file apart.
//
// Inner header of this folder.
#pragma once

#include <string_view>

#include "cgi/settings.h"

// Replaced by the requester's user name in every item of an account line; written
// exactly so, in lower case.
inline constexpr std::string_view kUserToken = "%user%";

// Room for every item that fits in a line, however often it names the user.
inline constexpr size_t kAccountItemSize =
    kLineMax / kUserToken.size() * (sizeof(Settings::username) - 1) + kUserToken.size() + 1;

// Copies item into out with the user name in place of every kUserToken. Text that
// comes from the user name is not searched again. What exceeds out is dropped; a
// line of kLineMax characters never does.
void InsertUserName(char (&out)[kAccountItemSize], std::string_view item, std::string_view username);

// Applies every ";"-separated item of the line, the leading "user=" one included
// (it names no parameter), as a report parameter of the account.
void ParseUserData(std::string_view line, Settings& settings);
