#include "unpack/chunks.h"

#include <fcntl.h>
#include <sys/mman.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>

static constexpr size_t kMemorySize = kChunks * kChunkSize;
static constexpr int kPipeSize = kNotes * kNoteSize;

// How many bytes there are, and what fills the pipe.
union Note {
  size_t filled;
  char room[kNoteSize];
};

// ---- Memory and pipe ----

unsigned char* MapChunks() {
  void* const memory = mmap(nullptr, kMemorySize, PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0);
  return memory == MAP_FAILED ? nullptr : static_cast<unsigned char*>(memory);
}

void UnmapChunks(unsigned char* memory) {
  munmap(memory, kMemorySize);
}

void KeepChunks(unsigned char* memory) {
  madvise(memory, kMemorySize, MADV_DONTFORK);
}

void LendChunks(unsigned char* memory) {
  madvise(memory, kMemorySize, MADV_DOFORK);
}

// A user who has many pipes gets smaller ones, which may not grow; they do as well.
static bool BoundPipe(int pipe) {
  const int size = fcntl(pipe, F_SETPIPE_SZ, kPipeSize);
  return size < 0 ? errno == EPERM : size <= kPipeSize;
}

bool OpenNotes(int (&ends)[2]) {
  if (pipe2(ends, O_CLOEXEC) != 0) {
    return false;
  }
  if (!BoundPipe(ends[0])) {
    close(ends[0]);
    close(ends[1]);
    return false;
  }
  return true;
}

// ---- Writing ----

std::span<unsigned char> RoomOf(const ChunkWriter& writer) {
  return {writer.memory + writer.current * kChunkSize, kChunkSize};
}

static bool WriteNote(int pipe, const Note& note) {
  size_t written = 0;
  while (written < sizeof note) {
    const ssize_t put = write(pipe, note.room + written, sizeof note - written);
    if (put > 0) {
      written += static_cast<size_t>(put);
    } else if (put == 0 || errno != EINTR) {
      return false;
    }
  }
  return true;
}

bool Tell(ChunkWriter& writer, size_t filled) {
  static Note note;
  if (filled == 0) {
    return true;
  }
  note.filled = filled;
  writer.current = (writer.current + 1) % kChunks;
  return WriteNote(writer.notes, note);
}

// ---- Reading ----

// How much of it there was: nothing at the end.
static size_t ReadNote(int pipe, Note& note) {
  size_t got = 0;
  while (got < sizeof note) {
    const ssize_t n = read(pipe, note.room + got, sizeof note - got);
    if (n > 0) {
      got += static_cast<size_t>(n);
    } else if (n == 0 || errno != EINTR) {
      break;
    }
  }
  return got;
}

static bool GoToNextChunk(ChunkReader& reader) {
  static Note note;
  const size_t got = reader.broken ? 0 : ReadNote(reader.notes, note);
  const bool told = got == sizeof note && note.filled > 0 && note.filled <= kChunkSize;
  reader.broken |= got > 0 && !told;
  reader.current = (reader.current + 1) % kChunks;
  reader.at = 0;
  reader.end = told ? note.filled : 0;
  return told;
}

size_t ReadChunks(ChunkReader& reader, char* dst, size_t size) {
  size_t got = 0;
  while (got < size && (reader.at < reader.end || GoToNextChunk(reader))) {
    const size_t piece = std::min(size - got, reader.end - reader.at);
    memcpy(dst + got, reader.memory + reader.current * kChunkSize + reader.at, piece);
    reader.at += piece;
    got += piece;
  }
  return got;
}
