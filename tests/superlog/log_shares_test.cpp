#include "superlog/log_shares.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <vector>

#include "superlog/march_logs.h"
#include "superlog/superlog.h"
#include "support/account_logs.h"
#include "support/part_text.h"

namespace {

constexpr size_t kEnd = SIZE_MAX;  // the log in which the last share ends

class LogShares : public AccountLogs {
 protected:
  LogShares() { settings_.rules.whole_logs = true; }
  ~LogShares() override { ResetSuperLog(); }

  void Begin() {
    ResetSuperLog();
    CopyText(settings_.summary, std::to_string(++runs_));  // none knows of the logs of another
    SuperLog_Init(settings_, settings_.rules.whole_logs ? kModernLimits : kClassicLimits, kMarch, kApril - 1,
                  {});
  }

  std::vector<LogShare> Divide(size_t most, uint64_t least) {
    Begin();
    return DivideLogs(most, least);
  }

  void Read() { records_ += ReadAllLogs(kMarch, kApril); }

  std::string ReadShare(const LogShare& share) {
    Begin();
    TakeShare(share);
    Read();
    return WrittenPart(SaveShare);
  }

  // Reads each share as a process of its own would, and then the first one, to which the others are added as
  // far as they follow; returns how many did.
  size_t ReadInShares(const std::vector<LogShare>& shares) {
    records_ = 0;
    std::vector<std::string> parts;
    for (size_t i = 1; i < shares.size(); ++i) {
      parts.push_back(ReadShare(shares[i]));
    }
    Begin();
    TakeShare(shares[0]);
    Read();
    size_t added = 0;
    while (added < parts.size() && Add(parts[added])) {
      ++added;
    }
    return added;
  }

  // Of a share and of those that are handed on to whoever reads it: to the number without its lowest bit.
  std::string ReadFrom(const std::vector<LogShare>& shares, size_t number) {
    std::vector<std::string> parts;
    for (size_t i = number + 1; i < shares.size(); ++i) {
      if ((i & (i - 1)) == number) {
        parts.push_back(ReadFrom(shares, i));
      }
    }
    Begin();
    TakeShare(shares[number]);
    Read();
    for (const std::string& part : parts) {
      EXPECT_TRUE(Add(part)) << number;
    }
    return WrittenPart(SaveShare);
  }

  static bool Add(const std::string& bytes) {
    const PartText text(bytes);
    PartReader part = text.reader();
    return AddShare(part) && part.next == part.end;
  }

  // Each begins where the one before has ended, and all begin and end as the logs do.
  static void ExpectAllOnce(const std::vector<LogShare>& shares) {
    ASSERT_FALSE(shares.empty());
    EXPECT_EQ(shares.front().from.log, 0U);
    EXPECT_EQ(shares.front().from.offset, 0);
    EXPECT_EQ(shares.back().to.log, kEnd);
    for (size_t i = 1; i < shares.size(); ++i) {
      const LogPlace& place = shares[i].from;
      const LogPlace& last = shares[i - 1].from;
      EXPECT_EQ(shares[i - 1].to.log, place.log);
      EXPECT_EQ(shares[i - 1].to.offset, place.offset);
      EXPECT_TRUE(place.log > last.log || (place.log == last.log && place.offset > last.offset));
    }
  }

  int runs_ = 0;
  int64_t records_ = 0;
};

// Where a line of a text begins, and none of its ends stands.
bool IsLineBegin(const std::string& text, int64_t offset) {
  const auto at = static_cast<size_t>(offset);
  return at > 0 && at < text.size() && text[at - 1] != '\0' &&
         text.find_last_of('\n', at - 1) != std::string::npos &&
         text.find_first_not_of(std::string("\r\n\0", 3), text.find_last_of('\n', at - 1)) == at;
}

}  // namespace

