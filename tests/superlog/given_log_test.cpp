#include "superlog/given_log.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <string>

namespace {

// Letters that tell their place, and line ends.
std::string Log(size_t size) {
  std::string log(size, ' ');
  for (size_t i = 0; i < size; ++i) {
    log[i] = i % 50 == 49 ? '\n' : static_cast<char>('!' + i * 7 % 90);
  }
  return log;
}

LogPiece Piece(const std::string& log, int64_t from, int64_t lead, int64_t to) {
  LogPiece piece;
  piece.path = "a.log";
  piece.size = log.size();
  piece.from = from;
  piece.lead = lead;
  piece.to = to;
  return piece;
}

class GivenLogTest : public testing::Test {
 protected:
  ~GivenLogTest() override { ForgetGivenLog(); }

  // Reads it from its beginning to its end, too, and counts the line ends before the end.
  LogGiven Give(const std::string& stream, const LogPiece& piece) {
    FILE* const file = tmpfile();
    fwrite(stream.data(), 1, stream.size(), file);
    rewind(file);
    TakeGivenLog(file, piece);
    read_ = IsStreamed("a.log") ? ReadAll() : ReadFile();
    const LogGiven given = EndGivenLog();
    fclose(file);
    return given;
  }

  static std::string ReadAll() {
    std::string text;
    size_t some = 0;
    do {
      constexpr size_t kSome = 100000;
      const size_t before = text.size();
      text.resize(before + kSome);
      some = ReadStreamed(text.data() + before, kSome, static_cast<int64_t>(before));
      text.resize(before + some);
    } while (some > 0 && text.size() < size_t{64} << 20);
    return text;
  }

  static std::string ReadFile() {
    const OpenedFile opened = OpenLogFile("a.log");
    std::string text(static_cast<size_t>(lseek(opened.file, 0, SEEK_END)), '\0');
    EXPECT_EQ(pread(opened.file, text.data(), text.size(), 0), static_cast<ssize_t>(text.size()));
    close(opened.file);
    return text;
  }

