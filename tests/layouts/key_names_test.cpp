#include "layouts/key_names.h"

#include <gtest/gtest.h>

#include <utility>

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
  EXPECT_EQ(MeaningOfKey("httpRequest").holds, Holds::kRequest);
  EXPECT_EQ(MeaningOfKey("response").holds, Holds::kResponse);
  EXPECT_EQ(MeaningOfKey("properties").holds, Holds::kFields);
  EXPECT_EQ(MeaningOfKey("request_headers").holds, Holds::kHeaders);
  EXPECT_EQ(MeaningOfKey("resp_headers").holds, Holds::kNothing);
}

TEST(MeaningOfKey, KnowsTheKeysOfLogstash) {
  const std::pair<const char*, Field> keys[] = {
      {"clientip", Field::kHost},   {"verb", Field::kMethod},     {"request", Field::kRequest},
      {"response", Field::kStatus}, {"bytes", Field::kBytes},     {"httpversion", Field::kProtocol},
      {"agent", Field::kAgent},     {"timestamp", Field::kMoment}};
  for (const auto& [key, field] : keys) {
    EXPECT_EQ(MeaningOfKey(key).field, field) << key;
  }
  EXPECT_LT(MeaningOfKey("status").rank, MeaningOfKey("response").rank);
}

TEST(MeaningOfKey, PrefersATimeToThatOfAShipper) {
  EXPECT_EQ(MeaningOfKey("@timestamp").field, Field::kMoment);
  EXPECT_LT(MeaningOfKey("timestamp").rank, MeaningOfKey("@timestamp").rank);
  EXPECT_LT(MeaningOfKey("@timestamp").rank, MeaningOfKey("date").rank);
}

TEST(MeaningOfKey, TellsHeadersThatTraefikHasKeptFromFields) {
  EXPECT_EQ(MeaningOfKey("request_User-Agent").field, Field::kAgent);
  EXPECT_EQ(MeaningOfKey("request_Referer").field, Field::kReferrer);
  EXPECT_GT(MeaningOfKey("request_Referer").rank, MeaningOfKey("referrer").rank);
  for (const char* key : {"request_Uri", "request_Url", "request_-Uri", "request__uri", "request_!uri",
                          "request_U-R-I", "request_Time", "request_X", "downstream_Status"}) {
    EXPECT_EQ(MeaningOfKey(key).field, Field::kIgnored) << key;
    EXPECT_EQ(MeaningOfKey(key).holds, Holds::kNothing) << key;
  }
  for (const char* key : {"request_uri", "request_URI", "Request_Uri", "requestUri"}) {
    EXPECT_EQ(MeaningOfKey(key).field, Field::kUrl) << key;
  }
  EXPECT_EQ(MeaningOfKey("downstream_remote_address").field, Field::kHost);
  EXPECT_EQ(MeaningOfKey("request_").holds, Holds::kRequest);
}

TEST(MeaningOfHeader, CountsWhatOnlyAHeaderTells) {
  EXPECT_EQ(MeaningOfHeader("User-Agent").field, Field::kAgent);
  EXPECT_EQ(MeaningOfHeader("referer").field, Field::kReferrer);
  EXPECT_EQ(MeaningOfHeader("Host").field, Field::kSite);
  EXPECT_EQ(MeaningOfHeader("X-Forwarded-For").field, Field::kHost);
  EXPECT_EQ(MeaningOfHeader("X_Forwarded_For").field, Field::kHost);
  EXPECT_LT(MeaningOfHeader("X-Forwarded-For").rank, MeaningOfHeader("X_Forwarded_For").rank);
  EXPECT_GT(MeaningOfHeader("User-Agent").rank, MeaningOfKey("ua").rank);
  for (const char* name : {"Status", "Size", "Uri", "Request-Uri", "Http-User-Agent", "Referrer", "Client-Ip",
                           "Ts", "User", "Query", "Request", "Headers", ""}) {
    EXPECT_EQ(MeaningOfHeader(name).field, Field::kIgnored) << name;
  }
}

TEST(MeaningInTls, TakesTheVersionAlone) {
  EXPECT_EQ(MeaningInTls("version").field, Field::kTls);
  EXPECT_GT(MeaningInTls("version").rank, MeaningOfKey("ssl_protocol").rank);
  for (const char* key : {"server_name", "proto", "tls", "version_protocol", ""}) {
    EXPECT_EQ(MeaningInTls(key).field, Field::kIgnored) << key;
    EXPECT_EQ(MeaningInTls(key).holds, Holds::kNothing) << key;
  }
  EXPECT_EQ(MeaningOfKey("tls").holds, Holds::kTls);
}

TEST(MeaningOfLabel, TakesTheHostOfLtsvForTheClient) {
  EXPECT_EQ(MeaningOfLabel("host").field, Field::kHost);
  EXPECT_EQ(MeaningOfKey("host").field, Field::kSite);
  EXPECT_EQ(MeaningOfLabel("ua").field, Field::kAgent);
  EXPECT_EQ(MeaningOfLabel("reqtime").field, Field::kTakenSeconds);
  EXPECT_EQ(MeaningOfLabel("request_time").field, Field::kTakenSeconds);
}

TEST(MeaningOfColumn, KnowsNamesInAnyCase) {
  EXPECT_EQ(MeaningOfColumn("cs(User-Agent)"), Field::kAgent);
  EXPECT_EQ(MeaningOfColumn("CS(user-agent)"), Field::kAgent);
  EXPECT_EQ(MeaningOfColumn("c-ip"), Field::kHost);
  EXPECT_EQ(MeaningOfColumn("date"), Field::kDate);
  EXPECT_EQ(MeaningOfColumn("time-taken"), Field::kTakenByForm);
  EXPECT_EQ(MeaningOfColumn("cs-bytes"), Field::kIgnored);
}
