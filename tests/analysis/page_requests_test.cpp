#include "analysis/page_requests.h"

#include <gtest/gtest.h>

TEST(IsPageUrl, GoesByWhatThePathEndsLike) {
  for (const char* const url : {"/", "/docs/", "/a", "/a.html", "/a.php?b=c.png", "/a.css/b", "/guide.PDF",
                                "/.png", "/a.", "http://www.example.com/", "/a.asp#b.js", "/a/robots.txt"}) {
    EXPECT_TRUE(IsPageUrl(url)) << url;
  }
  for (const char* const url :
       {"/logo.png", "/LOGO.Png?x", "/a.css", "/b/c.js?v=1", "/f.woff2", "/d.json", "/x.xml", "/s.mp3",
        "/robots.txt", "/robots.txt?x", "/ads.txt", "/.well-known/change-password", "/m.webmanifest",
        "/a.aac", "http://www.example.com/a.gif"}) {
    EXPECT_FALSE(IsPageUrl(url)) << url;
  }
}

TEST(IsPageUrl, WantsAPath) {
  for (const char* const url : {"", "*", "-", "=1+1", "www.example.com:443"}) {
    EXPECT_FALSE(IsPageUrl(url)) << url;
  }
}

TEST(IsPartOfPages, GoesByWhatThePathEndsLike) {
  for (const char* const url :
       {"/logo.png", "/LOGO.Png?x", "/c.js?v=1", "http://www.example.com/a.gif", "/x.xml"}) {
    EXPECT_TRUE(IsPartOfPages(url)) << url;
  }
  for (const char* const url : {"/", "/robots.txt", "*", "", "-", "/a.html", "/guide.pdf", "/png"}) {
    EXPECT_FALSE(IsPartOfPages(url)) << url;
  }
}

TEST(IsPageAnswer, WantsAnAnswerThatShowsThePage) {
  for (const int64_t status : {200, 201, 203, 304, 0}) {
    EXPECT_TRUE(IsPageAnswer(status)) << status;
  }
  for (const int64_t status : {100, 101, 204, 206, 301, 302, 303, 307, 308, 400, 404, 500, 999, -200}) {
    EXPECT_FALSE(IsPageAnswer(status)) << status;
  }
}
