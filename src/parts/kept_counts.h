// Counts of blocks of logs, kept as parts in a folder between runs: of one block, or of several that follow
// each other in a reading.
//
// A file says what it holds: the fingerprint of the counting, but for the range, and the names of the blocks.
// It only saves time: what is missing, cannot be read or written, is damaged, holds something else, or was
// written by somebody else, is counted from the logs.
#pragma once

#include <cstdint>
#include <span>
#include <vector>

#include "analysis/analysis.h"
#include "analysis/rules.h"
#include "parts/fingerprint.h"
#include "parts/part_file.h"
#include "superlog/content_hash.h"
#include "superlog/log_store.h"

struct KeptCounts {
  const char* folder;
  const Rules& rules;
  Fingerprint fingerprint;
  ContentHash counting;  // of all that decides the counts
};

// False when the folder is not one that this user alone can write into.
bool OpenKeptCounts(const char* folder, const Rules& rules, const Analysis& analysis, KeptCounts& kept);

// What the files of the first block, of the first two, and so on, are called.
std::vector<ContentHash> NamesOfCounts(const KeptCounts& kept, std::span<const BlockName> blocks);

// Whether there is a file of that name.
bool AreKept(const KeptCounts& kept, const ContentHash& name);

// Writes down what was counted of the blocks. False when it cannot be.
bool KeepCounts(const KeptCounts& kept, std::span<const BlockName> blocks, const Analysis& analysis);

// Adds what is kept of the blocks. False when that is nothing that can be added; some of it may have been.
// Then it is removed: whoever asks next counts, and keeps, anew.
bool AddKept(const KeptCounts& kept, std::span<const BlockName> blocks, PartBytes& room, Analysis& analysis);

// Removes those that were used longest ago until the others take no more than so many bytes, and what a run
// that was killed has left.
void BoundKeptCounts(const char* folder, int64_t most);
