#include "base/text_file.h"

#include <fcntl.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <random>
#include <thread>
#include <vector>

#include "base/plain_lines.h"
#include "base/text.h"
#include "support/text_file.h"

using Lines = std::vector<std::string>;

static constexpr LineRules kLines{.whole = true, .ff_ends = true};

static Lines LinesAt(const std::string& path, Pipes pipes = Pipes::kKeep) {
  TextFile text;
  char line[kLineMax + 1];
  Lines result;
  EXPECT_TRUE(OpenTextFile(text, path.c_str(), pipes));
  while (NextLine(text, line, kLines) > 0) {
    result.emplace_back(line);
  }
  EXPECT_EQ(NextLine(text, line, kLines), 0U) << "the end stays the end";
  EXPECT_STREQ(line, "");
  CloseTextFile(text);
  return result;
}

static Lines LinesOf(const std::string& content) {
  return LinesAt(WriteFile("lines", content));
}

TEST(NextWholeLine, EmptyFileHasNoLine) {
  EXPECT_EQ(LinesOf(""), Lines{});
}

TEST(NextWholeLine, OnlyLineBreaksHaveNoLine) {
  EXPECT_EQ(LinesOf("\r\n\n\r\r\n"), Lines{});
}

TEST(NextWholeLine, LfCrAndCrLfEndLines) {
  EXPECT_EQ(LinesOf("a=1\nb=2\rc=3\r\nd=4\r\n\r\ne=5"), (Lines{"a=1", "b=2", "c=3", "d=4", "e=5"}));
}

TEST(NextWholeLine, LastLineNeedsNoLineBreak) {
  EXPECT_EQ(LinesOf("a=1"), Lines{"a=1"});
}

TEST(NextWholeLine, LongestLineIsWhole) {
  const std::string longest(kLineMax, 'x');
  EXPECT_EQ(LinesOf(longest + "\nnext\n"), (Lines{longest, "next"}));
}

TEST(NextWholeLine, LongerLineIsCutAndItsRestSkipped) {
  const std::string longest(kLineMax, 'x');
  EXPECT_EQ(LinesOf(longest + "y\nnext\n"), (Lines{longest, "next"}));
  EXPECT_EQ(LinesOf(longest + std::string(20000, 'y') + "\r\nnext"), (Lines{longest, "next"}));
}

TEST(NextWholeLine, EndlessLineIsCut) {
  EXPECT_EQ(LinesOf(std::string(3000000, 'x')), Lines{std::string(kLineMax, 'x')});
}

TEST(NextWholeLine, LineAcrossBlocksIsWhole) {
  std::string content;
  Lines expected;
  for (int i = 0; i < 100; ++i) {
    expected.push_back(std::to_string(i) + std::string(997, 'x'));
    content += expected.back() + "\n";
  }
  EXPECT_EQ(LinesOf(content), expected);
}

TEST(NextWholeLine, CrAndLfOnBothSidesOfABlockBoundary) {
  const std::string first(1000, 'a');
  std::string content;
  while (content.size() + first.size() + 1 < 8191) {
    content += first + "\n";
  }
  content += std::string(8191 - content.size(), 'b') + "\r" + "\n" + "c";
  const Lines lines = LinesOf(content);
  ASSERT_EQ(lines.size(), 10U);
  EXPECT_EQ(lines.back(), "c");
}

TEST(NextWholeLine, Byte0xFFEndsLineDeliberately) {
  EXPECT_EQ(LinesOf("ab\xFF"
                    "cd\nef"),
            (Lines{"ab", "cd", "ef"}));
}

TEST(NextWholeLine, Byte0xFFBeginsALineLikeAnyOther) {
  EXPECT_EQ(LinesOf("\xFF\xFF\xFF\nx"), (Lines{"\xFF", "\xFF", "x"}));
  EXPECT_EQ(LinesOf("a\n\xFF"
                    "b\n"),
            (Lines{"a",
                   "\xFF"
                   "b"}));
}

TEST(NextWholeLine, Byte0xFFAfterALongestLineEndsIt) {
  const std::string longest(kLineMax, 'x');
  EXPECT_EQ(LinesOf(longest + "\xFFnext\n"), (Lines{longest, "next"}));
}

TEST(NextWholeLine, Byte0xFFInASkippedRestDoesNotEndIt) {
  const std::string longest(kLineMax, 'x');
  EXPECT_EQ(LinesOf(longest + "y\xFFskipped\nnext\n"), (Lines{longest, "next"}));
}

TEST(NextWholeLine, NulEndsTheTextOfItsLine) {
  EXPECT_EQ(LinesOf(std::string("a=1\0b\nc", 7)), (Lines{"a=1", "c"}));
}