TEST_F(LogShares, CoverEverythingOnce) {
  AddLog("a.log", LinesOfMarch(300));
  AddLog("b.log", "");
  AddLog("c.log", LinesOfMarch(3));
  AddLog("d.log", LinesOfMarch(2000));
  AddLog("e.log", LinesOfMarch(1));
  for (const bool whole : {false, true}) {
    settings_.rules.whole_logs = whole;
    for (size_t most = 1; most < 40; ++most) {
      const std::vector<LogShare> shares = Divide(most, 64);
      ExpectAllOnce(shares);
      EXPECT_LE(shares.size(), most);
      EXPECT_GE(shares.size(), std::min<size_t>(most, 30)) << most;
    }
  }
}

TEST_F(LogShares, BeginBehindTheEndsOfLines) {
  for (const std::string end : {"\n", "\r\n", "\n\n", "\n\r\n\n"}) {
    const std::string text = LinesOfMarch(500, end);
    AddLog("a.log", text);
    const std::vector<LogShare> shares = Divide(16, 64);
    EXPECT_EQ(shares.size(), 16U);
    for (size_t i = 1; i < shares.size(); ++i) {
      const LogPlace& place = shares[i].from;
      EXPECT_TRUE(IsLineBegin(text, place.offset)) << place.offset;
      EXPECT_TRUE(place.lead == 0 || text[static_cast<size_t>(place.lead) - 1] == '\n');
      EXPECT_LE(place.lead, place.offset);
    }
  }
}

TEST_F(LogShares, AreOfAboutEqualWork) {
  const std::string text = LinesOfMarch(4000);
  AddLog("a.log", text);
  const std::vector<LogShare> shares = Divide(8, 1024);
  ASSERT_EQ(shares.size(), 8U);
  const auto each = static_cast<int64_t>(text.size() / 8);
  for (size_t i = 1; i < shares.size(); ++i) {
    EXPECT_NEAR(static_cast<double>(shares[i].from.offset),
                static_cast<double>(each * static_cast<int64_t>(i)), 200.0);
  }
}

TEST_F(LogShares, AreNoSmallerThanAsked) {
  const std::string text = LinesOfMarch(1000);
  AddLog("a.log", text);
  EXPECT_EQ(Divide(100, text.size()).size(), 1U);
  EXPECT_EQ(Divide(100, text.size() / 2).size(), 2U);
  EXPECT_EQ(Divide(100, UINT64_MAX).size(), 1U);
  EXPECT_EQ(Divide(0, 0).size(), 1U);
}

TEST_F(LogShares, OfNoLogsAreOne) {
  ExpectAllOnce(Divide(8, 1));
  EXPECT_EQ(Divide(8, 1).size(), 1U);
  AddLog("empty.log", "");
  EXPECT_EQ(Divide(8, UINT64_MAX).size(), 1U);
}

TEST_F(LogShares, HoldSomething) {
  AddLog("a.log", std::string(200000, 'x'));
  EXPECT_EQ(Divide(8, 64).size(), 1U);
}

TEST_F(LogShares, DivideNoLogWithoutEndsOfLines) {
  AddLog("a.log", std::string(200000, 'x'));
  AddLog("b.log", std::string(200000, '\r'));
  AddLog("c.log", LinesOfMarch(1000, "\r"));
  AddLog("d.log", LinesOfMarch(1000, "\n\r"));
  for (const LogShare& share : Divide(8, 64)) {
    EXPECT_EQ(share.from.offset, 0);
  }
}

TEST_F(LogShares, DivideNoCompressedLog) {
  CopyText(settings_.logs, folder_ + "/*");
  AddLog("a.log.gz", "\x1f\x8b\x08" + LinesOfMarch(1000));
  AddLog("b.log", LinesOfMarch(1000));
  bool divided = false;
  for (const LogShare& share : Divide(8, 64)) {
    EXPECT_TRUE(share.from.log != 0 || share.from.offset == 0);
    divided |= share.from.log == 1 && share.from.offset > 0;
  }
  EXPECT_FALSE(divided) << "what is packed weighs more than that";
  EXPECT_GT(Divide(64, 64).size(), 2U);
}

