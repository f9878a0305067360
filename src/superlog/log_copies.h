// Logs that hold the same under two names.
#pragma once

#include <string_view>

#include "superlog/log_list.h"

// Notes of each log of the list (log_list.h) that an earlier one holds the same bytes: its original. Of
// logs that are no plain files, are empty or cannot be read none is noted. Only what has the size of another
// is opened, and only what begins like it is read, once.
void FindCopies();

// Of a compressed log that was opened, and the first bytes of what is in it: whether another one may hold the
// same, which is read as it stands or was opened before.
bool MayBeUnpackedCopy(LogFile& log, std::string_view beginning);

// Notes of such a log, which is closed, that another one holds what is in it; then true. Unpacks both, as
// far as they are compressed. No log is open meanwhile.
bool FindUnpackedCopy(LogFile& log);
