// Unpacks one file, from its first byte to its last.
#pragma once

#include "unpack/codec.h"

// Reads packed bytes from one file descriptor and writes the unpacked ones to another, in the memory that the
// codec takes and two buffers, however large either file is. The codec's library must have been loaded. What
// is unpacked before something goes wrong is written. Members may follow each other without end, with NULs
// between them; an empty file is whole.
UnpackEnd UnpackFile(const Codec& codec, int from, int to);
