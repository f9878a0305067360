// Writes a file anew in one step, so that others that read it meanwhile see the
// old content or the new one, never a part. A process that dies on the way leaves
// at most one temporary file behind, which the next one takes over.
#pragma once

#include <cstdio>

#include "base/text.h"

inline constexpr size_t kReplacementPathSize = 2 * kPathSize + 32;

struct FileReplacement {
  FILE* stream;  // takes the new content
  char path[kReplacementPathSize];
  char temporary[kReplacementPathSize + 8];  // empty when the file is written in place
  const char* head;                          // how the content begins
  int lock;                                  // holds the lock on the file that is written
};

// Opens a temporary file beside the file to replace. Where a new file could not
// take the old one's place unnoticed (it is a link, has links, or belongs to
// somebody else) and where none can be made, the old one itself is opened and
// emptied. False when that is not allowed either, for anything but a regular file,
// and while another process writes it; nothing has changed then, unless memory or
// descriptors ran out when the old one had been emptied already.
//
// A file for the user alone is never written in place: a link that stands there, hard or symbolic, may lead
// to anything, and is left alone. Nobody else may read what is written.
//
// The content begins with head, which is written here. In place, unfinished stands
// there until all the rest is written; it is as long as head.
enum class FileFor { kAll, kUserAlone };
bool BeginReplacement(FileReplacement& replacement, const char* path, const char* head = "",
                      const char* unfinished = "", FileFor whom = FileFor::kAll);

// Closes the stream and makes the new content the file's. When it could not be
// written completely, a temporary file is dropped and the old content stays. False then.
bool FinishReplacement(FileReplacement& replacement);
