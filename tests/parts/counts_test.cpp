#include "parts/counts.h"

#include <gtest/gtest.h>

#include <map>
#include <string>

#include "analysis/driver.h"
#include "analysis/fake_names.h"
#include "support/account_logs.h"
#include "support/counters.h"
#include "support/part_text.h"

namespace {

class PartCounts : public AccountLogs {
 protected:
  PartCounts() {
    for (RankedReport* const report :
         {&settings_.requests, &settings_.referrers, &settings_.search, &settings_.browsers,
          &settings_.badurls, &settings_.badreferrers, &settings_.domains, &settings_.domaintypes}) {
      report->on = 1;
    }
    settings_.badurl_referrers = settings_.dailytotals = settings_.hitsperhour = 1;
    settings_.hitsperdayofweek = settings_.hoursofweek = 1;
  }

  void Choose(bool modern) {
    modern_ = modern;
    settings_.rules.whole_logs = modern;
    settings_.with_bytes = modern ? 1 : 0;
    CopyText(settings_.compare, modern ? "year" : "");
    // What is said of logs stands beside the counts.
    for (size_t row = 0; row < kMostDimensions; ++row) {
      const bool of_logs = row < kDimensionCount && kDimensions[row].from == SummedFrom::kLogs;
      settings_.dimensions[row].on = modern && !of_logs ? 1 : 0;
    }
  }

  const Counting& counting() const { return modern_ ? kModernCounting : kClassicCounting; }
  Rules rules() const { return ResolveRules(settings_, counting()); }

  // What every counter but those that one edition has not counts in.
  static std::string SomeLog(const std::string& name) {
    return ToText({.url = "/" + name,
                   .referrer = "http://www.google.com/search?q=" + name,
                   .agent = "Mozilla/5.0 (X11; Linux x86_64; rv:115.0) Gecko/20100101 Firefox/115.0"}) +
           ToText({.host = "10.1.2." + name,
                   .url = "/Index.html",
                   .agent = "Mozilla/4.0 (compatible; MSIE 5.0)"}) +
           ToText({.time = "06/Mar/2000:11:00:00",
                   .url = "/none" + name,
                   .status = "404",
                   .referrer = "http://other.example/" + name,
                   .agent = "curl/8.5"}) +
           ToText({.url = "/a", .bytes = "999999800", .referrer = "http://site.example/" + name}) +
           ToText({.url = "/a", .status = "301", .referrer = "http://www.google.com/", .user = "ann"}) +
           ToText({.time = "05/Apr/2000:10:00:00"}) + "no request at all\n" +
           ToText({.time = "06/Mar/1999:10:00:00", .status = "404"}) +
           "h.example.com - - [07/Mar/2000:10:00:00 +0000] \"-\" 408 0 \"-\" \"-\"\n";
  }

  std::map<std::string, std::string> OfOneRun() {
    Analysis analysis{};
    EXPECT_TRUE(BeginAnalysis(settings_, counting(), analysis));
    CountLogs(settings_, analysis);
    return Ended(analysis);
  }

  std::string PartOf(const std::string& log) {
    CopyText(settings_.logs, folder_ + "/" + log);
    CopyText(settings_.summary, log);
    settings_.part = "part";
    Analysis analysis{};
    EXPECT_TRUE(BeginAnalysis(settings_, counting(), analysis));
    CountRecords(settings_, analysis);
    std::string bytes = WrittenPart([&](PartWriter& part) { SaveCounts(part, rules(), analysis); });
    settings_.part = nullptr;
    Ended(analysis);
    return bytes;
  }

  bool Add(const std::string& bytes, Analysis& analysis) {
    const PartText text(bytes);
    PartReader part = text.reader();
    return AddSavedCounts(part, rules(), analysis, missing_) && part.next == part.end;
  }

  bool AddComing(const std::string& bytes, Analysis& analysis) {
    ComingPart coming(bytes);
    PartReader part = coming.reader();
    return AddSavedCounts(part, rules(), analysis, missing_) && part.next == part.end;
  }

  std::map<std::string, std::string> OfParts(const std::vector<std::string>& parts) {
    Analysis analysis{};
    BeginAdding(settings_, counting(), analysis);
    bool coming = false;
    for (const std::string& part : parts) {
      EXPECT_TRUE(coming ? AddComing(part, analysis) : Add(part, analysis));
      coming = !coming;
    }
    CompleteCounts(settings_, analysis);
    return Ended(analysis);
  }

