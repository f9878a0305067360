// The log summary file: sizes and dates of an account's logs, kept beside them.
#pragma once

#include <cstddef>

// Directory part of a path with its trailing "/"; empty when it has none.
void MakeDirWithSlash(char* dest, size_t capacity, const char* path);

// Summary name derived from a logs pattern, "summary" when it has no "/".
void CreateDefaultSummaryName(char* dest, size_t capacity, const char* pattern);

// Path of the summary file: directory of the pattern, name, ".ORV". name is the
// summary setting, which must not be empty.
void CreateSummaryFileName(char* dest, size_t capacity, const char* pattern, const char* name);

// Loads the entries of the file into the log list. A missing file, and one of
// another version, yield none.
void ReadSummaryFile(const char* path);

// Replaces the file by the log list; a file that cannot be written is left out
// silently, because the next run can always probe the logs again.
void WriteSummaryFile(const char* path);
