#include "superlog/line_reader.h"

#include <sys/stat.h>

#include <cstring>
#include <filesystem>
#include <fstream>
#include <random>
#include <string>
#include <vector>

#include "base/text.h"
#include "log_text.h"
#include "superlog/plain_lines.h"
#include "unpack/packed.h"
#include "unpack/unpacking.h"

using Lines = std::vector<std::string>;

class LineReaderTest : public testing::Test {
 protected:
  void SetUp() override { ResetLineReader(); }
  void TearDown() override {
    ResetLineReader();
    mLogLimits = kClassicLimits;
  }
};
using ReadLineFromBigBufTest = LineReaderTest;
using ReadLineTest = LineReaderTest;
using OpenLogTest = LineReaderTest;

static Lines ReadAll(const std::string& bytes, void (*read)()) {
  OpenLogText(bytes);
  Lines lines;
  for (read(); mLineLen != 0; read()) {
    EXPECT_EQ(mpLine[mLineLen], '\0');
    EXPECT_EQ(static_cast<size_t>(mpLineEnd - mpLine), strlen(mpLine));
    lines.push_back(CurrentLine());
  }
  EXPECT_STREQ(mpLine, "");
  CloseLog();
  return lines;
}

static uint64_t TotalBytes() {
  return uint64_t{TotalLogBytesRead().billions} * 1000000000 + TotalLogBytesRead().units;
}

static void ExpectSameAsModel(const std::string& bytes) {
  ResetLineReader();
  OpenLogText(bytes);
  BlockModel model(bytes);
  std::string expected;
  do {
    expected = model.ReadLine();
    ReadLineFromBigBuf();
    ASSERT_EQ(CurrentLine(), expected);
    ASSERT_EQ(TotalBytes(), model.counted());
    ASSERT_EQ(mpLine[mLineLen], '\0');
    ASSERT_EQ(static_cast<size_t>(mpLineEnd - mpLine), strlen(mpLine));
    ASSERT_TRUE(QuotesAreTold());
    // A user of the line may write to it.
    memset(mpLine, '\n', mLineLen);
  } while (!expected.empty());
  EXPECT_EQ(TotalBytes(), bytes.size());
}

static std::string RandomBytes(std::mt19937& random, size_t size, unsigned line_ends_per_thousand) {
  const std::string special = {'\r', '\n', '\r', '\n', '\xFF', '\0', '\x80', '\x7F', '"', '"', '"'};
  std::string bytes(size, '\0');
  for (char& c : bytes) {
    const bool is_special = random() % 1000 < line_ends_per_thousand;
    c = is_special ? special[random() % special.size()] : static_cast<char>('a' + random() % 26);
  }
  return bytes;
}

// --- The block reader -----------------------------------------------------------

TEST_F(ReadLineFromBigBufTest, EmptyFileYieldsNothing) {
  EXPECT_EQ(ReadAll("", ReadLineFromBigBuf), Lines());
  EXPECT_EQ(TotalBytes(), 0u);
}

TEST_F(ReadLineFromBigBufTest, LineEndsAloneYieldNothing) {
  EXPECT_EQ(ReadAll("\r\n\n\r\r\n", ReadLineFromBigBuf), Lines());
  EXPECT_EQ(TotalBytes(), 6u);
}

TEST_F(ReadLineFromBigBufTest, NoFileYieldsNothing) {
  ReadLineFromBigBuf();
  EXPECT_EQ(mLineLen, 0u);
  EXPECT_STREQ(mpLine, "");
}

TEST_F(ReadLineFromBigBufTest, EmptyLinesAreSkipped) {
  EXPECT_EQ(ReadAll("a\r\n\r\nb", ReadLineFromBigBuf), (Lines{"a", "b"}));
}

TEST_F(ReadLineFromBigBufTest, LastLineNeedsNoLineEnd) {
  EXPECT_EQ(ReadAll("a\nbc", ReadLineFromBigBuf), (Lines{"a", "bc"}));
}

