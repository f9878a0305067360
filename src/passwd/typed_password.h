// The new password, as somebody types it or as a script hands it over.
#pragma once

#include "base/text.h"

inline constexpr size_t kPasswordMax = kTextMax;  // bytes; more than that a form cannot hand over

using Password = char[kPasswordMax + 1];

// Asks for it twice on the terminal that standard input is, without showing it; or, where
// it is none or from_script says so, reads the first line of standard input. False, after
// a sentence: both differ, there is none, it is empty or too long, or holds control
// characters. What ends the program on the way leaves the terminal as it was.
bool TakePassword(std::string_view account, bool from_script, Password& password);

// Overwrites it.
void ForgetPassword(Password& password);
