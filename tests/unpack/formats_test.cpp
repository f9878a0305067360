#include "unpack/formats.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include "unpack/packed.h"

namespace {

using namespace std::string_literals;

TEST(FormatOf, FirstBytesTell) {
  EXPECT_EQ(FormatOf("\x1f\x8b\x08\x00\x00\x00"s), PackFormat::kGzip);
  EXPECT_EQ(FormatOf("\x28\xb5\x2f\xfd\x04\x00"s), PackFormat::kZstd);
  EXPECT_EQ(FormatOf("\x50\x2a\x4d\x18\x04\x00"s), PackFormat::kZstd);
  EXPECT_EQ(FormatOf("\x5f\x2a\x4d\x18\x04\x00"s), PackFormat::kZstd);
  EXPECT_EQ(FormatOf("\xfd"
                     "7zXZ\0"s),
            PackFormat::kXz);
  EXPECT_EQ(FormatOf("BZh91AY&SY"), PackFormat::kBzip2);
  EXPECT_EQ(FormatOf("BZh9\x17\x72\x45\x38"), PackFormat::kBzip2);
}

TEST(FormatOf, TextsAndBeginningsOfMarksAreNone) {
  for (const std::string& text :
       {""s, "\x1f"s, "\x1f\x8b"s, "\x1f\x8b\x07\x00"s, "\x28\xb5\x2f"s, "\x40\x2a\x4d\x18"s,
        "\xfd"
        "7zXZ"s,
        "\xfd"
        "7zXZx"s,
        "BZh"s, "BZh9"s, "BZh91"s,
        "BZh0"
        "1A"s,
        "BZhost - -"s, "192.0.2.1 - - ["s}) {
    EXPECT_EQ(FormatOf(text), PackFormat::kNone) << text;
  }
}

TEST(FormatOf, KnowsWhatTheToolsWrite) {
  for (const PackFormat format :
       {PackFormat::kGzip, PackFormat::kZstd, PackFormat::kXz, PackFormat::kBzip2}) {
    if (HasTool(format)) {
      EXPECT_EQ(FormatOf(Pack(format, "text\n")), format) << NameOf(format);
      EXPECT_EQ(FormatOf(Pack(format, "")), format) << NameOf(format) << ", empty";
    }
  }
}

TEST(FormatOfFile, LeavesThePosition) {
  const int file = open(WriteFile("log", "\x1f\x8b\x08 and more").c_str(), O_RDONLY);
  EXPECT_EQ(FormatOfFile(file), PackFormat::kGzip);
  EXPECT_EQ(lseek(file, 0, SEEK_CUR), 0);
  close(file);
  EXPECT_EQ(FormatOfFile(file), PackFormat::kNone);
}

TEST(FormatOfPath, OnlyOfRegularFiles) {
  EXPECT_EQ(FormatOfPath(WriteFile("name.txt", "\x1f\x8b\x08").c_str()), PackFormat::kGzip);
  EXPECT_EQ(FormatOfPath(WriteFile("log.gz", "plain").c_str()), PackFormat::kNone);
  EXPECT_EQ(FormatOfPath(NewPath("missing").c_str()), PackFormat::kNone);
  EXPECT_EQ(FormatOfPath("/"), PackFormat::kNone);
  const std::string pipe = NewPath("pipe");
  ASSERT_EQ(mkfifo(pipe.c_str(), 0600), 0);
  EXPECT_EQ(FormatOfPath(pipe.c_str()), PackFormat::kNone);  // without waiting for a writer
}

}  // namespace
