#include "parts/part_file.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <cerrno>
#include <cstring>
#include <random>
#include <string>

#include "base/crc64.h"
#include "support/text_file.h"

// Writes a part of so many bytes, each its place.
static void WriteBytes(void* context, PartWriter& part) {
  const size_t size = *static_cast<size_t*>(context);
  std::string text;
  for (size_t i = 0; i < size; ++i) {
    text += static_cast<char>(i % 251);
  }
  PutText(part, text);
}

static bool Write(const std::string& path, size_t size) {
  return WritePartFile(path.c_str(), stdout, &size, WriteBytes);
}

static PartRead ReadFrom(const std::string& content, std::string* body = nullptr, int parts = 0) {
  const std::string path = WriteFile("read", content);
  FILE* const file = fopen(path.c_str(), "r");
  PartBytes bytes;
  PartRead read = ReadPart(file, bytes);
  for (; parts > 0; --parts) {
    EXPECT_EQ(read, PartRead::kPart);
    read = ReadPart(file, bytes);
  }
  if (body != nullptr) {
    body->assign(bytes.bytes, bytes.size);
  }
  ReleasePart(bytes);
  fclose(file);
  return read;
}

// As the format is told.
static std::string Framed(const std::vector<std::string>& pieces) {
  std::string bytes = "orvellis part 1\n";
  for (const std::string& piece : pieces) {
    bytes += piece.size() < 128 ? std::string(1, static_cast<char>(piece.size()))
                                : std::string{static_cast<char>(piece.size() % 128 | 128),
                                              static_cast<char>(piece.size() / 128)};
    bytes += piece;
  }
  bytes += '\0';
  const uint64_t checksum = AddToCrc64(0, bytes.data(), bytes.size());
  for (int i = 0; i < 8; ++i) {
    bytes += static_cast<char>(checksum >> 8 * i);
  }
  return bytes;
}

TEST(PartFile, GivesBackWhatWasWritten) {
  for (const size_t size : {0, 1, 127, 8000, 8192, 100000}) {
    const std::string path = NewPath("part");
    ASSERT_TRUE(Write(path, size));
    std::string body;
    ASSERT_EQ(ReadFrom(ReadFile(path), &body), PartRead::kPart);
    ASSERT_TRUE(body.ends_with(std::string(1, static_cast<char>((size + 250) % 251))) || size == 0);
    ASSERT_GE(body.size(), size);
    ASSERT_EQ(ReadFrom(ReadFile(path), nullptr, 1), PartRead::kNoMore);
    ASSERT_EQ(ReadFrom(ReadFile(path) + ReadFile(path), nullptr, 2), PartRead::kNoMore);
  }
}

TEST(PartFile, IsWhatTheFormatSays) {
  const std::string path = NewPath("part");
  ASSERT_TRUE(Write(path, 3));
  EXPECT_EQ(ReadFile(path), Framed({std::string("\3\0\1\2", 4)}));
  std::string body;
  EXPECT_EQ(ReadFrom(Framed({"ab", std::string(8192, 'c'), "d"}), &body), PartRead::kPart);
  EXPECT_EQ(body, "ab" + std::string(8192, 'c') + "d");
  EXPECT_EQ(ReadFrom(Framed({std::string(8193, 'c')})), PartRead::kDamaged);
}

TEST(PartFile, CutAnywhereIsCut) {
  const std::string part = Framed({std::string(200, 'x'), "y"});
  for (size_t size = 1; size < part.size(); ++size) {
    ASSERT_EQ(ReadFrom(part.substr(0, size)), PartRead::kCut) << size;
  }
  EXPECT_EQ(ReadFrom(""), PartRead::kNoMore);
}

TEST(PartFile, WithAnyBitTurnedIsNone) {
  const std::string part = Framed({std::string(40, 'x'), "y"});
  for (size_t bit = 0; bit < part.size() * 8; ++bit) {
    std::string damaged = part;
    damaged[bit / 8] = static_cast<char>(damaged[bit / 8] ^ 1 << bit % 8);
    ASSERT_NE(ReadFrom(damaged), PartRead::kPart) << bit;
  }
}

TEST(PartFile, OfAnotherKindIsTold) {
  EXPECT_EQ(ReadFrom("orvellis part 2\nrest"), PartRead::kOtherVersion);
  EXPECT_EQ(ReadFrom("orvellis part 0\nrest"), PartRead::kCut);  // it is being written
  EXPECT_EQ(ReadFrom("something else that is long"), PartRead::kNoPart);
  EXPECT_EQ(ReadFrom("short"), PartRead::kNoPart);
}

TEST(PartFile, TakesThePlaceOfAnotherAtOnce) {
  const std::string path = WriteFile("part", "older");
  const std::string link = path + ".link";
  ASSERT_EQ(::link(path.c_str(), link.c_str()), 0);
  ASSERT_TRUE(Write(path, 5));  // a file of two names is written in place
  EXPECT_EQ(ReadFile(path), ReadFile(link));
  EXPECT_EQ(ReadFrom(ReadFile(link)), PartRead::kPart);
  unlink(link.c_str());
  const std::string before = ReadFile(path);
  FILE* const reader = fopen(path.c_str(), "r");
  ASSERT_TRUE(Write(path, 50000));
  PartBytes bytes;
  EXPECT_EQ(ReadPart(reader, bytes), PartRead::kPart);  // who has the old one open reads it to its end
  EXPECT_EQ(bytes.size, 6U);
  ReleasePart(bytes);
  fclose(reader);
}

TEST(PartFile, ThatCannotBeWrittenLeavesTheOldOne) {
  const std::string folder = NewPath("folder");
  mkdir(folder.c_str(), 0777);
  EXPECT_FALSE(Write(folder, 5));
  EXPECT_EQ(errno, EISDIR);
  EXPECT_FALSE(Write(folder + "/missing/part", 5));
  EXPECT_EQ(errno, ENOENT);
  EXPECT_FALSE(Write("/dev/full", 5));
  EXPECT_EQ(errno, ENOSPC);
  EXPECT_FALSE(Write(folder + "/" + std::string(300, 'x'), 5));
  EXPECT_EQ(errno, ENAMETOOLONG);
  EXPECT_TRUE(Write("/dev/null", 5));
}
