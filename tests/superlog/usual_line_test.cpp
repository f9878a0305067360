#include "superlog/usual_line.h"

#include <gtest/gtest.h>

#include <memory>
#include <random>
#include <string>
#include <vector>

#include "dates/local_time.h"
#include "superlog/byte_scan.h"
#include "superlog/log_dates.h"
#include "superlog/log_limits.h"

static constexpr const char* kCombined =
    "192.0.2.7 - ann [05/Mar/2000:07:06:11 +0000] \"GET /a HTTP/1.0\" 200 17 \"http://example.com/\" \"Agent "
    "1\"";

static std::string Replaced(std::string line, const std::string& part, const std::string& other) {
  const size_t at = line.find(part);
  EXPECT_NE(at, std::string::npos) << part;
  return line.replace(at, part.size(), other);
}

class ReadUsualLineTest : public testing::Test {
 protected:
  void SetUp() override {
    ResetLogDates();
    mLogLimits = kClassicLimits;
    tm when = {};
    ParseNextDateTime1("05/Mar/2000:07:00:00 +0000", when);
  }
  void TearDown() override { mLogLimits = kClassicLimits; }

  template <bool kEscapes = false>
  bool Read(const std::string& line, const char* letters = "hmw1qrcfa") {
    text_ = "\"before\n" + line;
    const size_t begin = text_.size() - line.size();
    std::vector<uint32_t> quotes;
    for (size_t at = begin; at < text_.size(); ++at) {
      if (text_[at] == '"') {
        quotes.push_back(static_cast<uint32_t>(at));
      }
    }
    const size_t end = text_.size();
    text_ += '\0' + std::string(kScanOverread, '"');
    record_ = {};
    return ReadUsualLine<kEscapes>(text_.data() + begin, text_.data() + end,
                                   {text_.data(), quotes.data(), quotes.data() + quotes.size()},
                                   UsualLayoutOf(letters), record_);
  }

  std::string text_;
  SuperLogRecord record_;
};

TEST_F(ReadUsualLineTest, TakesAllFieldsOfTheCombinedForm) {
  ASSERT_TRUE(Read(kCombined));
  EXPECT_EQ(record_.host, "192.0.2.7");
  EXPECT_EQ(record_.realm.data(), nullptr);
  EXPECT_EQ(record_.user, "ann");
  EXPECT_EQ(record_.url, "GET /a HTTP/1.0");
  EXPECT_EQ(record_.status, 200);
  EXPECT_EQ(record_.bytes, 17);
  EXPECT_EQ(record_.referrer, "http://example.com/");
  EXPECT_EQ(record_.agent, "Agent 1");
  EXPECT_EQ(record_.local.tm_mday, 5);
  EXPECT_EQ(record_.local.tm_hour, 7);
  EXPECT_EQ(record_.local.tm_min, 6);
  EXPECT_EQ(record_.local.tm_sec, 11);
}

TEST_F(ReadUsualLineTest, TakesTheCommonFormAndWhatIsAskedFor) {
  const std::string common = std::string(kCombined).substr(0, std::string(kCombined).find(" \"http"));
  ASSERT_TRUE(Read(common, "hmw1qrc"));
  EXPECT_EQ(record_.bytes, 17);
  EXPECT_FALSE(Read(common));
  ASSERT_TRUE(Read(kCombined, "hmw1qrc"));
  EXPECT_EQ(record_.agent.data(), nullptr);
  ASSERT_TRUE(Read(kCombined, "???1qrc?a"));
  EXPECT_EQ(record_.host.data(), nullptr);
  EXPECT_EQ(record_.user.data(), nullptr);
  EXPECT_EQ(record_.referrer.data(), nullptr);
  EXPECT_EQ(record_.agent, "Agent 1");
}

TEST_F(ReadUsualLineTest, OtherLayoutsAreNotUsual) {
  for (const char* letters : {"", "hmw1qr", "hmw1qrcfac", "h?w1qrcaf", "hmw?qrcfa", "hmw1?rcfa", "hmw1q?cfa",
                              "hmw1qr?fa", "hmw1urcfa", "hmw1qrcf?a"}) {
    EXPECT_FALSE(UsualLayoutOf(letters).usual) << letters;
  }
}

TEST_F(ReadUsualLineTest, LeavesLinesThatDifferToTheSplitter) {
  const struct {
    const char* part;
    const char* other;
  } changes[] = {{"192", "[192"},         {"192", "'192"},      {"192", "\"192"},
                 {"- ann", "ann"},        {"- ann", "[- ann"},  {"- ann", "- a nn"},
                 {"ann", "'ann"},         {"- ann", "-  ann"},  {"[05", "05"},
                 {"0000]", "0000"},       {"05/", "06/"},       {"07:06", "08:06"},
                 {"+0000", "+0100"},      {"+0000", "+00]0"},   {"06:11", "6:11"},
                 {"06:11", "0x:11"},      {"] ", "]  "},        {"\"GET", "GET"},
                 {"1.0\" ", "1.0\""},     {"200", "20"},        {"200", "2x0"},
                 {"200", "2000"},         {" 17 ", " - "},      {" 17 ", "  "},
                 {" 17 ", " 123456789 "}, {" 17 ", " 17  "},    {"\" \"A", "\"\"A"},
                 {"\" \"A", "\"  \"A"},   {"1\"", "1"},         {"1\"", "1\" "},
                 {"1\"", "1\" x"},        {"1\"", "1\" \"x\""}, {"/a", "/\"a"},
                 {"Agent", "\"Agent"}};
  for (const auto& change : changes) {
    EXPECT_FALSE(Read(Replaced(kCombined, change.part, change.other)))
        << change.part << " > " << change.other;
  }
  EXPECT_FALSE(Read(""));
  EXPECT_FALSE(Read(std::string(kCombined).substr(0, 40)));
}

TEST_F(ReadUsualLineTest, LeavesLongTextsToTheSplitter) {
  for (const char* part : {"192.0.2.7", "ann", "/a", "example", "Agent"}) {
    EXPECT_TRUE(Read(Replaced(kCombined, part, std::string(200, 'x'))));
    EXPECT_FALSE(Read(Replaced(kCombined, part, std::string(kTextMax + 1, 'x'))));
  }
  mLogLimits = kModernLimits;
  EXPECT_TRUE(Read(Replaced(kCombined, "/a", std::string(800, 'x'))));
  EXPECT_FALSE(Read(Replaced(kCombined, "/a", std::string(2048, 'x'))));
}

TEST_F(ReadUsualLineTest, WithEscapesNoFieldEndsInABackslash) {
  for (const char* part : {"1.0\"", "com/\"", "1\""}) {
    const std::string line = Replaced(kCombined, part, Replaced(part, "\"", "\\\""));
    EXPECT_TRUE(Read(line));
    EXPECT_FALSE(Read<true>(line));
  }
  EXPECT_TRUE(Read<true>(kCombined));
}
