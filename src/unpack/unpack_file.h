// Unpacks one file, from its first byte to its last.
#pragma once

#include <span>

#include "unpack/codec.h"

// Whoever takes unpacked bytes.
struct Taker {
  void* context;
  // Room for more, never none.
  std::span<unsigned char> (*room)(void* context);
  // Takes what the room was filled with, from its beginning; false when nobody takes any more.
  bool (*take)(void* context, size_t filled);
};

// Reads packed bytes from a file descriptor and hands over the unpacked ones, in the memory that the codec
// takes, a buffer and the taker's room, however large the file is. The codec's library must have been loaded.
// What is unpacked before something goes wrong is handed over. Members may follow each other without end,
// with NULs between them; an empty file is whole.
UnpackEnd UnpackFile(const Codec& codec, int from, const Taker& taker);
