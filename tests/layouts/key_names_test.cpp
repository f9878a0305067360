#include "layouts/key_names.h"

#include <gtest/gtest.h>

TEST(MeaningOfKey, ComparesLettersAndDigitsAlone) {
  for (const char* key : {"user_agent", "User-Agent", "userAgent", "USERAGENT", "user.agent"}) {
    EXPECT_EQ(MeaningOfKey(key).field, Field::kAgent) << key;
  }
  for (const char* key : {"user_agents", "user_agen", "", "xuseragent"}) {
    EXPECT_EQ(MeaningOfKey(key).field, Field::kIgnored) << key;
  }
  EXPECT_EQ(MeaningOfKey(std::string(1000, '-') + "status").field, Field::kIgnored);
}

TEST(MeaningOfKey, KnowsTheKeysOfTheServers) {
  EXPECT_EQ(MeaningOfKey("ClientHost").field, Field::kHost);  // Traefik
  EXPECT_EQ(MeaningOfKey("DownstreamContentSize").field, Field::kBytes);
  EXPECT_EQ(MeaningOfKey("EdgeStartTimestamp").field, Field::kMoment);  // Cloudflare
  EXPECT_EQ(MeaningOfKey("reqTimeSec").field, Field::kMoment);          // Akamai
  EXPECT_EQ(MeaningOfKey("httpStatusCode").field, Field::kStatus);      // Azure
  EXPECT_EQ(MeaningOfKey("responseSize").field, Field::kBytes);         // Google Cloud
  EXPECT_EQ(MeaningOfKey("x-envoy-origin-path").field, Field::kUrl);    // Envoy
  EXPECT_EQ(MeaningOfKey("request_referer").field, Field::kReferrer);   // Fastly
}

TEST(MeaningOfKey, RanksTheNamesOfAField) {
  EXPECT_LT(MeaningOfKey("request_uri").rank, MeaningOfKey("uri").rank);
  EXPECT_LT(MeaningOfKey("client_ip").rank, MeaningOfKey("remote_ip").rank);
}

TEST(MeaningOfKey, TellsWhichObjectsBelongToTheRequest) {
  EXPECT_TRUE(MeaningOfKey("httpRequest").opens);
  EXPECT_TRUE(MeaningOfKey("properties").opens);
  EXPECT_FALSE(MeaningOfKey("resp_headers").opens);
}

TEST(MeaningOfLabel, TakesTheHostOfLtsvForTheClient) {
  EXPECT_EQ(MeaningOfLabel("host").field, Field::kHost);
  EXPECT_EQ(MeaningOfKey("host").field, Field::kSite);
  EXPECT_EQ(MeaningOfLabel("ua").field, Field::kAgent);
  EXPECT_EQ(MeaningOfLabel("reqtime").field, Field::kIgnored);
}

TEST(MeaningOfColumn, KnowsNamesInAnyCase) {
  EXPECT_EQ(MeaningOfColumn("cs(User-Agent)"), Field::kAgent);
  EXPECT_EQ(MeaningOfColumn("CS(user-agent)"), Field::kAgent);
  EXPECT_EQ(MeaningOfColumn("c-ip"), Field::kHost);
  EXPECT_EQ(MeaningOfColumn("date"), Field::kDate);
  EXPECT_EQ(MeaningOfColumn("time-taken"), Field::kIgnored);
}
