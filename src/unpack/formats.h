// The formats in which logs may be compressed, known by their first bytes.
#pragma once

#include <cstddef>
#include <string_view>

enum class PackFormat : unsigned char { kNone, kGzip, kZstd, kXz, kBzip2 };
inline constexpr size_t kPackFormats = 5;
inline constexpr size_t kPackMarkSize = 6;  // bytes that tell a format

// The format of what begins so; kNone for what is compressed in none of them, and for less than
// kPackMarkSize bytes that tell nothing.
PackFormat FormatOf(std::string_view beginning);

// The format of an open regular file, whose position stays; kNone where it cannot be read.
PackFormat FormatOfFile(int file);

// The format of the file of that name, if it is a regular one that can be opened; never waits.
PackFormat FormatOfPath(const char* path);

// "gzip", as it is called everywhere.
const char* NameOf(PackFormat format);
