// What unpacks a format, as one loop sees it: a library, reached by a few functions of our own.
//
// The libraries are looked for when the first compressed log is met (base/library.h).
#pragma once

#include <cstddef>
#include <span>

#include "base/library.h"
#include "unpack/formats.h"

// How the unpacking of a file ended.
enum class UnpackEnd : unsigned char {
  kWhole,      // at the file's end, which is where the packed data ends, and all checks hold
  kDamaged,    // before: the file is cut, or something else than packed data, or cannot be read
  kNoMemory,   // the rest needs more than there is, or than kMostWindow
  kUnwanted,   // nobody takes the rest
  kNoLibrary,  // nothing was unpacked
  kBroken,     // whoever unpacked it is gone
};

inline constexpr size_t kMostWindow = size_t{128} << 20;  // bytes that a format may look back

// Where packed bytes are taken from, and unpacked ones put.
struct Piece {
  const unsigned char* in;
  size_t in_left;
  unsigned char* out;
  size_t out_left;
};

enum class Step {
  kGoOn,
  kMemberEnd,  // what follows, if anything, is another member (gzip), frame (zstd) or stream (xz, bzip2)
  kDamaged,
  kNoMemory,
};

struct Codec {
  PackFormat format;
  const char* library;  // by the name under which it is loaded
  // Loads the library; false when it, or one of the functions that are needed, is not there.
  bool (*load)();
  // The record of an unpacking; null without memory.
  void* (*open)();
  // Unpacks as much of the piece as there is room for.
  Step (*step)(void* state, Piece& piece);
  // Gets ready for another member.
  bool (*next)(void* state);
  void (*close)(void* state);
};

// Those that this build knows, of one format the better one first. Each stands in a file of its own, which
// is built where its library's header is.
std::span<const Codec* const> Codecs();
extern const Codec kGzipByIsal;
extern const Codec kGzipByZlib;
extern const Codec kZstd;
extern const Codec kXz;
extern const Codec kBzip2;