  static std::map<std::string, std::string> Ended(Analysis& analysis) {
    auto counters = CountersOf(analysis);
    EndAnalysis(analysis);
    ResetSuperLog();
    ResetAnalysis();
    return counters;
  }

  bool modern_ = false;
  unsigned missing_ = 0;
};

}  // namespace

TEST_F(PartCounts, OfLogsAddUpToThoseOfOneRun) {
  for (const bool modern : {false, true}) {
    Choose(modern);
    AddLog("a.log", SomeLog("1"));
    AddLog("b.log", SomeLog("2") + SomeLog("3"));
    AddLog("c.log", SomeLog("1"));
    CopyText(settings_.logs, folder_ + "/[ab].log");
    const auto of_one_run = OfOneRun();
    const std::vector<std::string> parts = {PartOf("a.log"), PartOf("b.log")};
    EXPECT_EQ(OfParts(parts), of_one_run);
    const auto is_of_dimension = [](std::string_view name) {
      return std::any_of(kDimensions, kDimensions + kDimensionCount, [name](const Dimension& dimension) {
        return name.starts_with(dimension.parameter);
      });
    };
    // In which edition a counter does not rise.
    for (const auto& [name, value] : of_one_run) {
      const bool of_classic = name.starts_with("days");
      const bool of_modern = name.starts_with("dates") || name == "referrals" || name == "own referrers" ||
                             name == "without url" || name == "figures of visits" ||
                             name == "not understood" || name == "bytes by status" ||
                             name.starts_with("compared ") || is_of_dimension(name);
      const bool never =
          name == "badurls total" || name == "badreferrers total" || name.starts_with("addresses") ||
          name.starts_with("vhosts") || name.starts_with("tlsversions") || name.starts_with("slow") ||
          name.starts_with("unknown") || name == "looked up" || name == "left out" || name == "unanswered";
      EXPECT_EQ(value == "0" || value.empty(), never || (modern ? of_classic : of_modern))
          << name << ": " << value;
    }
  }
}

// An address of several parts is one that is looked up, and its requests decide when.
TEST_F(PartCounts, OfAddressesAreNamedInTheSum) {
  Choose(true);
  settings_.rules.looks_up_together = true;
  settings_.dnslookupenabled = 1;
  settings_.DNSLookupSeconds = 30;
  AddLog("a.log", {{.host = "192.0.2.1"}, {.host = "192.0.2.1"}, {.host = "2001:db8::1"}});
  AddLog("b.log", {{.host = "192.0.2.1"}, {.host = "192.0.2.2"}, {.host = "203.0.113.9"}, {.host = "a.org"}});
  for (const bool domains : {true, false}) {
    settings_.domains.on = domains ? 1 : 0;
    CopyText(settings_.logs, folder_ + "/[ab].log");
    const auto with_names = [&](auto make) {
      UseNames({{"192.0.2.1", "www.example.com"}, {"192.0.2.2", "?"}, {"2001:db8::1", "six.example.net"}});
      auto counters = make();
      EXPECT_EQ(counters["looked up"], "4");
      EXPECT_EQ(counters["unanswered"], "1");
      EXPECT_EQ(counters["domaintypes"], "UNKNOWN=2:200 com=3:300 net=1:100 org=1:100 ");
      return counters;
    };
    const auto of_one_run = with_names([&] { return OfOneRun(); });
    const std::vector<std::string> parts = {PartOf("a.log"), PartOf("b.log")};
    EXPECT_EQ(with_names([&] { return OfParts(parts); }), of_one_run);
  }
}

TEST_F(PartCounts, LeaveOutWhatIsNotAskedFor) {
  Choose(true);
  AddLog("a.log", SomeLog("1"));
  const std::string part = PartOf("a.log");
  int RankedReport::*const on = &RankedReport::on;
  for (RankedReport Settings::*const report :
       {&Settings::requests, &Settings::referrers, &Settings::search, &Settings::browsers, &Settings::badurls,
        &Settings::badreferrers, &Settings::domaintypes}) {
    settings_.*report.*on = 0;
    CopyText(settings_.logs, folder_ + "/a.log");
    EXPECT_EQ(OfParts({part}), OfOneRun());
  }
  settings_.domains.on = settings_.dailytotals = settings_.hitsperhour = settings_.hitsperdayofweek = 0;
  settings_.hoursofweek = 0;
  EXPECT_EQ(OfParts({part}), OfOneRun());
}

