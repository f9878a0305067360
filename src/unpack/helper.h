// The process that unpacks: one for a run, which starts a child for each file.
//
// It is started before the run counts anything, and before it gives up what it does not need, so that it is
// small and may load libraries. With the first file it gives up all files and nearly all system calls itself.
// A child can do nothing but read the packed file, write into the pipe and the chunks, and take memory: what
// a file does to the library that unpacks it ends there.
#pragma once

#include <sys/types.h>

#include "unpack/codec.h"

// What goes to the helper: the format, with the file and the pipe's end for writing of notes
// (unpack/chunks.h) as its two descriptors. Its answer is an UnpackEnd, once the child is gone.
struct UnpackRequest {
  PackFormat format;
  int from;
  int to;
};

// Serves the requests that come through the socket, whose files are unpacked into these chunks, until nobody
// sends any more or the process that started it is gone. Never returns.
[[noreturn]] void ServeUnpacking(int socket, pid_t parent, unsigned char* chunks);

// Sends a request; false when the helper is gone. The descriptors stay the sender's own.
bool SendRequest(int socket, const UnpackRequest& request);
