// The built-in search engine definitions, in the form that
// ParseSearchEngineDefinition reads.
#pragma once

#include <cstddef>
#include <string_view>

inline constexpr size_t kDefaultEngineCount = 34;

extern const std::string_view kDefaultEngines[kDefaultEngineCount];
