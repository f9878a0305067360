#include "analysis/smart_memory.h"
#include <cstring>
int32_t gSM_TotalBytesAllocated = 0;
int32_t gSM_CurrentBytesAllocated = 0;
int32_t gSM_MaximumBytesAllocated = 0;
int32_t gSM_TotalBytesFreed = 0;
void smart_memory_init(const Settings&) {}
char* smart_strdup(const char* text) { return text == nullptr ? nullptr : strdup(text); }