TEST_F(ReadLineFromBigBufTest, StaysAtTheEnd) {
  OpenLogText("a\n");
  ReadLineFromBigBuf();
  for (int i = 0; i < 3; ++i) {
    ReadLineFromBigBuf();
    EXPECT_EQ(mLineLen, 0u);
  }
  EXPECT_EQ(TotalBytes(), 2u);
}

TEST_F(ReadLineFromBigBufTest, LongestLineIsWholeAndALongerOneIsCut) {
  const std::string longest(kLineMax, 'x');
  EXPECT_EQ(ReadAll(longest + "\nnext\n", ReadLineFromBigBuf), (Lines{longest, "next"}));
  EXPECT_EQ(ReadAll(longest + "y\nnext\n", ReadLineFromBigBuf), (Lines{longest, "next"}));
  EXPECT_EQ(ReadAll(longest + std::string(300000, 'y').append("\rnext"), ReadLineFromBigBuf),
            (Lines{longest, "next"}));
  EXPECT_EQ(ReadAll(longest + "y", ReadLineFromBigBuf), Lines{longest});
}

TEST_F(ReadLineFromBigBufTest, LineAcrossABlockBoundaryIsWhole) {
  const std::string before(kBlockSize - 3 - 1, 'a');
  const Lines lines = ReadAll(before + "\nbcdefg\nh\n", ReadLineFromBigBuf);
  EXPECT_EQ(lines, (Lines{before.substr(0, kLineMax), "bcdefg", "h"}));
}

TEST_F(ReadLineFromBigBufTest, Byte0xFFEndsLineDeliberately) {
  EXPECT_EQ(ReadAll("ab\xFF"
                    "cd\n",
                    ReadLineFromBigBuf),
            (Lines{"ab", "cd"}));
}

TEST_F(ReadLineFromBigBufTest, Byte0xFFAsFirstCharacterIsKept) {
  EXPECT_EQ(ReadAll("\xFF"
                    "ab\n\xFF\xFF\xFF\n",
                    ReadLineFromBigBuf),
            (Lines{"\xFF"
                   "ab",
                   "\xFF", "\xFF"}));
}

TEST_F(ReadLineFromBigBufTest, Byte0xFFAs1536thCharacterEndsTheLine) {
  const std::string longest(kLineMax, 'x');
  EXPECT_EQ(ReadAll(longest + "\xFFrest\n", ReadLineFromBigBuf), (Lines{longest, "rest"}));
}

TEST_F(ReadLineFromBigBufTest, Byte0xFFDoesNotEndTheDiscardedRest) {
  const std::string longest(kLineMax, 'x');
  EXPECT_EQ(ReadAll(longest + "y\xFFrest\nnext\n", ReadLineFromBigBuf), (Lines{longest, "next"}));
}

TEST_F(ReadLineFromBigBufTest, ModernByte0xFFIsAnOrdinaryCharacter) {
  mLogLimits = kModernLimits;
  EXPECT_EQ(ReadAll("ab\xFF"
                    "cd\n\xFF\xFF\n",
                    ReadLineFromBigBuf),
            (Lines{"ab\xFF"
                   "cd",
                   "\xFF\xFF"}));
  const std::string across = std::string(kBigBufSize - 3, '\n').append("a\xFF\xFF\xFF\xFF b");
  EXPECT_EQ(ReadAll(across + "\n", ReadLineFromBigBuf), Lines{"a\xFF\xFF\xFF\xFF b"});
}

