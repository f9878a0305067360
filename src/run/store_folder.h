// Where what is known of logs is kept between runs.
#pragma once

#include "base/text.h"

// The folder of the store (superlog/log_store.h): what the variable ORVELLIS_CACHE names, where it is set;
// otherwise of a shell the user's own folder, $XDG_CACHE_HOME/orvellis or ~/.cache/orvellis, which is made
// when it is missing, and of a web server kWebStore, which is not. Empty when there is none, and where the
// path is too long.
inline constexpr const char* kWebStore = "/var/cache/orvellis";
void ChooseStore(char (&folder)[kPathSize], bool from_shell);
