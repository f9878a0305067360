// What a report calls a log, and what a field of its lines holds.
#pragma once

#include <cstddef>

#include "layouts/layout.h"

// As much as a name of a file can have.
inline constexpr size_t kLogNameSize = 256;

// The log's name without its folder: a report need not tell where logs lie. With linked_names, a log that is
// a symbolic link is called by the name of what it leads to, one link far.
void NameLog(char (&name)[kLogNameSize], const char* path, bool linked_names);

// A word for what a field holds: "time".
const char* WordFor(Field field);