TEST_F(ReadLineFromBigBufTest, ModernAMarkAtTheBeginningIsNoPartOfTheFirstLine) {
  const std::string mark = "\xEF\xBB\xBF";
  EXPECT_EQ(ReadAll(mark + "a\n", ReadLineFromBigBuf), Lines{mark + "a"});
  mLogLimits = kModernLimits;
  EXPECT_EQ(ReadAll(mark + "a\n" + mark + "b\n", ReadLineFromBigBuf), (Lines{"a", mark + "b"}));
  EXPECT_EQ(ReadAll(mark + mark + "\n", ReadLineFromBigBuf), Lines{mark});
  EXPECT_EQ(ReadAll(mark + "\r\n\na", ReadLineFromBigBuf), Lines{"a"});
  EXPECT_EQ(ReadAll(mark, ReadLineFromBigBuf), Lines());
  EXPECT_EQ(ReadAll(mark.substr(0, 2) + "\na", ReadLineFromBigBuf), (Lines{mark.substr(0, 2), "a"}));
  EXPECT_EQ(ReadAll("\n" + mark, ReadLineFromBigBuf), Lines{mark});
  ExpectSameAsModel(mark + RecordLines(3000));
  ExpectSameAsModel(mark + std::string(kBigBufSize - mark.size(), 'a') + mark + "b\n");
}

TEST_F(ReadLineFromBigBufTest, ModernLinesAreWhereTheyAreBehindAMark) {
  const std::string mark = "\xEF\xBB\xBF";
  mLogLimits = kModernLimits;
  OpenLogText(mark + "a\nbc\n" + mark + "d\n");
  EXPECT_EQ(NextLineOffset(), 0);
  EXPECT_TRUE(BeginningOfLog().starts_with("a\n"));
  ReadLineFromBigBuf();
  EXPECT_EQ(NextLineOffset(), 5);
  EXPECT_EQ(LineNumber(), 1);
  const std::pair<int64_t, std::string> lines[] = {{5, "bc"}, {8, mark + "d"}, {0, "a"}};
  for (const auto& [offset, line] : lines) {
    GoToLine(offset);
    ReadLineFromBigBuf();
    EXPECT_EQ(CurrentLine(), line) << offset;
  }
}

TEST_F(ReadLineFromBigBufTest, NulEndsTheTextButNotTheLine) {
  OpenLogText(std::string("ab\0cd\nef\n", 9));
  ReadLineFromBigBuf();
  EXPECT_EQ(mLineLen, 5u);
  EXPECT_EQ(mpLineEnd, mpLine + 2);
  ReadLineFromBigBuf();
  EXPECT_EQ(CurrentLine(), "ef");
  EXPECT_EQ(mpLineEnd, mpLine + 2);
}

static std::string Nuls(size_t count) {
  std::string nuls(count, '\0');
  return nuls;
}

// Whether each line is cut, by the lines.
static std::string CutLines(const std::string& bytes) {
  OpenLogText(bytes);
  std::string told;
  for (ReadLineFromBigBuf(); mLineLen != 0; ReadLineFromBigBuf()) {
    told += std::string(mpLine, mpLineEnd) + (IsLineCut() ? "! " : " ");
  }
  CloseLog();
  return told;
}

TEST_F(ReadLineFromBigBufTest, ModernNulsBeforeALineArePassedOver) {
  for (const size_t count : {1u, 7u, 8u, 4000u, 65535u, 65536u, 65537u, 65543u, 200000u}) {
    mLogLimits = kModernLimits;
    EXPECT_EQ(ReadAll(Nuls(count) + "ab\n\"c\"\n", ReadLineFromBigBuf), (Lines{"ab", "\"c\""})) << count;
    EXPECT_EQ(ReadAll("ab\n" + Nuls(count) + "\"c\"\n" + Nuls(count), ReadLineFromBigBuf),
              (Lines{"ab", "\"c\""}))
        << count;
    OpenLogText("ab\n" + Nuls(count) + "\"c\"\r\n");
    ReadLineFromBigBuf();
    ReadLineFromBigBuf();
    EXPECT_TRUE(QuotesAreTold() && mLineQuotes.begin != nullptr) << count;
    mLogLimits = kClassicLimits;
    EXPECT_EQ(CutLines(Nuls(100) + "ab\ncd\n"), "! cd ");
  }
}