  std::string read_;
};

std::string Packed(size_t size) {
  return "\x1f\x8b\x08" + Log(size);
}

TEST_F(GivenLogTest, IsTheWholeLog) {
  const std::string log = Log(200000);
  ASSERT_EQ(Give(log, Piece(log, 0, 0, kNoStop)), LogGiven::kAll);
  EXPECT_EQ(read_, log);
  EXPECT_EQ(LinesOfGivenLog()->before, 0);
  EXPECT_EQ(LinesOfGivenLog()->within, 4000);
}

TEST_F(GivenLogTest, MayHaveGrown) {
  const std::string log = Log(1000);
  ASSERT_EQ(Give(log + "more\n", Piece(log, 0, 0, kNoStop)), LogGiven::kAll);
  EXPECT_EQ(read_, log + "more\n");
}

TEST_F(GivenLogTest, StandsWhereItsBytesAreInTheLog) {
  const std::string log = Log(6 << 20);
  constexpr int64_t kFrom = 4000000;
  constexpr int64_t kLead = kFrom - 1000;
  constexpr int64_t kTo = 4500000;
  constexpr auto kBegin = static_cast<size_t>(kLead - kGivenBefore);
  constexpr auto kEnd = static_cast<size_t>(kTo + kGivenBehind);
  const std::string stream = log.substr(0, kGivenFirst) + log.substr(kBegin, kEnd - kBegin);
  const LogPiece piece = Piece(log, kFrom, kLead, kTo);
  ASSERT_EQ(Give(stream, piece), LogGiven::kAll);
  std::string wanted = log;
  std::fill(wanted.begin() + kGivenFirst, wanted.begin() + kBegin, '\0');
  wanted.resize(kEnd);
  EXPECT_TRUE(read_ == wanted);
  EXPECT_EQ(LinesOfGivenLog()->before, std::count(wanted.begin(), wanted.begin() + kFrom, '\n'));
  EXPECT_EQ(LinesOfGivenLog()->within, (kTo - kFrom) / 50);
  EXPECT_EQ(Give(stream.substr(0, stream.size() - 1), piece), LogGiven::kTooShort);
  EXPECT_EQ(Give(stream.substr(0, kGivenFirst - 1), piece), LogGiven::kTooShort);
  EXPECT_EQ(Give(stream + "x", piece), LogGiven::kTooLong);
}

TEST_F(GivenLogTest, EndsWithTheLogWhereThatIsNear) {
  const std::string log = Log(100000);
  const LogPiece piece = Piece(log, 50000, 49000, 60000);
  ASSERT_EQ(Give(log, piece), LogGiven::kAll);
  EXPECT_EQ(read_, log);
  EXPECT_EQ(LinesOfGivenLog()->before, 1000);
  EXPECT_EQ(LinesOfGivenLog()->within, 200);
  EXPECT_EQ(Give(log.substr(0, log.size() - 1), piece), LogGiven::kTooShort);
  EXPECT_EQ(Give(log + "x", piece), LogGiven::kTooLong);
  EXPECT_EQ(Give("", piece), LogGiven::kTooShort);
}

TEST_F(GivenLogTest, OfOddPiecesIsNoMoreThanWhatCame) {
  const std::string log = Log(1000);
  constexpr int64_t kFar = (int64_t{1} << 62) - 1;
  EXPECT_EQ(Give(log, Piece("", kFar, kFar, kNoStop)), LogGiven::kTooShort);
  EXPECT_EQ(Give(log, Piece("", kFar, 0, kNoStop - 1)), LogGiven::kTooShort);
  EXPECT_EQ(Give(log, Piece("", 0, 0, kNoStop - 1)), LogGiven::kTooShort);
  EXPECT_EQ(Give("", Piece("", 0, 0, kNoStop)), LogGiven::kAll);
  EXPECT_EQ(read_, "");
}

TEST_F(GivenLogTest, StandsForItsPathAlone) {
  const std::string log = Log(1000);
  EXPECT_EQ(LinesOfGivenLog(), nullptr);
  EXPECT_FALSE(IsStreamed("a.log"));
  ASSERT_EQ(Give(log, Piece(log, 0, 0, kNoStop)), LogGiven::kAll);
  EXPECT_LT(OpenLogFile("b.log").file, 0);
  EXPECT_FALSE(IsStreamed("b.log"));
  EXPECT_TRUE(IsStreamed("a.log"));
  const OpenedFile opened = OpenLogFile("a.log");
  EXPECT_EQ(opened.kind, FileKind::kRegular);
  EXPECT_EQ(lseek(opened.file, 0, SEEK_END), 0);
  close(opened.file);
  ForgetGivenLog();
  EXPECT_LT(OpenLogFile("a.log").file, 0);
}

// ---- What of it is kept ----

TEST_F(GivenLogTest, IsReadOnceAndShortlyBehind) {
  const std::string log = Log(20 << 20);
  const LogPiece piece = Piece(log, 0, 0, kNoStop);
  ASSERT_EQ(Give(log, piece), LogGiven::kAll);
  EXPECT_TRUE(read_ == log);
  char bytes[50];
  constexpr int64_t kNear = (20 << 20) - (1 << 20);
  EXPECT_EQ(ReadStreamed(bytes, sizeof bytes, kNear), sizeof bytes);
  EXPECT_EQ(std::string(bytes, sizeof bytes), log.substr(kNear, sizeof bytes));
  EXPECT_EQ(GivenSoFar(), LogGiven::kAll);
  EXPECT_EQ(ReadStreamed(bytes, sizeof bytes, 1000), 0U);
  EXPECT_EQ(EndGivenLog(), LogGiven::kPassed);
}

TEST_F(GivenLogTest, TellsLineEndsAndHoles) {
  const std::string log = Log(6 << 20);
  constexpr int64_t kFrom = 4000000;
  const LogPiece piece = Piece(log, kFrom, kFrom, kNoStop);
  const std::string stream = log.substr(0, kGivenFirst) + log.substr(kFrom - kGivenBefore);
  ASSERT_EQ(Give(stream, piece), LogGiven::kAll);
  for (const int64_t place : {int64_t{5000000}, int64_t{5000049}, int64_t{5000050}, int64_t{6 << 20}}) {
    const std::string before =
        log.substr(0, kGivenFirst) +
        log.substr(kFrom - kGivenBefore, static_cast<size_t>(place - kFrom + kGivenBefore));
    EXPECT_EQ(StreamedEndsBefore(place).lfs, std::count(before.begin(), before.end(), '\n')) << place;
    EXPECT_EQ(StreamedEndsBefore(place).crs, 0) << place;
  }
  EXPECT_EQ(StreamedFrom(1000), 1000);
  EXPECT_EQ(StreamedFrom(kGivenFirst), kFrom - kGivenBefore);
  EXPECT_EQ(StreamedFrom(kFrom), kFrom);
}

TEST_F(GivenLogTest, IsKeptWholeWhereItIsCompressed) {
  const std::string log = Packed(20 << 20);
  const LogPiece piece = Piece(log, 0, 0, kNoStop);
  ASSERT_EQ(Give(log, piece), LogGiven::kAll);
  EXPECT_FALSE(IsStreamed("a.log"));
  EXPECT_TRUE(read_ == log);
  EXPECT_EQ(Give(log.substr(0, log.size() - 1), piece), LogGiven::kTooShort);
  const int again = OpenLogFile("a.log").file;
  char byte = 0;
  EXPECT_EQ(read(again, &byte, 1), 1);
  EXPECT_EQ(byte, log[0]);
  close(again);
}

TEST_F(GivenLogTest, IsKeptInMemoryWhereThereIsNoFolder) {
  setenv("TMPDIR", "/nowhere", 1);
  const std::string log = Packed(1000);
  ASSERT_EQ(Give(log, Piece(log, 0, 0, kNoStop)), LogGiven::kAll);
  EXPECT_EQ(read_, log);
}

}  // namespace