TEST_F(PartCounts, AreMissedWhereTheyAreAskedFor) {
  Choose(true);
  for (size_t row = 0; row < kDimensionCount; ++row) {
    // Those that are made of others have these in a part.
    settings_.dimensions[row].on = kDimensions[row].from == SummedFrom::kRequests ? 1 : 0;
  }
  AddLog("a.log", SomeLog("1"));
  const Settings all = settings_;
  const auto missed = [&] {
    const std::string part = PartOf("a.log");
    settings_ = all;
    Analysis analysis{};
    BeginAdding(settings_, counting(), analysis);
    EXPECT_FALSE(Add(part, analysis));
    Ended(analysis);
    return std::string(missing_ == kCountKinds ? "" : NameOf(static_cast<CountKind>(missing_)));
  };
  settings_.requests.on = 0;
  EXPECT_EQ(missed(), "requests");
  settings_.badurl_referrers = 0;
  EXPECT_EQ(missed(), "badurl_referrers");
  settings_.hitsperhour = settings_.hitsperdayofweek = settings_.hoursofweek = 0;
  EXPECT_EQ(missed(), "hitsperhour");
  settings_.dailytotals = settings_.search.on = 0;
  EXPECT_EQ(missed(), "search");
  settings_.domains.on = 0;
  EXPECT_EQ(missed(), "domains");
  settings_.with_bytes = 0;
  EXPECT_EQ(missed(), "bytes");
  settings_.compare[0] = '\0';
  EXPECT_EQ(missed(), "compare");
  for (size_t row = 0; row < kDimensionCount; ++row) {
    if (settings_.dimensions[row].on != 0) {
      settings_.dimensions[row].on = 0;
      EXPECT_EQ(missed(), kDimensions[row].parameter);
    }
  }
}

TEST_F(PartCounts, OfTypesDependOnDomains) {
  AddLog("a.log", SomeLog("1"));
  const std::string part = PartOf("a.log");
  settings_.domains.on = 0;
  Analysis analysis{};
  BeginAdding(settings_, counting(), analysis);
  EXPECT_FALSE(Add(part, analysis));
  EXPECT_STREQ(NameOf(static_cast<CountKind>(missing_)), "domaintypes");
  Ended(analysis);
}

TEST_F(PartCounts, CutAnywhereAreDamaged) {
  for (const bool modern : {false, true}) {
    Choose(modern);
    AddLog("a.log", SomeLog("1"));
    const std::string part = PartOf("a.log");
    for (size_t size = 0; size < part.size(); ++size) {
      Analysis analysis{};
      BeginAdding(settings_, counting(), analysis);
      ASSERT_FALSE(Add(part.substr(0, size), analysis)) << size;
      ASSERT_EQ(missing_, kCountKinds);
      Ended(analysis);
    }
  }
}

// 10^9 bytes served stay as units until another amount comes.
TEST_F(PartCounts, KeepAWholeBillionAsOneRunDoes) {
  AddLog("a.log", {{.bytes = "400000000"}, {.bytes = "600000000"}});
  AddLog("b.log", {{.bytes = "600000000"}});
  AddLog("c.log", {{.bytes = "400000000"}});
  for (const auto& logs :
       {std::vector<std::string>{"a.log"}, {"b.log", "c.log"}, {"a.log", "b.log", "c.log"}}) {
    Analysis analysis{};
    std::vector<std::string> parts;
    for (const std::string& log : logs) {
      parts.push_back(PartOf(log));
    }
    BeginAdding(settings_, counting(), analysis);
    for (const std::string& part : parts) {
      ASSERT_TRUE(Add(part, analysis));
    }
    EXPECT_EQ(analysis.bytes.billions, logs.size() == 3 ? 1U : 0U);
    EXPECT_EQ(analysis.bytes.units, 1000000000U);
    Ended(analysis);
  }
}