TEST_F(ReadLineFromBigBufTest, ModernHolesBeforeALineArePassedOver) {
  mLogLimits = kModernLimits;
  for (const int64_t size : {int64_t{1} << 20, (int64_t{5} << 30) + 12345}) {
    const std::string path = WriteLog("ab\n");
    std::filesystem::resize_file(path, static_cast<uint64_t>(size));
    std::ofstream(path, std::ios::app) << "cd\nef\n";
    ASSERT_TRUE(OpenLog(path.c_str()));
    remove(path.c_str());
    HashReading({}, {}, 0);
    std::string told;
    for (ReadLineFromBigBuf(); mLineLen != 0; ReadLineFromBigBuf()) {
      told += CurrentLine() + " " + std::to_string(LineNumber()) + ", ";
      told += std::to_string(NextLineOffset() - (told.size() < 10 ? 0 : size)) + "\n";
    }
    EXPECT_EQ(told, "ab 1, 3\ncd 2, 3\nef 3, 6\n");
    ContentHash hash;
    EXPECT_FALSE(HashOfReading(hash));  // not all of it was read
  }
}

TEST_F(ReadLineFromBigBufTest, CutLinesEndAtANulOrWithTheFile) {
  for (const Limits& limits : {kClassicLimits, kModernLimits}) {
    mLogLimits = limits;
    EXPECT_EQ(CutLines("a\nb\r\nc\rd"), "a b c d! ");
    EXPECT_EQ(CutLines("a\nb\n"), "a b ");
    EXPECT_EQ(CutLines("a" + Nuls(1) + "b\nc" + Nuls(1) + "\nd\n"), "a! c! d ");
    for (const size_t size : {kBigBufSize - 1, kBigBufSize, kBigBufSize + 1}) {
      const std::string before(size - 4, '\n');
      EXPECT_EQ(CutLines(before + "\"bc\""), "\"bc\"! ") << size;
      EXPECT_EQ(CutLines(before + "\"c\"\n"), "\"c\" ") << size;
    }
  }
}

TEST_F(ReadLineFromBigBufTest, CountsTheUnreadTailOfTheCurrentBlockOnly) {
  OpenLogText(std::string(3 * kBlockSize + 100, '\n').replace(0, 1, "a").replace(3 * kBlockSize, 1, "b"));
  ReadLineFromBigBuf();
  EXPECT_EQ(TotalBytes(), kBlockSize);
  ReadLineFromBigBuf();
  EXPECT_EQ(CurrentLine(), "b");
  EXPECT_EQ(TotalBytes(), 3 * kBlockSize + 100);
}

TEST_F(ReadLineFromBigBufTest, BlockIsCountedWhenItsFirstByteIsNeeded) {
  OpenLogText(std::string(kBlockSize - 1, 'a').append("\nb\n"));
  ReadLineFromBigBuf();
  EXPECT_EQ(TotalBytes(), kBlockSize);
  ReadLineFromBigBuf();
  EXPECT_EQ(TotalBytes(), kBlockSize + 2);
}

TEST_F(ReadLineFromBigBufTest, CountsOverAllFiles) {
  ReadAll("one\n", ReadLineFromBigBuf);
  ReadAll("three\n", ReadLineFromBigBuf);
  EXPECT_EQ(TotalBytes(), 10u);
  ResetLineReader();
  EXPECT_EQ(TotalBytes(), 0u);
}

TEST_F(ReadLineFromBigBufTest, ClosingEmptiesTheBuffer) {
  OpenLogText("a\nb\nc\n");
  ReadLineFromBigBuf();
  CloseLog();
  ReadLineFromBigBuf();
  EXPECT_EQ(mLineLen, 0u);
  OpenLogText("d\n");
  ReadLineFromBigBuf();
  EXPECT_EQ(CurrentLine(), "d");
}

TEST_F(ReadLineFromBigBufTest, EqualsThePlainRulesOverRandomBytes) {
  std::mt19937 random(31);
  for (const unsigned line_ends : {1u, 5u, 30u, 300u, 900u}) {
    for (const size_t size : {100ul, 5000ul, 40000ul, 2 * kBigBufSize, 2 * kBigBufSize + 777}) {
      SCOPED_TRACE(testing::Message() << line_ends << " in 1000, " << size << " bytes");
      ExpectSameAsModel(RandomBytes(random, size, line_ends));
    }
  }
}

