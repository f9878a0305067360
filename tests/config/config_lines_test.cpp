#include "config/config_lines.h"

#include <sys/stat.h>

#include <random>
#include <vector>

#include "config/plain_config_lines.h"
#include "support/text_file.h"

using Lines = std::vector<std::string>;

static Lines LinesAt(const std::string& path) {
  ConfigLines lines;
  char line[kLineMax + 1];
  Lines result;
  EXPECT_TRUE(OpenConfigLines(lines, path.c_str()));
  while (NextConfigLine(lines, line)) {
    result.emplace_back(line);
  }
  EXPECT_FALSE(NextConfigLine(lines, line)) << "the end stays the end";
  CloseConfigLines(lines);
  return result;
}

static Lines LinesOf(const std::string& content) {
  return LinesAt(WriteFile("lines", content));
}

TEST(NextConfigLine, EmptyFileHasNoLine) {
  EXPECT_EQ(LinesOf(""), Lines{});
}

TEST(NextConfigLine, OnlyLineBreaksHaveNoLine) {
  EXPECT_EQ(LinesOf("\r\n\n\r\r\n"), Lines{});
}

TEST(NextConfigLine, LfCrAndCrLfEndLines) {
  EXPECT_EQ(LinesOf("a=1\nb=2\rc=3\r\nd=4\r\n\r\ne=5"), (Lines{"a=1", "b=2", "c=3", "d=4", "e=5"}));
}

TEST(NextConfigLine, LastLineNeedsNoLineBreak) {
  EXPECT_EQ(LinesOf("a=1"), Lines{"a=1"});
}

TEST(NextConfigLine, LongestLineIsWhole) {
  const std::string longest(kLineMax, 'x');
  EXPECT_EQ(LinesOf(longest + "\nnext\n"), (Lines{longest, "next"}));
}

TEST(NextConfigLine, LongerLineIsCutAndItsRestSkipped) {
  const std::string longest(kLineMax, 'x');
  EXPECT_EQ(LinesOf(longest + "y\nnext\n"), (Lines{longest, "next"}));
  EXPECT_EQ(LinesOf(longest + std::string(20000, 'y') + "\r\nnext"), (Lines{longest, "next"}));
}

TEST(NextConfigLine, EndlessLineIsCut) {
  EXPECT_EQ(LinesOf(std::string(3000000, 'x')), Lines{std::string(kLineMax, 'x')});
}

TEST(NextConfigLine, LineAcrossBlocksIsWhole) {
  std::string content;
  Lines expected;
  for (int i = 0; i < 100; ++i) {
    expected.push_back(std::to_string(i) + std::string(997, 'x'));
    content += expected.back() + "\n";
  }
  EXPECT_EQ(LinesOf(content), expected);
}

TEST(NextConfigLine, CrAndLfOnBothSidesOfABlockBoundary) {
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

TEST(NextConfigLine, Byte0xFFEndsLineDeliberately) {
  EXPECT_EQ(LinesOf("ab\xFF"
                    "cd\nef"),
            (Lines{"ab", "cd", "ef"}));
}

TEST(NextConfigLine, Byte0xFFBeginsALineLikeAnyOther) {
  EXPECT_EQ(LinesOf("\xFF\xFF\xFF\nx"), (Lines{"\xFF", "\xFF", "x"}));
  EXPECT_EQ(LinesOf("a\n\xFF"
                    "b\n"),
            (Lines{"a",
                   "\xFF"
                   "b"}));
}

TEST(NextConfigLine, Byte0xFFAfterALongestLineEndsIt) {
  const std::string longest(kLineMax, 'x');
  EXPECT_EQ(LinesOf(longest + "\xFFnext\n"), (Lines{longest, "next"}));
}

TEST(NextConfigLine, Byte0xFFInASkippedRestDoesNotEndIt) {
  const std::string longest(kLineMax, 'x');
  EXPECT_EQ(LinesOf(longest + "y\xFFskipped\nnext\n"), (Lines{longest, "next"}));
}

TEST(NextConfigLine, NulEndsTheTextOfItsLine) {
  EXPECT_EQ(LinesOf(std::string("a=1\0b\nc", 7)), (Lines{"a=1", "c"}));
}

TEST(NextConfigLine, EqualsThePlainFormOnRandomInput) {
  std::mt19937 random(7);
  const std::string letters = "a=;\n\r\xFF#b";
  for (int round = 0; round < 60; ++round) {
    SCOPED_TRACE(round);
    const size_t breaks = 1 + random() % 3000;  // between a break every few bytes and hardly any
    std::string content;
    for (int i = 0; i < 30000; ++i) {
      content += random() % breaks == 0 ? letters[random() % letters.size()] : 'x';
    }
    ASSERT_EQ(LinesOf(content), PlainConfigLines(content));
  }
}

TEST(OpenConfigLines, MissingFileIsRefused) {
  ConfigLines lines;
  EXPECT_FALSE(OpenConfigLines(lines, NewPath("missing").c_str()));
  EXPECT_FALSE(OpenConfigLines(lines, ""));
}

TEST(OpenConfigLines, FolderOpensAndYieldsNothing) {
  EXPECT_EQ(LinesAt(testing::TempDir()), Lines{});
}

TEST(OpenConfigLines, EndlessDeviceOpensAndYieldsNothing) {
  EXPECT_EQ(LinesAt("/dev/zero"), Lines{});
  EXPECT_EQ(LinesAt("/dev/null"), Lines{});
}

TEST(OpenConfigLines, PipeWithoutWriterIsNotWaitedFor) {
  const std::string path = NewPath("pipe");
  ASSERT_EQ(mkfifo(path.c_str(), 0600), 0);
  EXPECT_EQ(LinesAt(path), Lines{});
}
