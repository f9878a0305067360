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

  static LogGiven Give(const std::string& stream, const LogPiece& piece) {
    FILE* const file = tmpfile();
    fwrite(stream.data(), 1, stream.size(), file);
    rewind(file);
    const LogGiven given = TakeGivenLog(file, piece);
    fclose(file);
    return given;
  }

  // What stands in the log now.
  static std::string Read() {
    const OpenedFile opened = OpenLogFile("a.log");
    std::string text(static_cast<size_t>(lseek(opened.file, 0, SEEK_END)), '\0');
    EXPECT_EQ(pread(opened.file, text.data(), text.size(), 0), static_cast<ssize_t>(text.size()));
    close(opened.file);
    return text;
  }
};

TEST_F(GivenLogTest, IsTheWholeLog) {
  const std::string log = Log(200000);
  ASSERT_EQ(Give(log, Piece(log, 0, 0, kNoStop)), LogGiven::kAll);
  EXPECT_EQ(Read(), log);
  EXPECT_EQ(LinesOfGivenLog()->before, 0);
  EXPECT_EQ(LinesOfGivenLog()->within, 4000);
}

TEST_F(GivenLogTest, MayHaveGrown) {
  const std::string log = Log(1000);
  ASSERT_EQ(Give(log + "more\n", Piece(log, 0, 0, kNoStop)), LogGiven::kAll);
  EXPECT_EQ(Read(), log + "more\n");
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
  std::fill(wanted.begin() + kEnd, wanted.end(), '\0');
  EXPECT_TRUE(Read() == wanted);
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
  EXPECT_EQ(Read(), log);
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
  EXPECT_EQ(Read(), "");
}

TEST_F(GivenLogTest, StandsForItsPathAlone) {
  const std::string log = Log(1000);
  EXPECT_EQ(LinesOfGivenLog(), nullptr);
  ASSERT_EQ(Give(log, Piece(log, 0, 0, kNoStop)), LogGiven::kAll);
  EXPECT_LT(OpenLogFile("b.log").file, 0);
  const OpenedFile opened = OpenLogFile("a.log");
  EXPECT_EQ(opened.kind, FileKind::kRegular);
  char byte = 0;
  EXPECT_EQ(read(opened.file, &byte, 1), 1);
  EXPECT_EQ(byte, log[0]);
  close(opened.file);
  const int again = OpenLogFile("a.log").file;
  EXPECT_EQ(read(again, &byte, 1), 1);
  EXPECT_EQ(byte, log[0]);
  close(again);
  ForgetGivenLog();
  EXPECT_LT(OpenLogFile("a.log").file, 0);
}

TEST_F(GivenLogTest, IsKeptInMemoryWhereThereIsNoFolder) {
  setenv("TMPDIR", "/nowhere", 1);
  const std::string log = Log(1000);
  ASSERT_EQ(Give(log, Piece(log, 0, 0, kNoStop)), LogGiven::kAll);
  EXPECT_EQ(Read(), log);
}

}  // namespace
