// Which matches of the log patterns count, and which are opened to learn their
// dates. Inner header of this folder; superlog.h has the rest of the discovery.
#pragma once

#include "superlog/log_list.h"

// False for an empty name, "." and "..".
bool FileIsntDots(const char* name);

// False when the list knows the file with its present size: its entry is then
// marked as seen and its dates stand.
bool FileShouldBeScanned(const LogFile& found);
