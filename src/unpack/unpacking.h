// Reading compressed files as if they were not: what is unpacked comes through a pipe, while it is read.
//
// A process reads one such file at a time. Its helper (unpack/helper.h) is file-scope state.
#pragma once

#include "unpack/codec.h"

// Starts the helper, if it is not there. To be called before the process gives up starting others; who
// does not is served as long as it has not.
void StartUnpacking();

// Begins to unpack an open file from its start. Returns the pipe through which its bytes come, or -1 when
// there is nobody to unpack it. The file may be closed at once.
int OpenUnpacked(int file, PackFormat format);

// Closes the pipe and waits until nobody unpacks the file any more: the end, kUnwanted when the pipe was not
// read to its own.
UnpackEnd CloseUnpacked(int pipe);

// Ends the helper, if it is there, and waits for it.
void StopUnpacking();

// The name under which the library for a format is looked for, of several the first; null when this
// build knows none.
const char* LibraryFor(PackFormat format);