// Every way in which the bytes around a boundary can lie on it.
static void ExpectSameAroundBoundary(size_t boundary, const std::string& bytes) {
  for (size_t back = 0; back <= bytes.size(); ++back) {
    SCOPED_TRACE(testing::Message() << "boundary " << boundary << ", " << back << " bytes before it");
    std::string text(boundary - back, 'x');
    for (size_t i = 99; i < text.size(); i += 100) {
      text[i] = '\n';
    }
    ExpectSameAsModel(text + bytes + "tail\n");
    ASSERT_FALSE(testing::Test::HasFailure());
  }
}

TEST_F(ReadLineFromBigBufTest, LineEndsAroundBoundaries) {
  for (const size_t boundary : {kBlockSize, 2 * kBlockSize, kBigBufSize, 2 * kBigBufSize}) {
    ExpectSameAroundBoundary(boundary,
                             "\r\n\r\nab\r\ncd\xFF"
                             "ef\n\xFFg\n");
  }
}

TEST_F(ReadLineFromBigBufTest, FirstLineEndsAnywhereNearABoundary) {
  for (const size_t boundary : {kBlockSize, kBigBufSize}) {
    for (size_t length = boundary - 5; length <= boundary + 5; ++length) {
      SCOPED_TRACE(length);
      ExpectSameAsModel(std::string(length, 'x').append("\r\nsecond\n"));
      ExpectSameAsModel(std::string(length, '\n').append("second\n"));
    }
  }
}

TEST_F(ReadLineFromBigBufTest, LongLinesAcrossTheWindowBoundary) {
  for (const size_t length : {kLineMax - 1, kLineMax, kLineMax + 1, kLineMax + 2}) {
    for (const size_t back : {1ul, 2ul, 700ul, kLineMax - 1, kLineMax, kLineMax + 1, kLineMax + 2}) {
      SCOPED_TRACE(testing::Message() << length << " " << back);
      ExpectSameAsModel(
          std::string(kBigBufSize - back, '\n').append(std::string(length, 'x')).append("\nnext\n"));
    }
  }
}

TEST_F(ReadLineFromBigBufTest, LinesOf64KiBAcrossTheWindowBoundary) {
  mLogLimits = kModernLimits;
  const size_t longest = mLogLimits.line;
  ASSERT_EQ(longest, 65536u);
  for (const size_t length : {1535ul, 1536ul, longest - 1, longest, longest + 1, 3 * longest}) {
    for (const size_t before : {0ul, 1ul, 700ul, kBigBufSize - 1, kBigBufSize, kBigBufSize + 1}) {
      for (const char* next : {"\nnext\n", "\r\nnext", "\xFFnext\n", ""}) {
        SCOPED_TRACE(testing::Message() << length << " " << before << " " << next);
        ExpectSameAsModel(std::string(before, '\n').append(std::string(length, 'x')).append(next));
      }
    }
  }
}

TEST_F(ReadLineFromBigBufTest, RandomBytesWithLongLines) {
  mLogLimits = kModernLimits;
  std::mt19937 random(11);
  for (int round = 0; round < 10; ++round) {
    std::string bytes = RandomBytes(random, 1000000, 1);
    for (char& c : bytes) {
      c = (c == '\n' || c == '\r' || c == '\xFF') && random() % 50 != 0 ? 'z' : c;
    }
    SCOPED_TRACE(round);
    ExpectSameAsModel(bytes);
  }
}

TEST_F(ReadLineFromBigBufTest, FileOfExactlyOneWindowEnds) {
  ExpectSameAsModel(std::string(kBigBufSize, 'x'));
  ExpectSameAsModel(std::string(kBigBufSize - 3, '\n').append("abc"));
  ExpectSameAsModel(std::string(kBigBufSize - 3, '\n').append("ab\n"));
}

// --- The plain reader -----------------------------------------------------------

