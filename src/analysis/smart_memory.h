// Smart memory: the bounded allocator behind the counting tables and the DNS
// cache's texts.
#pragma once

#include <cstddef>
#include <cstdint>

#include "cgi/settings.h"

struct ListInfo;
struct ListItem;

// Statistics in bytes; an item record counts 256. Never reset during a run.
extern int32_t gSM_TotalBytesAllocated;
extern int32_t gSM_CurrentBytesAllocated;
extern int32_t gSM_MaximumBytesAllocated;
extern int32_t gSM_TotalBytesFreed;

// Takes the settings; called once at the start of an analysis, before any list.
void smart_memory_init(const Settings& settings);

// A copy of the text, or null for null and when memory is refused even after
// one reclaim. Released with free(). Not counted in the statistics.
char* smart_strdup(const char* text);
