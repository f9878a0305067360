#include "layouts/taken.h"

#include <gtest/gtest.h>

#include <string>

static constexpr int kSecond = 6;
static constexpr int kMillisecond = 3;

TEST(ReadTaken, TakesMicrosecondsOfAnyUnit) {
  EXPECT_EQ(ReadTaken("0", kSecond), 0);
  EXPECT_EQ(ReadTaken("0.123", kSecond), 123000);
  EXPECT_EQ(ReadTaken(".5", kSecond), 500000);
  EXPECT_EQ(ReadTaken("2.", kSecond), 2000000);
  EXPECT_EQ(ReadTaken("17", kMillisecond), 17000);
  EXPECT_EQ(ReadTaken("17", 0), 17);
  EXPECT_EQ(ReadTaken("1999", -3), 1);
  EXPECT_EQ(ReadTaken("000000000000000000000000001.5", kMillisecond), 1500);
}

TEST(ReadTaken, CutsOffWhatIsLessThanAMicrosecond) {
  EXPECT_EQ(ReadTaken("0.0000019", kSecond), 1);
  EXPECT_EQ(ReadTaken("0." + std::string(60000, '9'), kSecond), 999999);
  EXPECT_EQ(ReadTaken("0." + std::string(60000, '0') + "1", kSecond), 0);
}

TEST(ReadTaken, TakesExponents) {
  EXPECT_EQ(ReadTaken("1.25e-05", kSecond), 12);
  EXPECT_EQ(ReadTaken("1.25E2", kSecond), 125000000);
  EXPECT_EQ(ReadTaken("1.25e+2", kSecond), 125000000);
  EXPECT_EQ(ReadTaken("1e-99", kSecond), 0);
  EXPECT_EQ(ReadTaken("0e99", kSecond), 0);
  for (const char* text : {"1e", "1e-", "1e100", "1e+-2", "e2"}) {
    EXPECT_EQ(ReadTaken(text, kSecond), kNotTaken) << text;
  }
}

TEST(ReadTaken, TakesTheUnitBehindANumber) {
  EXPECT_EQ(ReadTaken("1.5s", kMillisecond), 1500000);
  EXPECT_EQ(ReadTaken("1.5ms", kSecond), 1500);
  EXPECT_EQ(ReadTaken("15us", kSecond), 15);
  EXPECT_EQ(ReadTaken("15\xC2\xB5s", kSecond), 15);
  EXPECT_EQ(ReadTaken("15000ns", kSecond), 15);
  for (const char* text : {"1m", "1 s", "1ss", "1m2s", "s", "1\xB5s"}) {
    EXPECT_EQ(ReadTaken(text, kSecond), kNotTaken) << text;
  }
}

TEST(ReadTaken, IsNoneOfAnythingElse) {
  for (const char* text :
       {"", "-", "-1", "-0.5", "+1", "nan", "inf", "0x10", "1,5", "0.1, 0.2", "1.2.3", ".", "1 "}) {
    EXPECT_EQ(ReadTaken(text, kSecond), kNotTaken) << text;
  }
}

TEST(ReadTaken, HasAnEnd) {
  EXPECT_EQ(ReadTaken("1000000", kSecond), kMostTaken);
  EXPECT_EQ(ReadTaken("1000000000000", 0), kMostTaken);
  EXPECT_EQ(ReadTaken("1000000000000999", -3), kMostTaken);
  for (const std::string& text :
       {std::string("1000000.000001"), std::string("1e13"), std::string(60000, '9')}) {
    EXPECT_EQ(ReadTaken(text, kSecond), kNotTaken) << text;
  }
}

TEST(ReadTakenByForm, TakesFractionsForSeconds) {
  EXPECT_EQ(ReadTakenByForm("0.012"), 12000);
  EXPECT_EQ(ReadTakenByForm("12"), 12000);
  EXPECT_EQ(ReadTakenByForm(""), kNotTaken);
  EXPECT_EQ(ReadTakenByForm({}), kNotTaken);
}

TEST(TakenIn, TakesTheFinestUnit) {
  LineFields fields = {};
  EXPECT_EQ(TakenIn(fields), kNotTaken);
  fields[Field::kTakenByForm] = "7";
  EXPECT_EQ(TakenIn(fields), 7000);
  fields[Field::kTakenSeconds] = "1";
  EXPECT_EQ(TakenIn(fields), 1000000);
  fields[Field::kTakenMilliseconds] = "1002";
  EXPECT_EQ(TakenIn(fields), 1002000);
  fields[Field::kTakenMicroseconds] = "1002003";
  EXPECT_EQ(TakenIn(fields), 1002003);
  fields[Field::kTakenNanoseconds] = "1002004000";
  EXPECT_EQ(TakenIn(fields), 1002004);
}

TEST(TakenIn, AddsUpWhatAServerDivides) {
  LineFields fields = {};
  fields[Field::kTakenSeconds] = "0.1";
  fields[Field::kTakenThen] = "0.02";
  fields[Field::kTakenLast] = "0.003";
  EXPECT_EQ(TakenIn(fields), 123000);
  fields[Field::kTakenThen] = "-1";
  EXPECT_EQ(TakenIn(fields), kNotTaken);
  fields[Field::kTakenThen] = "1000000";
  EXPECT_EQ(TakenIn(fields), kNotTaken);
}
