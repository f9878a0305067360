// The file of a part: a head, its bytes in pieces, and a checksum.
//
//   part    = "orvellis part 1\n" piece... 0 checksum
//   piece   = figure of its size, from 1 to 8192, and so many bytes
//
// The figure 0 stands where a piece would begin; the checksum is CRC-64/XZ of all bytes before it, eight
// bytes, the lowest first.
#pragma once

#include <cstddef>
#include <cstdio>

#include "base/part_bytes.h"

// ---- Writing ----

// Has write called once with a writer whose bytes become the part's, and puts the part in place of the file
// of that path, in one step: whoever reads meanwhile finds the old file or the new one. "-" stands for the
// standard stream, which is sent; what is no regular file (a device, a pipe) is written as it is. False when
// it could not be written: errno tells why.
bool WritePartFile(const char* path, std::FILE* standard, void* context,
                   void (*write)(void* context, PartWriter& part));

// The same of a file for the user alone (superlog/file_replacement.h).
bool WriteOwnPartFile(const char* path, void* context, void (*write)(void* context, PartWriter& part));

// ---- Reading ----

// The bytes of one part. Behind size there are kScanOverread more.
struct PartBytes {
  char* bytes = nullptr;
  size_t size = 0;
  size_t room = 0;
};

enum class PartRead {
  kPart,
  kNoMore,        // the file ends where a part could begin
  kNoPart,        // something else begins there
  kOtherVersion,  // of the format
  kCut,
  kDamaged,
};

// Reads the next part, whose checksum holds. Takes memory as its bytes come; when it runs out, the process
// exits with status 1.
PartRead ReadPart(std::FILE* file, PartBytes& part);

void ReleasePart(PartBytes& part);
