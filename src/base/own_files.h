// Files and folders that nobody but this user can have written.
#pragma once

#include <sys/stat.h>

// Whether it is a folder of this user's, no link, into which no other user (but root) can write.
bool IsOwnFolder(const char* path);

// Opens a regular file of this user's for reading that no other can write and that has no other name, and
// tells of it; -1 when it is none. Links are not followed, and nothing waits.
int OpenOwnFile(const char* path, struct stat& info);
