// Logs that hold the same under two names.
#pragma once

// Notes of each log of the list (log_list.h) that an earlier one holds the same bytes: its original. Of
// logs that are no plain files, are empty or cannot be read none is noted. Only what has the size of another
// is opened, and only what begins like it is read, once.
void FindCopies();
