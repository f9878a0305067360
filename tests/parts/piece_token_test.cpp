#include "parts/piece_token.h"

#include <gtest/gtest.h>

#include <string>

#include "base/text.h"

namespace {

LogPiece SomePiece() {
  LogPiece piece;
  piece.plan = 0x1a2b;
  piece.number = 2;
  piece.count = 17;
  piece.place = 4;
  piece.path = "/logs/a 100%\n\xE4.log";
  piece.size = 1000;
  piece.first = -5;
  piece.last = 7;
  piece.proof = 0xfedcba9876543210;
  piece.before = 3;
  piece.from = 300;
  piece.lead = 200;
  piece.to = 500;
  piece.copies = {{5, "/logs/b.log"}, {6, "c:d.log"}};
  piece.unopened = {"/logs/e.log"};
  return piece;
}

constexpr char kToken[] =
    "3/17 plan=0000000000001a2b place=4 log=/logs/a%20100%25%0A%E4.log size=1000 first=-5 last=7 "
    "proof=fedcba9876543210 before=3 from=300 lead=200 to=500 copy=5:/logs/b.log copy=6:c:d.log "
    "unopened=/logs/e.log";

std::string Checked(std::string token) {
  AddCheck(token);
  return token;
}

void ExpectSame(const LogPiece& a, const LogPiece& b) {
  EXPECT_EQ(a.plan, b.plan);
  EXPECT_EQ(a.number, b.number);
  EXPECT_EQ(a.count, b.count);
  EXPECT_EQ(a.place, b.place);
  EXPECT_EQ(a.path, b.path);
  EXPECT_EQ(a.size, b.size);
  EXPECT_EQ(a.first, b.first);
  EXPECT_EQ(a.last, b.last);
  EXPECT_EQ(a.proof, b.proof);
  EXPECT_EQ(a.before, b.before);
  EXPECT_EQ(a.from, b.from);
  EXPECT_EQ(a.lead, b.lead);
  EXPECT_EQ(a.to, b.to);
  ASSERT_EQ(a.copies.size(), b.copies.size());
  for (size_t i = 0; i < a.copies.size(); ++i) {
    EXPECT_EQ(a.copies[i].place, b.copies[i].place);
    EXPECT_EQ(a.copies[i].path, b.copies[i].path);
  }
  EXPECT_EQ(a.unopened, b.unopened);
}

TEST(PieceToken, SaysAllThatThereIs) {
  EXPECT_EQ(TokenOf(SomePiece()), kToken + std::string(" check=1569176a41b5ef5d"));
}

TEST(PieceToken, IsReadAsItWasWritten) {
  LogPiece piece;
  ASSERT_TRUE(ReadToken(Checked(kToken), piece));
  ExpectSame(piece, SomePiece());
}

TEST(PieceToken, SaysOfWhichPlanAPieceWasCut) {
  LogPiece piece = SomePiece();
  piece.of = 0x3c4d;
  const std::string token = TokenOf(piece);
  EXPECT_NE(token.find(" of=0000000000003c4d "), std::string::npos);
  LogPiece read;
  ASSERT_TRUE(ReadToken(token, read));
  EXPECT_EQ(read.of, 0x3c4dU);
}

TEST(PieceToken, OfAWholeLogHasNoEnd) {
  LogPiece piece;
  piece.count = 1;
  piece.path = "a.log";
  const std::string token = TokenOf(piece);
  EXPECT_EQ(token.find(" to="), std::string::npos);
  LogPiece read = SomePiece();
  ASSERT_TRUE(ReadToken(token, read));
  ExpectSame(read, piece);
}

TEST(PieceToken, NeedsNoMoreThanItsNumbers) {
  LogPiece piece = SomePiece();
  ASSERT_TRUE(ReadToken(Checked("1/1"), piece));
  LogPiece nothing;
  nothing.count = 1;
  ExpectSame(piece, nothing);
}

TEST(PieceToken, IsNothingElse) {
  LogPiece piece;
  for (const char* const token : {"",
                                  " ",
                                  "1",
                                  "1/",
                                  "/1",
                                  "0/1",
                                  "2/1",
                                  "-1/1",
                                  "1/1 ",
                                  " 1/1",
                                  "1/1  place=1",
                                  "1/1 strange=1",
                                  "1/1 plan",
                                  "1/1 plan=",
                                  "1/1 plan=g",
                                  "1/1 plan=11111111111111111",
                                  "1/1 proof=-1",
                                  "1/1 size=-1",
                                  "1/1 size=1k",
                                  "1/1 size=4611686018427387904",
                                  "1/1 of=g",
                                  "1/1 from=5 lead=6",
                                  "1/1 from=5 to=5",
                                  "1/1 from=-1",
                                  "1/1 lead=-1",
                                  "1/1 from=4611686018427387904",
                                  "1/1 log=%",
                                  "1/1 log=%4",
                                  "1/1 log=%0",
                                  "1/1 log=%00",
                                  "1/1 log=%4g",
                                  "1/1 copy=a",
                                  "1/1 copy=:a",
                                  "1/1 copy=1:%",
                                  "1/1 unopened=%",
                                  "1/1 to=9223372036854775808"}) {
    EXPECT_FALSE(ReadToken(Checked(token), piece)) << token;
  }
  EXPECT_FALSE(ReadToken(Checked({"1/1 log=a\0b", 11}), piece));
}

TEST(PieceToken, IsNothingWhenItIsCutOrChanged) {
  const std::string token = TokenOf(SomePiece());
  LogPiece piece;
  for (size_t i = 0; i < token.size(); ++i) {
    EXPECT_FALSE(ReadToken(token.substr(0, i), piece)) << i;
    std::string changed = token;
    changed[i] = static_cast<char>(changed[i] ^ 1);
    EXPECT_FALSE(ReadToken(changed, piece)) << i;
  }
  EXPECT_FALSE(ReadToken(token + "0", piece));
  EXPECT_FALSE(ReadToken(token + " ", piece));
  EXPECT_FALSE(ReadToken(Checked(token), piece));
}

TEST(PieceToken, HoldsPathsThatCanBeOpened) {
  LogPiece piece;
  EXPECT_TRUE(ReadToken(Checked("1/1 log=" + std::string(kPathSize - 1, 'a')), piece));
  EXPECT_FALSE(ReadToken(Checked("1/1 log=" + std::string(kPathSize, 'a')), piece));
}

TEST(PieceToken, IsOfBoundedLength) {
  std::string token = "1/1";
  while (token.size() <= kLongestToken) {
    token += " unopened=" + std::string(200, 'a');
  }
  LogPiece piece;
  EXPECT_FALSE(ReadToken(Checked(token), piece));
  token.resize(token.rfind(' ', kLongestToken - std::string(" check=0000000000000000").size()));
  EXPECT_TRUE(ReadToken(Checked(token), piece));
}

}  // namespace
