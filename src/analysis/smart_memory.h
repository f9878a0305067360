// Smart memory: the bounded allocator behind the counting tables and the DNS
// cache's texts.
//
// At the budget, and when the system refuses memory, it reclaims: the rarest
// records of the longest table go, down to a minimum that each table keeps.
#pragma once

#include <cstddef>
#include <cstdint>

#include "cgi/settings.h"

struct ListInfo;
struct ListItem;

// Statistics in bytes; an item record counts 256. Never reset during a run; they
// wrap at 32 bits where figures are narrow.
extern int64_t gSM_TotalBytesAllocated;
extern int64_t gSM_CurrentBytesAllocated;
extern int64_t gSM_MaximumBytesAllocated;  // brought up to date by reclaims only
extern int64_t gSM_TotalBytesFreed;

// Takes the settings; called once at the start of an analysis, behind
// SetCountingLimits and before anything is counted.
// A budget below 500 KB means none; kilobytes times 1024 wrap at 32 bits where
// figures are narrow.
void smart_memory_init(const Settings& settings);

// Room of size bytes for an item record of info's table, to hang under parent
// (null for a top-level record, which is counted in info.entries). Counts as 256
// bytes. Null when memory is refused even after reclaims, until one frees nothing.
// With smart memory disabled a plain allocation that nothing counts.
void* smart_alloc(size_t size, ListInfo& info, const ListItem* parent);

// One reclaim: frees about the configured size and never the spared record
// (null: none). Returns the bytes that were freed.
int64_t smart_free(const ListItem* spared);

// Forgets what was allocated: no list holds a record.
void ForgetAllocations();

// Whether reclaims may take anything from now on; tells whether they might before. While they may not, what
// is allocated counts nowhere.
bool SetReclaiming(bool on);

// Has that called before the first reclaim, instead of it: for a process whose counts are of no use without
// what reclaims take. It does not return.
void EndInsteadOfReclaims(void (*end)());

// For what is kept beside the tables. The budget in bytes; 0: none.
int64_t MemoryBudget();

// To be called before anything of it is thrown away, which may not return, and what that has freed is noted.
void BeginToReclaim();
void NoteReclaimed(int64_t bytes);

// A copy of the text, or null for null and when memory is refused even after
// reclaims, before which queued keys are counted. Its buffer goes on for
// kScanOverread bytes. Released with free(). Not counted in the statistics.
char* smart_strdup(const char* text);