TEST(NextWholeLine, EqualsThePlainFormOnRandomInput) {
  std::mt19937 random(7);
  const std::string letters = "a=;\n\r\xFF#b";
  for (int round = 0; round < 60; ++round) {
    SCOPED_TRACE(round);
    const size_t breaks = 1 + random() % 3000;  // between a break every few bytes and hardly any
    std::string content;
    for (int i = 0; i < 30000; ++i) {
      content += random() % breaks == 0 ? letters[random() % letters.size()] : 'x';
    }
    ASSERT_EQ(LinesOf(content), PlainLines(content));
  }
}

TEST(NextWholeLine, Byte0xFFIsACharacterWhereItEndsNoLine) {
  TextFile text;
  char line[10];
  ASSERT_TRUE(OpenTextFile(text, WriteFile("lines",
                                           "a\xFF"
                                           "b\rc")
                                     .c_str()));
  EXPECT_EQ(NextLine(text, line, kWholeLines), 3U);
  EXPECT_STREQ(line,
               "a\xFF"
               "b");
  EXPECT_EQ(NextLine(text, line, kWholeLines), 1U);
  CloseTextFile(text);
}

// ---- Pieces ----

// What fgets makes of the file, and what NextLine does, NULs and all.
static Lines PiecesByFgets(const std::string& path, size_t capacity) {
  std::vector<char> piece(capacity);
  Lines result;
  FILE* const file = fopen(path.c_str(), "r");
  for (;;) {
    std::fill(piece.begin(), piece.end(), '~');
    const long before = ftell(file);
    if (fgets(piece.data(), static_cast<int>(capacity), file) == nullptr) {
      break;
    }
    result.emplace_back(piece.data(), static_cast<size_t>(ftell(file) - before));
  }
  fclose(file);
  return result;
}

static Lines Pieces(const std::string& path, size_t capacity) {
  std::vector<char> piece(capacity);
  Lines result;
  TextFile text;
  EXPECT_TRUE(OpenTextFile(text, path.c_str()));
  while (const size_t length = NextLine(text, piece.data(), capacity, kPieces)) {
    EXPECT_EQ(piece[length], '\0');
    result.emplace_back(piece.data(), length);
  }
  CloseTextFile(text);
  return result;
}

TEST(NextPiece, EqualsFgetsOnRandomInput) {
  std::mt19937 random(11);
  const std::string letters("a\n\r\xFF\0b", 6);
  for (int round = 0; round < 40; ++round) {
    SCOPED_TRACE(round);
    const size_t breaks = 1 + random() % 600;
    std::string content;
    for (int i = 0; i < 30000; ++i) {
      content += random() % breaks == 0 ? letters[random() % letters.size()] : 'x';
    }
    const std::string path = WriteFile("pieces", content);
    for (const size_t capacity : {2U, 3U, 100U, 244U, 2048U, 8192U, 8193U, 20000U}) {
      ASSERT_EQ(Pieces(path, capacity), PiecesByFgets(path, capacity)) << capacity;
    }
  }
}

TEST(PeekByte, LeavesTheByteAndTellsTheEnd) {
  TextFile text;
  ASSERT_TRUE(OpenTextFile(text, WriteFile("bytes", "\xFFz").c_str()));
  EXPECT_EQ(PeekByte(text), 0xFF);
  EXPECT_EQ(PeekByte(text), 0xFF);
  ++text.next;
  EXPECT_EQ(PeekByte(text), 'z');
  ++text.next;
  EXPECT_EQ(PeekByte(text), -1);
  CloseTextFile(text);
}

// ---- Opening ----

TEST(OpenToRead, TellsWhatItOpened) {
  const std::string pipe = NewPath("pipe");
  ASSERT_EQ(mkfifo(pipe.c_str(), 0600), 0);
  const struct {
    std::string path;
    FileKind kind;
  } rows[] = {{WriteFile("file", ""), FileKind::kRegular},
              {testing::TempDir(), FileKind::kFolder},
              {pipe, FileKind::kPipe},
              {"/dev/null", FileKind::kOther}};
  for (const auto& row : rows) {
    SCOPED_TRACE(row.path);
    const OpenedFile opened = OpenToRead(row.path.c_str());
    EXPECT_GE(opened.file, 0);
    EXPECT_EQ(opened.kind, row.kind);
    EXPECT_EQ(fcntl(opened.file, F_GETFD), FD_CLOEXEC);
    close(opened.file);
  }
  EXPECT_EQ(OpenToRead(NewPath("missing").c_str()).file, -1);
}

TEST(OpenTextFile, MissingFileIsRefused) {
  TextFile text;
  EXPECT_FALSE(OpenTextFile(text, NewPath("missing").c_str(), Pipes::kKeep));
  EXPECT_FALSE(OpenTextFile(text, "", Pipes::kKeep));
}

TEST(OpenTextFile, FolderOpensAndYieldsNothing) {
  EXPECT_EQ(LinesAt(testing::TempDir()), Lines{});
}