TEST_F(ReadLineTest, SharesTheRulesOfLines) {
  const std::string longest(kLineMax, 'x');
  EXPECT_EQ(ReadAll("", ReadLine), Lines());
  EXPECT_EQ(ReadAll("\r\n\r\n", ReadLine), Lines());
  EXPECT_EQ(ReadAll("a\r\n\r\nb", ReadLine), (Lines{"a", "b"}));
  EXPECT_EQ(ReadAll(longest + "\nnext\n", ReadLine), (Lines{longest, "next"}));
  EXPECT_EQ(ReadAll(longest + "yyy\nnext\n", ReadLine), (Lines{longest, "next"}));
  EXPECT_EQ(ReadAll(longest + "y", ReadLine), Lines{longest});
  EXPECT_EQ(ReadAll(std::string(4095, '\n').append("ab\n"), ReadLine), Lines{"ab"});
}

TEST_F(ReadLineTest, KeepsLinesOf64KiB) {
  mLogLimits = kModernLimits;
  const std::string longest(65536, 'x');
  EXPECT_EQ(ReadAll(longest + "\nnext\n", ReadLine), (Lines{longest, "next"}));
  EXPECT_EQ(ReadAll(longest + "yyy\nnext\n", ReadLine), (Lines{longest, "next"}));
  EXPECT_EQ(ReadAll("\n" + longest + "y", ReadLine), Lines{longest});
}

TEST_F(ReadLineTest, Byte0xFFIsAnOrdinaryCharacter) {
  EXPECT_EQ(ReadAll("ab\xFF"
                    "cd\n",
                    ReadLine),
            (Lines{"ab\xFF"
                   "cd"}));
}

TEST_F(ReadLineTest, DoesNotCountBytes) {
  ReadAll("abc\n", ReadLine);
  EXPECT_EQ(TotalBytes(), 0u);
}

TEST_F(ReadLineTest, EqualsTheModernBlockReader) {
  mLogLimits = kModernLimits;
  std::mt19937 random(5);
  const std::string bytes = RandomBytes(random, 100000, 20);
  ASSERT_NE(bytes.find('\xFF'), std::string::npos);
  EXPECT_EQ(ReadAll(bytes, ReadLine), ReadAll(bytes, ReadLineFromBigBuf));
}

TEST_F(ReadLineTest, EqualsTheBlockReaderWithout0xFF) {
  std::mt19937 random(5);
  std::string bytes = RandomBytes(random, 100000, 20);
  std::replace(bytes.begin(), bytes.end(), '\xFF', 'y');
  EXPECT_EQ(ReadAll(bytes, ReadLine), ReadAll(bytes, ReadLineFromBigBuf));
}

TEST_F(ReadLineTest, ReadsFromWherePositioned) {
  std::string bytes;
  for (int i = 0; i < 2000; ++i) {
    bytes += "line " + std::to_string(i + 1000) + "\n";  // ten bytes each
  }
  OpenLogText(bytes);
  for (const int number : {1999, 0, 5, 410, 409, 1000}) {
    ASSERT_TRUE(SeekLog(number * 10));
    EXPECT_EQ(TellLog(), number * 10);
    ReadLine();
    EXPECT_EQ(CurrentLine(), "line " + std::to_string(number + 1000));
    EXPECT_EQ(TellLog(), number * 10 + 10);
  }
}

TEST_F(ReadLineTest, PositionsOutsideTheFile) {
  OpenLogText("abc\n");
  EXPECT_FALSE(SeekLog(-1));
  EXPECT_EQ(TellLog(), 0);
  ASSERT_TRUE(SeekLog(1000));
  ReadLine();
  EXPECT_EQ(mLineLen, 0u);
  ASSERT_TRUE(SeekLog(1));
  ReadLine();
  EXPECT_EQ(CurrentLine(), "bc");
  CloseLog();
  EXPECT_FALSE(SeekLog(0));
}

TEST(ReadRestOfLine, StopsBehindTheNextCrOrLf) {
  ResetLineReader();
  OpenLogText("ab\r\ncd\nef");
  EXPECT_EQ(ReadRestOfLine(), '\r');
  EXPECT_EQ(TellLog(), 3);
  EXPECT_EQ(ReadRestOfLine(), '\n');
  EXPECT_EQ(ReadRestOfLine(), '\n');
  EXPECT_EQ(ReadRestOfLine(), -1);
  EXPECT_EQ(TellLog(), 9);
  ResetLineReader();
}

