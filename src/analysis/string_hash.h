// Bob Jenkins' 1996 string hash (lookup2) and a small direct-mapped table on it.
#pragma once

#include <cstddef>
#include <cstdint>

uint32_t hash(const void* key, size_t length, uint32_t initial);
