// Reading compressed files as if they were not: what is unpacked comes from another process
// (unpack/chunks.h), while it is read.
//
// A process reads one such file at a time. Its helper (unpack/helper.h) is file-scope state.
#pragma once

#include <cstddef>

#include "unpack/codec.h"

// Starts so many helpers, one for each process that will read, as far as they are not there. To be called
// before the process gives up starting others; who does not is served as long as it has not.
inline constexpr size_t kMostUnpackers = 257;
void StartUnpacking(size_t count = 1);

// Lets processes that this one starts from now on be served, too.
void LendUnpackers();

// Has this process served by the helper of that number from now on; by the first one at first.
void UseUnpacker(size_t number);

// Begins to unpack an open file from its start; false when there is nobody to unpack it. The file may be
// closed at once.
bool OpenUnpacked(int file, PackFormat format);

// Reads on in what is unpacked of it: so many bytes, fewer only at the end.
size_t ReadUnpacked(char* dst, size_t size);

// Waits until nobody unpacks the file any more: the end, kUnwanted when it was not read to its own. To be
// called before the next one is opened.
UnpackEnd CloseUnpacked();

// Ends the helper, if it is there, and waits for it.
void StopUnpacking();

// The name under which the library for a format is looked for, of several the first; null when this
// build knows none.
const char* LibraryFor(PackFormat format);
