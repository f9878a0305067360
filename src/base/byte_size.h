// Sizes as people write them: "500000", "64K", "64m", "1G", "2T".
#pragma once

#include <cstdint>
#include <optional>
#include <string_view>

// In bytes, by powers of 1024. More than 64 bits hold is UINT64_MAX; what is no size is none.
std::optional<uint64_t> ByteSize(std::string_view text);
