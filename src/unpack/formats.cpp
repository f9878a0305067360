#include "unpack/formats.h"

#include <unistd.h>

#include <iterator>

#include "base/text_file.h"

struct Mark {
  PackFormat format;
  std::string_view bytes;
};

static constexpr Mark kMarks[] = {
    {PackFormat::kGzip, {"\x1f\x8b\x08", 3}},
    {PackFormat::kZstd, {"\x28\xb5\x2f\xfd", 4}},
    {PackFormat::kXz,
     {"\xfd"
      "7zXZ\0",
      6}},
    {PackFormat::kBzip2, {"BZh", 3}},
};

static constexpr const char* kNames[] = {"", "gzip", "zstd", "xz", "bzip2"};
static_assert(std::size(kNames) == kPackFormats);

// zstd's packers may begin a file with a frame of their own, to be skipped: 0x184D2A50 to 0x184D2A5F.
static bool IsSkippableFrame(std::string_view beginning) {
  return beginning.size() >= 4 && (beginning[0] & 0xf0) == 0x50 && beginning.substr(1, 3) == "\x2a\x4d\x18";
}

// Behind the three letters, which a text might begin with, stand the size of blocks and the mark of a
// block or of the end.
static bool IsBzip2(std::string_view beginning) {
  return beginning.size() >= 6 && beginning[3] >= '1' && beginning[3] <= '9' &&
         (beginning.substr(4, 2) == "1A" || beginning.substr(4, 2) == "\x17\x72");
}

PackFormat FormatOf(std::string_view beginning) {
  for (const Mark& mark : kMarks) {
    if (beginning.starts_with(mark.bytes)) {
      return mark.format == PackFormat::kBzip2 && !IsBzip2(beginning) ? PackFormat::kNone : mark.format;
    }
  }
  return IsSkippableFrame(beginning) ? PackFormat::kZstd : PackFormat::kNone;
}

PackFormat FormatOfFile(int file) {
  char beginning[kPackMarkSize];
  const ssize_t got = pread(file, beginning, sizeof beginning, 0);
  return got > 0 ? FormatOf({beginning, static_cast<size_t>(got)}) : PackFormat::kNone;
}

PackFormat FormatOfPath(const char* path) {
  const OpenedFile opened = OpenToRead(path);
  if (opened.file < 0) {
    return PackFormat::kNone;
  }
  const PackFormat format = opened.kind == FileKind::kRegular ? FormatOfFile(opened.file) : PackFormat::kNone;
  close(opened.file);
  return format;
}

const char* NameOf(PackFormat format) {
  return kNames[static_cast<size_t>(format)];
}