TEST_F(LogShares, DivideNoCompressedLogThatIsCalledOtherwise) {
  AddLog("a.log", "\x1f\x8b\x08" + LinesOfMarch(1000));
  EXPECT_EQ(Divide(8, 64).size(), 1U);
}

TEST_F(LogShares, DivideNoLogThatMayEndItself) {
  settings_.rules.whole_logs = false;
  AddLog("a.log", LinesOfMarch(1000) + LinesOfMarch(1, "\n", "05/Apr/2000:10:00:00"));
  EXPECT_EQ(Divide(8, 64).size(), 1U);
  settings_.rules.whole_logs = true;  // where no record ends a log
  EXPECT_EQ(Divide(8, 64).size(), 8U);
}

TEST_F(LogShares, ComeToWhatOneReadingComesTo) {
  AddLog("a.log", LinesOfMarch(300) + "junk\n" + LinesOfMarch(40, "\r\n", "06/Mar/2000:11:00:00"));
  AddLog("b.log", LinesOfMarch(200, "\n", "05/Apr/2000:10:00:00") + "no line end");
  AddLog("c.log", LinesOfMarch(7));
  AddLog("d.log", "one\n" + LinesOfMarch(400) + "two\n");
  for (const bool whole : {false, true}) {
    settings_.rules.whole_logs = whole;
    Begin();
    records_ = 0;
    Read();
    const int64_t records = records_;
    const std::string states = whole ? StatesOfLogs() : "";
    for (const size_t most : {2U, 3U, 5U, 16U}) {
      const std::vector<LogShare> shares = Divide(most, 64);
      EXPECT_EQ(shares.size(), most);
      EXPECT_EQ(ReadInShares(shares), most - 1);
      EXPECT_EQ(records_, records);
      EXPECT_EQ(whole ? StatesOfLogs() : "", states);
      records_ = 0;
      ReadFrom(shares, 0);
      EXPECT_EQ(records_, records);
      EXPECT_EQ(whole ? StatesOfLogs() : "", states);
    }
  }
}

// Behind the first lines, and before those that a later share looks at.
TEST_F(LogShares, DoNotFollowAChangeOfLayout) {
  const std::string header = "!!LOG_FORMAT DATE TIME HOSTNAME URL\n";
  std::string tabs;
  for (int i = 0; i < 2000; ++i) {
    tabs += "03/05/00\t10:00:00\thost.example.com\t/" + std::to_string(i) + "\n";
  }
  for (const bool whole : {false, true}) {
    settings_.rules.whole_logs = whole;
    AddLog("a.log", LinesOfMarch(1000) + header + tabs);
    const std::vector<LogShare> shares = Divide(4, 64);
    ASSERT_EQ(shares.size(), 4U);
    EXPECT_LT(ReadInShares(shares), 3U);
    AddLog("a.log", LinesOfMarch(3000));
    EXPECT_EQ(ReadInShares(Divide(4, 64)), 3U);
  }
}

// The size and the times of a log are known before; its lines may be others when it is read.
TEST_F(LogShares, DoNotFollowALogThatEndsItself) {
  settings_.rules.whole_logs = false;
  const std::string late = LinesOfMarch(1, "\n", "05/Apr/2000:10:00:00");
  AddLog("a.log", LinesOfMarch(400) + late + LinesOfMarch(1000));
  EXPECT_LT(ReadInShares(Divide(4, 64)), 3U);
}

TEST_F(LogShares, ThatAreDamagedAreNotAdded) {
  AddLog("a.log", LinesOfMarch(300) + "junk\n" + LinesOfMarch(300));
  const std::vector<LogShare> shares = Divide(2, 64);
  ASSERT_EQ(shares.size(), 2U);
  const std::string bytes = ReadShare(shares[1]);
  for (size_t size = 0; size <= bytes.size(); ++size) {
    Begin();
    TakeShare(shares[0]);
    Read();
    EXPECT_EQ(Add(bytes.substr(0, size)), size == bytes.size()) << size;
  }
}
