// What the reading of a log that several processes share has told, put together for the store.
#pragma once

#include <string>
#include <vector>

#include "base/part_bytes.h"
#include "superlog/content_hash.h"
#include "superlog/log_store.h"

// What one of them has read.
struct ReadStretch {
  std::string path;
  KnownLog known;                    // its blocks, and the size up to which the log was read
  std::vector<ContentHash> windows;  // of those that nobody has read before
};

// Chooses the key under which they hash, before they part.
void BeginDividing();
const ContentKey& KeyOfDividedLogs();

// Notes what this process has read.
void NoteStretch(ReadStretch stretch);

// Writes all down that was noted, and notes it in another process of the same program, in the order of the
// stretches.
void SaveStretches(PartWriter& part);
bool AddStretches(PartReader& part);

// Keeps the logs of which all stretches were noted, and which nobody has changed meanwhile.
void KeepDividedLogs();
