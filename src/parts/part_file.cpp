#include "parts/part_file.h"

#include <sys/stat.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <string_view>

#include "base/crc64.h"
#include "base/memory_end.h"
#include "base/text.h"
#include "superlog/byte_scan.h"
#include "superlog/file_replacement.h"

static constexpr char kHead[] = "orvellis part 1\n";
static constexpr char kUnfinished[] = "orvellis part 0\n";  // while a file is written in place
static constexpr size_t kHeadSize = sizeof kHead - 1;
static constexpr std::string_view kAnyVersion{kHead, kHeadSize - 2};
static constexpr size_t kChecksumSize = 8;
static constexpr size_t kLongestPiece = sizeof(PartWriter::room);
static_assert(sizeof kHead == sizeof kUnfinished);

// ---- Writing ----

struct Output {
  FILE* stream = nullptr;
  uint64_t checksum = 0;
  size_t filled = 0;
  char room[8 * kLongestPiece];
};

// Errors are the stream's.
static void Flush(Output& output) {
  output.checksum = AddToCrc64(output.checksum, output.room, output.filled);
  fwrite(output.room, 1, output.filled, output.stream);
  output.filled = 0;
}

static void Write(Output& output, const char* bytes, size_t size) {
  if (size > sizeof output.room - output.filled) {
    Flush(output);
  }
  memcpy(output.room + output.filled, bytes, size);
  output.filled += size;
}

static void WriteFigure(Output& output, uint64_t figure) {
  PartWriter writer;
  writer.sink = {&output, [](void* context, const char* bytes, size_t size) {
                   Write(*static_cast<Output*>(context), bytes, size);
                 }};
  PutFigure(writer, figure);
  FlushPart(writer);
}

static void WritePiece(void* context, const char* bytes, size_t size) {
  Output& output = *static_cast<Output*>(context);
  WriteFigure(output, size);
  Write(output, bytes, size);
}

static void WriteChecksum(Output& output) {
  char bytes[kChecksumSize];
  for (size_t i = 0; i < kChecksumSize; ++i) {
    bytes[i] = static_cast<char>(output.checksum >> 8 * i);
  }
  fwrite(bytes, 1, sizeof bytes, output.stream);
}

// What stands behind the head.
static void WriteBody(FILE* stream, void* context, void (*write)(void* context, PartWriter& part)) {
  Output output;
  output.stream = stream;
  output.checksum = AddToCrc64(0, kHead, kHeadSize);
  PartWriter part;
  part.sink = {&output, WritePiece};
  write(context, part);
  FlushPart(part);
  WriteFigure(output, 0);
  Flush(output);
  WriteChecksum(output);
}

static bool WriteTo(FILE* stream, void* context, void (*write)(void* context, PartWriter& part)) {
  fputs(kHead, stream);
  WriteBody(stream, context, write);
  return fflush(stream) == 0 && ferror(stream) == 0;
}

static bool IsSpecial(const char* path) {
  struct stat info;
  return stat(path, &info) == 0 && !S_ISREG(info.st_mode) && !S_ISDIR(info.st_mode);
}

static bool WriteSpecial(const char* path, void* context, void (*write)(void* context, PartWriter& part)) {
  FILE* const stream = fopen(path, "we");
  if (stream == nullptr) {
    return false;
  }
  const bool written = WriteTo(stream, context, write);
  const int error = errno;
  const bool closed = fclose(stream) == 0;
  errno = written ? errno : error;
  return written && closed;
}

static bool Replace(const char* path, FileFor whom, void* context,
                    void (*write)(void* context, PartWriter& part)) {
  FileReplacement file{};
  errno = 0;
  if (!BeginReplacement(file, path, kHead, kUnfinished, whom)) {
    errno = errno == 0 ? EBUSY : errno;
    return false;
  }
  errno = 0;
  WriteBody(file.stream, context, write);
  return FinishReplacement(file);
}

