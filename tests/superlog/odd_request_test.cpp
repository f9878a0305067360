#include "superlog/odd_request.h"

#include <gtest/gtest.h>

#include <string>

#include "base/text.h"
#include "superlog/log_line.h"

// What is counted for a whole request that stands in a line behind before.
static std::string Url(const std::string& request, const std::string& before = "- \"") {
  std::string line = before + request + std::string(kScanOverread, '\0');
  std::string_view url(line.data() + before.size(), request.size());
  TrimFullRequest(url);
  return std::string(UrlOfOddRequest(url, line.data()));
}

TEST(UrlOfOddRequest, UrlsOfHttpStay) {
  EXPECT_EQ(Url("GET http://r.example/a HTTP/1.1"), "http://r.example/a");
  EXPECT_EQ(Url("OPTIONS * HTTP/1.0"), "*");
  EXPECT_EQ(Url("PRI * HTTP/2.0"), "*");
  EXPECT_EQ(Url("CONNECT mail.example:25 HTTP/1.1"), "mail.example:25");
  EXPECT_EQ(Url("POST index.html HTTP/1.1"), "index.html");
  EXPECT_EQ(Url("GET index.html"), "index.html");
  EXPECT_EQ(Url("GET * HTTP/1.0", ""), "*");
  EXPECT_EQ(Url("GET * HTTP/1.0", std::string("a\0", 2)), "*");
}

TEST(UrlOfOddRequest, EmptyOnesAreNoRequest) {
  EXPECT_EQ(Url("-"), "(no request)");
  EXPECT_EQ(Url(""), "(no request)");
  EXPECT_EQ(Url("", ""), "(no request)");
  EXPECT_EQ(Url("GET  HTTP/1.0"), "(no request)");
}

TEST(UrlOfOddRequest, OthersAreNotHttp) {
  for (const char* const request :
       {R"(\x16\x03\x01\x02\x00\x01)", R"(\x16\x03 \xA8 \x00)", "SSH-2.0-Go", "EHLO mail.example",
        "USER anonymous", "HELP", "GET", "GET\t/", "get x HTTP/1.0", "OPTIONS rtsp://r.example/ RTSP/1.0",
        "t3 12.1.2", " x HTTP/1.0", "1GET x HTTP/1.0", "G", " ", "  ", "POST x", "POST x HTTX/1.0",
        R"(\x00GET x HTTP/1.0)"}) {
    const std::string got = Url(request);
    EXPECT_EQ(got, std::string_view(request) == "  " || std::string_view(request) == " " ? "(no request)"
                                                                                         : "(not HTTP)")
        << request;
  }
}

TEST(UrlOrNoRequest, OnlyNothingIsNone) {
  EXPECT_EQ(UrlOrNoRequest(""), "(no request)");
  EXPECT_EQ(UrlOrNoRequest("-"), "(no request)");
  EXPECT_EQ(UrlOrNoRequest("index.html"), "index.html");
  EXPECT_EQ(UrlOrNoRequest("--"), "--");
}

TEST(UrlOrNoRequest, TellsWhatSquidCouldNotRead) {
  EXPECT_EQ(UrlOrNoRequest("error:transaction-end-before-headers"), "(no request)");
  EXPECT_EQ(UrlOrNoRequest("error:invalid-request"), "(not HTTP)");
  EXPECT_EQ(UrlOrNoRequest("error://www.example.com/"), "error://www.example.com/");
}

TEST(HasNoUrl, KnowsWhatStandsInPlaceOfAUrlEvenCut) {
  EXPECT_TRUE(HasNoUrl(UrlOrNoRequest("-")));
  EXPECT_TRUE(HasNoUrl(UrlOrNoRequest("-").substr(0, 3)));
  EXPECT_FALSE(HasNoUrl("/a"));
  const std::string same = "(no request)";
  EXPECT_FALSE(HasNoUrl(same));
  EXPECT_FALSE(HasNoUrl({}));
}
