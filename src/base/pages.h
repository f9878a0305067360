// The pages that memory is made of.
#pragma once

#include <cstddef>

inline constexpr size_t kLargePage = size_t{2} << 20;

// Of fresh memory that will soon be used: has what is large made of large pages, where the system does that,
// for of small ones one more would have to be looked up for nearly every record; and has small pages come all
// at once, not each when it is first touched. Nothing else depends on it.
void AskForPages(void* memory, size_t size);