// --- Opening ----------------------------------------------------------------------

TEST_F(OpenLogTest, MissingFile) {
  EXPECT_FALSE(OpenLog((testing::TempDir() + "orvellis_no_such_file").c_str()));
  EXPECT_FALSE(IsLogOpen());
}

TEST_F(OpenLogTest, OpenUntilClosed) {
  EXPECT_FALSE(IsLogOpen());
  OpenLogText("a\n");
  EXPECT_TRUE(IsLogOpen());
  CloseLog();
  EXPECT_FALSE(IsLogOpen());
  CloseLog();
}

TEST_F(OpenLogTest, WhatIsNoRegularFileYieldsNoLines) {
  const std::string pipe = WriteLog("", "pipe");
  remove(pipe.c_str());
  ASSERT_EQ(mkfifo(pipe.c_str(), 0600), 0);
  for (const std::string& path : {testing::TempDir(), pipe, std::string("/dev/zero")}) {
    SCOPED_TRACE(path);
    EXPECT_TRUE(OpenLog(path.c_str()));
    ReadLineFromBigBuf();
    EXPECT_EQ(mLineLen, 0u);
    ReadLine();
    EXPECT_EQ(mLineLen, 0u);
    EXPECT_EQ(ReadRestOfLine(), -1);
  }
  EXPECT_EQ(TotalBytes(), 0u);
  remove(pipe.c_str());
}

// The first page of a process is nobody's, so that reading it fails as a bad disk does.
TEST_F(OpenLogTest, FileThatCannotBeReadEndsThere) {
  ASSERT_TRUE(OpenLog("/proc/self/mem"));
  ReadLineFromBigBuf();
  EXPECT_EQ(mLineLen, 0u);
  ReadLine();
  EXPECT_EQ(mLineLen, 0u);
  EXPECT_EQ(TotalBytes(), 0u);
}

// --- Text ahead -----------------------------------------------------------------

// Looks ahead where the text begins, where nearly all that was read ahead has passed and the rest is at hand
// anyway, and then now and then.
static void ExpectTextFarAhead(const std::string& text, const std::string& file) {
  OpenLogText(file);
  size_t behind = 0;
  int looks = 0;
  int count = 0;
  for (ReadLineFromBigBuf(); mLineLen != 0; ReadLineFromBigBuf(), ++count) {
    ASSERT_EQ(text.substr(behind, mLineLen), CurrentLine());
    behind += mLineLen + size_t{1};
    const bool second = looks == 1 && behind >= kMostAhead;
    if (count == 0 || second || (looks > 1 && count % 9000 < 3)) {
      const std::string_view far = TextFarAhead();
      ++looks;
      ASSERT_TRUE(std::string_view(text).substr(behind).starts_with(far)) << count;
      ASSERT_LE(far.size(), kMostAhead);
      ASSERT_GE(far.size(), std::min(text.size() - behind, kMostAhead / 2));
    }
  }
  EXPECT_EQ(behind, text.size());
  EXPECT_GT(looks, 9);
  CloseLog();
}

// What is read ahead at first ends some lines behind the end of a window.
static const std::string& LongLog() {
  static const std::string text = std::string(500, 'x') + "\n" + RecordLines(45000);
  return text;
}

TEST_F(ReadLineFromBigBufTest, TextFarAheadIsWhatFollows) {
  mLogLimits = kModernLimits;
  ExpectTextFarAhead(LongLog(), LongLog());
}

TEST_F(ReadLineFromBigBufTest, TextFarAheadIsOfTheOpenFile) {
  mLogLimits = kModernLimits;
  OpenLogText(LongLog());
  ReadLineFromBigBuf();
  TextFarAhead();
  OpenLogText("one\ntwo\n");
  ReadLineFromBigBuf();
  EXPECT_EQ(TextFarAhead(), "two\n");
  ReadLineFromBigBuf();
  EXPECT_EQ(CurrentLine(), "two");
}