bool WritePartFile(const char* path, FILE* standard, void* context,
                   void (*write)(void* context, PartWriter& part)) {
  if (std::string_view(path) == "-") {
    return WriteTo(standard, context, write);
  }
  if (strlen(path) >= kPathSize) {
    errno = ENAMETOOLONG;
    return false;
  }
  if (IsSpecial(path)) {
    return WriteSpecial(path, context, write);
  }
  return Replace(path, FileFor::kAll, context, write);
}

bool WriteOwnPartFile(const char* path, void* context, void (*write)(void* context, PartWriter& part)) {
  return Replace(path, FileFor::kUserAlone, context, write);
}

// ---- Reading ----

struct Input {
  FILE* file;
  uint64_t checksum = 0;
};

static bool Read(Input& input, char* bytes, size_t size) {
  const bool whole = fread(bytes, 1, size, input.file) == size;
  input.checksum = AddToCrc64(input.checksum, bytes, whole ? size : 0);
  return whole;
}

static PartRead ReadHead(Input& input) {
  char head[kHeadSize];
  const size_t size = fread(head, 1, sizeof head, input.file);
  input.checksum = AddToCrc64(0, head, size);
  const std::string_view text{head, size};
  if (text == kHead) {
    return PartRead::kPart;
  }
  if (text.empty()) {
    return PartRead::kNoMore;
  }
  if (std::string_view(kHead).starts_with(text)) {
    return PartRead::kCut;
  }
  return text == kUnfinished             ? PartRead::kCut
         : text.starts_with(kAnyVersion) ? PartRead::kOtherVersion
                                         : PartRead::kNoPart;
}

// A size that no piece has is one more than the greatest.
static PartRead ReadSize(Input& input, size_t& size) {
  char bytes[2];
  if (!Read(input, bytes, 1)) {
    return PartRead::kCut;
  }
  if ((bytes[0] & 0x80) != 0 && !Read(input, bytes + 1, 1)) {
    return PartRead::kCut;
  }
  PartReader reader{bytes, bytes + ((bytes[0] & 0x80) != 0 ? 2 : 1)};
  size = static_cast<size_t>(TakeFigureUpTo(reader, kLongestPiece));
  return reader.damaged ? PartRead::kDamaged : PartRead::kPart;
}

static void MakeRoom(PartBytes& part, size_t more) {
  const size_t wanted = part.size + more + kScanOverread;
  if (wanted <= part.room) {
    return;
  }
  const size_t room = 2 * wanted;
  auto* const bytes = static_cast<char*>(realloc(part.bytes, room));
  if (bytes == nullptr) {
    EndWithoutMemory();
  }
  part.bytes = bytes;
  part.room = room;
}

static PartRead ReadPieces(Input& input, PartBytes& part) {
  for (;;) {
    size_t size = 0;
    const PartRead read = ReadSize(input, size);
    if (read != PartRead::kPart || size == 0) {
      return read;
    }
    MakeRoom(part, size);
    if (!Read(input, part.bytes + part.size, size)) {
      return PartRead::kCut;
    }
    part.size += size;
  }
}

static PartRead CheckSum(const Input& input) {
  char bytes[kChecksumSize];
  if (fread(bytes, 1, sizeof bytes, input.file) != sizeof bytes) {
    return PartRead::kCut;
  }
  uint64_t checksum = 0;
  for (size_t i = 0; i < kChecksumSize; ++i) {
    checksum |= uint64_t{static_cast<unsigned char>(bytes[i])} << 8 * i;
  }
  return checksum == input.checksum ? PartRead::kPart : PartRead::kDamaged;
}

PartRead ReadPart(FILE* file, PartBytes& part) {
  Input input{file};
  part.size = 0;
  MakeRoom(part, 0);
  PartRead read = ReadHead(input);
  if (read == PartRead::kPart) {
    read = ReadPieces(input, part);
  }
  if (read == PartRead::kPart) {
    read = CheckSum(input);
  }
  if (read == PartRead::kPart) {
    memset(part.bytes + part.size, 0, kScanOverread);
  }
  return read;
}

void ReleasePart(PartBytes& part) {
  free(part.bytes);
  part = {};
}
