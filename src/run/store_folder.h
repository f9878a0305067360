// Where what is known of logs, and what was counted of them, is kept between runs.
#pragma once

#include "base/text.h"
#include "cgi/settings.h"

// The folder of the store (superlog/log_store.h): what the variable ORVELLIS_CACHE names, where it is set;
// otherwise of a shell the user's own folder, $XDG_CACHE_HOME/orvellis or ~/.cache/orvellis, which is made
// when it is missing, and of a web server kWebStore, which is not. Empty when there is none, and where the
// path is too long.
inline constexpr const char* kWebStore = "/var/cache/orvellis";
void ChooseStore(char (&folder)[kPathSize], bool from_shell);

// Makes a folder of what was said of kept counts (Settings::part_cache), or nothing: "1" is that of the
// store. From a shell a folder that is missing is made, for its owner alone, where its parent is there. A run
// that reads logs whole and has no other store knows of logs what is kept there.
void SettlePartCache(Settings& settings, bool from_shell);
