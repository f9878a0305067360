// The log summary file: sizes and dates of an account's logs, kept beside them,
// so that a log whose size has not changed need not be opened to learn its
// dates.
//
// A text file: comment lines begin with "#", "!Version=" and "!Year0=" lines say
// what the rest is written in, every other line is an entry "size,first,last,path"
// with times in seconds since the epoch, without the GMT shift.
#pragma once

#include <cstddef>

#include "base/text.h"

// Room for a directory and a name of kPathSize each, and the extension.
inline constexpr size_t kSummaryPathSize = 2 * kPathSize + 8;

// Directory part of a path with its trailing "/"; empty when it has none.
void MakeDirWithSlash(char* dest, size_t capacity, const char* path);

// Summary name derived from the last part of a logs pattern: letters and digits
// stay, "*" becomes "s", "?" becomes "q", anything else "_". "summary" when the
// pattern has no "/" or ends with one.
void CreateDefaultSummaryName(char* dest, size_t capacity, const char* pattern);

// Path of the summary file: directory of the pattern, name, ".ORV". name is the
// summary setting, which must not be empty.
void CreateSummaryFileName(char* dest, size_t capacity, const char* pattern, const char* name);

// Loads the entries of the file into the log list, in state kFromSummary. A
// missing file yields none, nor does one that another process is writing; from a
// line that names another version or base year on the file is ignored. Numbers
// are not checked: a damaged entry is one that matches no log.
void ReadSummaryFile(const char* path);

// Replaces the file by the log list. Whatever fails, fails silently: the next
// run can always probe the logs again. The file changes in one step, because
// requests run in parallel, and a mixture of two writers' lines could give a log
// the right size with wrong dates.
void WriteSummaryFile(const char* path);