TEST(TrimEolChars, CutsAtTheFirstLineEnd) {
  for (const auto& [text, cut] : std::vector<std::pair<std::string, std::string>>{
           {"abc\r\n", "abc"}, {"abc\n", "abc"}, {"a\rb\nc", "a"}, {"abc", "abc"}, {"", ""}, {"\n", ""}}) {
    char buffer[16];
    CopyText(buffer, text);
    TrimEolChars(buffer);
    EXPECT_EQ(buffer, cut);
  }
}

// --- Compressed files -----------------------------------------------------------

class CompressedLogTest : public LineReaderTest {
 protected:
  void SetUp() override {
    LineReaderTest::SetUp();
    if (LibraryFor(PackFormat::kGzip) == nullptr) {
      GTEST_SKIP() << "built without gzip";
    }
    SetUnpacking(true);
  }
  void TearDown() override {
    LineReaderTest::TearDown();
    StopUnpacking();
  }
};

// Several windows, and an end within a block.
static const std::string& LargeLog() {
  static const std::string text = RecordLines(12000) + "the end";
  return text;
}

TEST_F(CompressedLogTest, BothReadersDeliverWhatIsInIt) {
  const std::string packed = Pack(PackFormat::kGzip, LargeLog());
  const Lines plain = ReadAll(LargeLog(), ReadLineFromBigBuf);
  ASSERT_EQ(plain.size(), 12001u);
  EXPECT_EQ(ReadAll(packed, ReadLineFromBigBuf), plain);
  EXPECT_EQ(ReadAll(packed, ReadLine), plain);
}

TEST_F(CompressedLogTest, PassesAMarkInIt) {
  mLogLimits = kModernLimits;
  const std::string packed = Pack(PackFormat::kGzip, "\xEF\xBB\xBF" + LargeLog());
  EXPECT_EQ(ReadAll(packed, ReadLineFromBigBuf), ReadAll(LargeLog(), ReadLineFromBigBuf));
}

TEST_F(CompressedLogTest, TextFarAheadIsKept) {
  mLogLimits = kModernLimits;
  ExpectTextFarAhead(LongLog(), Pack(PackFormat::kGzip, LongLog()));
}

TEST_F(CompressedLogTest, BytesAreCountedAsTheyComeOut) {
  ReadAll(Pack(PackFormat::kGzip, LargeLog()), ReadLineFromBigBuf);
  EXPECT_EQ(TotalBytes(), LargeLog().size());
}

TEST_F(CompressedLogTest, IsAFileLikeAnyOtherWhereNothingIsUnpacked) {
  const std::string packed = Pack(PackFormat::kGzip, LargeLog());
  SetUnpacking(false);
  OpenLogText(packed);
  EXPECT_EQ(FormatOfLog(), PackFormat::kNone);
  EXPECT_EQ(CloseLog(), UnpackEnd::kWhole);
  ReadAll(packed, ReadLineFromBigBuf);
  EXPECT_EQ(TotalBytes(), packed.size());
}

TEST_F(CompressedLogTest, TellsHowItEnded) {
  const std::string packed = Pack(PackFormat::kGzip, LargeLog());
  for (const auto& [bytes, end] : {std::pair(packed, UnpackEnd::kWhole),
                                   std::pair(packed.substr(0, packed.size() - 4), UnpackEnd::kDamaged)}) {
    OpenLogText(bytes);
    EXPECT_EQ(FormatOfLog(), PackFormat::kGzip);
    for (ReadLineFromBigBuf(); mLineLen != 0; ReadLineFromBigBuf()) {
    }
    EXPECT_EQ(CloseLog(), end);
  }
  OpenLogText(packed);
  ReadLineFromBigBuf();
  EXPECT_EQ(CloseLog(), UnpackEnd::kUnwanted);
  EXPECT_EQ(CloseLog(), UnpackEnd::kWhole);
}
