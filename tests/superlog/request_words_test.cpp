#include "superlog/request_words.h"

#include <gtest/gtest.h>

TEST(MethodOfRequest, IsWhatStandsBeforeTheFirstBlank) {
  EXPECT_EQ(MethodOfRequest("GET /a HTTP/1.1"), "GET");
  EXPECT_EQ(MethodOfRequest("M-SEARCH * HTTP/1.1"), "M-SEARCH");
  EXPECT_EQ(MethodOfRequest("GET /a"), "GET");
  EXPECT_EQ(MethodOfRequest("QUIT"), "QUIT");
  EXPECT_EQ(MethodOfRequest("\\x16\\x03\\x01 x"), "\\x16\\x03\\x01");
}

TEST(MethodOfRequest, OfNothingOrAPathThereIsNone) {
  for (const char* request : {"", "-", "/a", " /a HTTP/1.1", "- /a"}) {
    EXPECT_EQ(MethodOfRequest(request).data(), nullptr) << request;
  }
}

TEST(ProtocolOfRequest, IsTheLastWordBehindTheUrl) {
  EXPECT_EQ(ProtocolOfRequest("GET /a HTTP/1.1"), "HTTP/1.1");
  EXPECT_EQ(ProtocolOfRequest("GET /a b HTTP/2"), "HTTP/2");
  EXPECT_EQ(ProtocolOfRequest("OPTIONS / RTSP/1.0"), "RTSP/1.0");
  EXPECT_EQ(ProtocolOfRequest("GET /a HTTP/1.1\""), "HTTP/1.1");
}

TEST(ProtocolOfRequest, IsLettersASlashAndANumber) {
  for (const char* request :
       {"", "HTTP/1.1", "GET HTTP/1.1", "GET /a", "GET /a b", "GET /a /1", "GET /a HTTP/", "GET /a HTTP/1.1x",
        "GET /a H P/x", "GET /a HT-P/1", "GET /a HTTP/.1", "GET /a  "}) {
    EXPECT_EQ(ProtocolOfRequest(request).data(), nullptr) << request;
  }
}
