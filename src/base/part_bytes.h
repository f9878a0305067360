// Figures and texts as the bytes of a part, the same on every machine, and back.
//
// A figure takes seven bits a byte, the lowest first; every byte but its last has the highest bit set. One
// that may be below 0 is written as twice its distance from 0, less one where it is below. A text is its
// length in bytes and these bytes.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>

// Takes the bytes in the order in which they are written, some thousands at a time.
struct PartSink {
  void* context;
  void (*take)(void* context, const char* bytes, size_t size);
};

struct PartWriter {
  PartSink sink{};
  size_t filled = 0;
  char room[8192];
};

void PutFigure(PartWriter& part, uint64_t figure);
void PutSigned(PartWriter& part, int64_t figure);
void PutText(PartWriter& part, std::string_view text);

// Hands what is left to the sink.
void FlushPart(PartWriter& part);

struct PartReader;

// Where the bytes of a part come from that are not there yet.
struct PartSource {
  void* context;
  // Has so many bytes stand at part.next, or all that are left, in which case there is no source any more.
  // Those that stand there already may move.
  void (*fetch)(void* context, PartReader& part, size_t size);
};

// The bytes of a part, which anybody may have written. What is taken from a damaged one is 0 or empty; once a
// part is damaged it stays so, and nothing is left of it.
struct PartReader {
  const char* next;
  const char* end;
  bool damaged = false;
  PartSource source{};  // without a function: all bytes are there
};

// Has so many bytes of the part stand there, if so many are left: they do not move before they are taken.
void FetchBytes(PartReader& part, size_t size);

// Whether they do already, or there are no others.
bool AreBytesThere(const PartReader& part, size_t size);

inline constexpr size_t kLongestFigure = 10;  // bytes

// Damaged: what ends too early, or needs more than 64 bits.
uint64_t TakeFigure(PartReader& part);
int64_t TakeSigned(PartReader& part);

// A figure of at most so much; damaged: a greater one.
uint64_t TakeFigureUpTo(PartReader& part, uint64_t most);

// A view of the part's bytes, which holds until more is taken, where these may move. Damaged: a text of more
// than most bytes, or of more than there are.
std::string_view TakeText(PartReader& part, size_t most);

// Declares the part damaged, because of what was taken.
void MarkDamaged(PartReader& part);
