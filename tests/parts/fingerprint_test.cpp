#include "parts/fingerprint.h"

#include <gtest/gtest.h>

#include <set>
#include <string>

#include "analysis/driver.h"
#include "analysis/search_engines.h"
#include "support/account_logs.h"
#include "support/part_text.h"

namespace {

class PartFingerprint : public AccountLogs {
 protected:
  // Ends what came before.
  Fingerprint Of(const char* edition = "classic") {
    ResetAnalysis();
    Analysis analysis{};
    if (engine_ != nullptr) {
      ParseSearchEngineDefinition(engine_);
    }
    BeginAdding(settings_, kModernCounting, analysis);
    const Fingerprint fingerprint =
        FingerprintOf(edition, ResolveRules(settings_, kModernCounting), analysis);
    EndAnalysis(analysis);
    return fingerprint;
  }

  static std::string Written(const Fingerprint& fingerprint) {
    return WrittenPart([&](PartWriter& part) { SaveFingerprint(part, fingerprint); });
  }

  static std::string Difference(const std::string& bytes, const Fingerprint& fingerprint) {
    const PartText text(bytes);
    PartReader part = text.reader();
    const FingerprintCheck check = CompareFingerprint(part, fingerprint);
    return part.damaged ? "damaged" : check.other == nullptr ? "" : check.other->name;
  }

  const char* engine_ = nullptr;
};

TEST_F(PartFingerprint, NamesWhatDiffersFirst) {
  const std::string plain = Written(Of());
  EXPECT_EQ(Difference(plain, Of()), "");
  EXPECT_EQ(Difference(plain, Of("modern")), "edition");
  const Settings settings = settings_;
  const auto with = [&](auto set) {
    settings_ = settings;
    set(settings_);
    return Difference(plain, Of());
  };
  EXPECT_EQ(with([](Settings& s) { CopyText(s.start_date, "03022000"); }), "first day");
  EXPECT_EQ(with([](Settings& s) { CopyText(s.end_date, "03302000"); }), "last day");
  EXPECT_EQ(with([](Settings& s) { s.to_last = true; }), "last day");
  EXPECT_EQ(with([](Settings& s) { CopyText(s.find, "/docs"); }), "find");
  EXPECT_EQ(with([](Settings& s) { s.find_pattern = 1; }), "find_pattern");
  EXPECT_EQ(with([](Settings& s) { s.find_casesensitive = 1; }), "find_casesensitive");
  EXPECT_EQ(with([](Settings& s) { s.subdirs = 0; }), "subdirs");
  EXPECT_EQ(with([](Settings& s) { CopyText(s.authrealm, "members"); }), "authrealm");
  EXPECT_EQ(with([](Settings& s) { CopyText(s.authuser, "ann"); }), "authuser");
  EXPECT_EQ(with([](Settings& s) { CopyText(s.filter_domains, "example"); }), "filter_domains");
  EXPECT_EQ(with([](Settings& s) { CopyText(s.filter_filetypes, "gif"); }), "filter_filetypes");
  EXPECT_EQ(with([](Settings& s) { s.showquery = 1; }), "showquery");
  EXPECT_EQ(with([](Settings& s) { CopyText(s.url, "http://other.example"); }), "url");
  EXPECT_EQ(with([](Settings& s) { s.own_referrers = 1; }), "url");
  EXPECT_EQ(with([](Settings& s) { s.dnslookupenabled = 1; }), "dnslookupenabled");
  EXPECT_EQ(with([](Settings& s) { s.requests.on = 1; }), "");
  EXPECT_EQ(with([](Settings& s) { CopyText(s.title, "Another"); }), "");
}

TEST_F(PartFingerprint, TellsWhetherItIsOfAnotherProgram) {
  const auto check = [](const Fingerprint& written, const Fingerprint& fingerprint) {
    const std::string bytes = Written(written);
    const PartText text(bytes);
    PartReader part = text.reader();
    return CompareFingerprint(part, fingerprint);
  };
  Fingerprint other = Of();
  EXPECT_EQ(check(other, Of()).other, nullptr);
  CopyText(other.fields[5].value, "x");
  EXPECT_FALSE(check(other, Of()).other_name);
  other.fields[5].name = "another";
  EXPECT_TRUE(check(other, Of()).other_name);
}

TEST_F(PartFingerprint, HoldsTheWholeZone) {
  std::set<std::string> values;
  for (const char* const zone : {"UTC", "CET-1CEST,M3.5.0,M10.5.0/3", "CET-1CEST,M3.5.0,M10.5.0/4",
                                 "CET-1CEST,M3.4.0,M10.5.0/3", "CET-1", "America/New_York"}) {
    setenv("TZ", zone, 1);
    tzset();
    ResetLocalTime();
    for (const FingerprintField& field : Of().fields) {
      if (field.name != nullptr && std::string(field.name) == "time zone") {
        values.insert(field.value);
      }
    }
  }
  EXPECT_EQ(values.size(), 6U);
}

TEST_F(PartFingerprint, HoldsTheEngines) {
  std::set<std::string> all;
  for (const char* const engine :
       {"A;domain=a;vars=q;", "B;domain=a;vars=q;", "A;domain=b;vars=q;", "A;domain=a;vars=p;",
        "A;domain=a;vars=q,p;", "A;domain=a;vars=q;domain=b;vars=q;"}) {
    engine_ = engine;
    all.insert(Written(Of()));
  }
  EXPECT_EQ(all.size(), 6U);
  engine_ = "A;url=http://a.example/;domain=a;vars=q;";
  EXPECT_FALSE(all.insert(Written(Of())).second) << "its page decides nothing";
}

TEST_F(PartFingerprint, CutAnywhereIsDamaged) {
  const Fingerprint fingerprint = Of();
  const std::string bytes = Written(fingerprint);
  for (size_t size = 0; size < bytes.size(); ++size) {
    ASSERT_EQ(Difference(bytes.substr(0, size), fingerprint), "damaged") << size;
  }
}

}  // namespace
