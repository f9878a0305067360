// The frame of the report page: head, header table, jump bar, footer.
#pragma once

#include <cstdint>

#include "cgi/settings.h"
#include "superlog/super_long.h"

void PrintHead(const Settings& settings);
void DisplayHeader(const Settings& settings, int32_t hits, SuperLong bytes);
void OutputJumpBar(const Settings& settings);
void PrintFooter(const Settings& settings);
void OutputBaseTag(const Settings& settings, const Environment& env);
