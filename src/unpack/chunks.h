// The way of unpacked bytes from the child that unpacks to the process that reads them: a ring of chunks in
// memory that both have, and a pipe that tells of each chunk how many bytes it holds.
//
// A note in the pipe is as large as is needed for the pipe to be full before the ring is: who writes one more
// waits, and nothing has to be given back. The pipe ends when nobody writes any more, whoever died.
#pragma once

#include <cstddef>
#include <span>

inline constexpr size_t kChunkSize = size_t{128} * 1024;
inline constexpr size_t kNoteSize = 4096;
inline constexpr size_t kNotes = 16;  // that the pipe holds

// Beside those whose notes are in the pipe there is one that is filled and one that is read.
inline constexpr size_t kChunks = kNotes + 2;

// Memory for the chunks, which processes started later share with this one. Null without memory.
unsigned char* MapChunks();
void UnmapChunks(unsigned char* memory);

// From here on no process that is started has the memory.
void KeepChunks(unsigned char* memory);

// And from here on each has it again.
void LendChunks(unsigned char* memory);

// A pipe for notes, its end for reading first; false when there is none.
bool OpenNotes(int (&ends)[2]);

struct ChunkWriter {
  unsigned char* memory;
  int notes;
  size_t current;
};

// The chunk that is to be filled, kChunkSize bytes.
std::span<unsigned char> RoomOf(const ChunkWriter& writer);

// Tells that the first bytes of it are filled, none of which is nothing to tell, and goes to the next; waits
// while the reader has as many as there are. False when nobody reads.
bool Tell(ChunkWriter& writer, size_t filled);

// What reads believes nothing of what a note says that cannot be, and no byte of a chunk to stay as it is:
// they are copied before they are looked at.
struct ChunkReader {
  const unsigned char* memory = nullptr;
  int notes = -1;
  size_t current = kChunks - 1;
  size_t at = 0;
  size_t end = 0;       // of the bytes in the current one
  bool broken = false;  // by a note that says what cannot be: nothing is read behind it
};

// Copies so many bytes, fewer only at the end.
size_t ReadChunks(ChunkReader& reader, char* dst, size_t size);