TEST(OpenTextFile, EndlessDeviceOpensAndYieldsNothing) {
  EXPECT_EQ(LinesAt("/dev/zero"), Lines{});
  EXPECT_EQ(LinesAt("/dev/null"), Lines{});
}

TEST(OpenTextFile, PipeWithoutWriterIsNotWaitedFor) {
  const std::string path = NewPath("pipe");
  ASSERT_EQ(mkfifo(path.c_str(), 0600), 0);
  EXPECT_EQ(LinesAt(path), Lines{});
}

TEST(OpenTextFile, PipeIsReadOnlyWhereItMayBeWaitedFor) {
  const std::string path = NewPath("pipe");
  ASSERT_EQ(mkfifo(path.c_str(), 0600), 0);
  const int writer = open(path.c_str(), O_RDWR);
  ASSERT_GE(writer, 0);
  ASSERT_EQ(write(writer, "a=1\n", 4), 4);
  EXPECT_EQ(LinesAt(path, Pipes::kNeverWait), Lines{});
  TextFile text;
  char line[kLineMax + 1];
  // The writer goes away while the reader waits for more.
  std::thread end([writer] {
    usleep(50000);
    close(writer);
  });
  ASSERT_TRUE(OpenTextFile(text, path.c_str(), Pipes::kKeep));
  end.join();
  EXPECT_EQ(NextLine(text, line, kLines), 3U);
  EXPECT_STREQ(line, "a=1");
  CloseTextFile(text);
}

// ---- Reading twice ----

TEST(RewindTextFile, FileIsReadAgain) {
  TextFile text;
  char line[10];
  ASSERT_TRUE(OpenTextFile(text, WriteFile("lines", "a\nb\n").c_str()));
  for (int round = 0; round < 2; ++round) {
    EXPECT_EQ(NextLine(text, line, kLines), 1U);
    EXPECT_STREQ(line, "a");
    RewindTextFile(text);
  }
  CloseTextFile(text);
}

// So many bytes through a pipe, and a mark behind them.
static std::string PipeOf(size_t size, std::thread& writer) {
  const std::string path = NewPath("pipe");
  EXPECT_EQ(mkfifo(path.c_str(), 0600), 0);
  const int file = open(path.c_str(), O_RDWR);
  writer = std::thread([file, size] {
    const std::string line = std::string(1023, 'x') + "\n";
    for (size_t sent = 0; sent < size; sent += line.size()) {
      EXPECT_EQ(write(file, line.data(), line.size()), static_cast<ssize_t>(line.size()));
    }
    EXPECT_EQ(write(file, "end\n", 4), 4);
    usleep(50000);
    close(file);
  });
  return path;
}

static size_t CountLinesToTheEnd(TextFile& text) {
  char line[2000];
  size_t count = 0;
  std::string last;
  while (NextLine(text, line, kLines) > 0) {
    ++count;
    last = line;
  }
  EXPECT_EQ(last, "end");
  return count;
}

TEST(RewindTextFile, PipeIsReadAgain) {
  std::thread writer;
  TextFile text;
  ASSERT_TRUE(OpenTextFile(text, PipeOf(300 * 1024, writer).c_str(), Pipes::kKeep));
  writer.join();
  EXPECT_EQ(text.rest, -1);
  EXPECT_EQ(CountLinesToTheEnd(text), 301U);
  RewindTextFile(text);
  EXPECT_EQ(CountLinesToTheEnd(text), 301U);
  CloseTextFile(text);
}

TEST(RewindTextFile, PipeIsKeptWhereFilesMayNotGrow) {
  rlimit old{};
  ASSERT_EQ(getrlimit(RLIMIT_FSIZE, &old), 0);
  const rlimit none = {0, old.rlim_max};
  std::thread writer;
  TextFile text;
  const std::string path = PipeOf(300 * 1024, writer);
  ASSERT_EQ(setrlimit(RLIMIT_FSIZE, &none), 0);
  const bool opened = OpenTextFile(text, path.c_str(), Pipes::kKeep);
  setrlimit(RLIMIT_FSIZE, &old);
  writer.join();
  ASSERT_TRUE(opened);
  EXPECT_EQ(CountLinesToTheEnd(text), 301U);
  RewindTextFile(text);
  EXPECT_EQ(CountLinesToTheEnd(text), 301U);
  CloseTextFile(text);
}

TEST(RewindTextFile, LongPipeGoesOnBehindWhatIsKept) {
  std::thread writer;
  TextFile text;
  char line[2000];
  ASSERT_TRUE(OpenTextFile(text, PipeOf(kKeptOfPipe + 100 * 1024, writer).c_str(), Pipes::kKeep));
  EXPECT_GE(text.rest, 0);
  EXPECT_EQ(NextLine(text, line, kLines), 1023U);
  RewindTextFile(text);
  EXPECT_EQ(CountLinesToTheEnd(text), kKeptOfPipe / 1024 + 101);
  writer.join();
  CloseTextFile(text);
}
