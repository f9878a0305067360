// The search engines and assistants of today, in the form that ParseSearchEngineDefinition
// reads. Few of them still say what was looked for.
#pragma once

#include <cstddef>
#include <string_view>

inline constexpr size_t kEngineOfTodayCount = 37;

extern const std::string_view kEnginesOfToday[kEngineOfTodayCount];
