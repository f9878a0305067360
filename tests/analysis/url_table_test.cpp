#include "analysis/url_table.h"

#include <gtest/gtest.h>

#include <string>

TEST(UrlTable, NumbersTextsInTheOrderInWhichTheyCame) {
  UrlTable urls;
  EXPECT_EQ(NumberOfUrl(urls, "/b"), 0u);
  EXPECT_EQ(NumberOfUrl(urls, "/a"), 1u);
  EXPECT_EQ(NumberOfUrl(urls, "/b"), 0u);
  EXPECT_EQ(UrlOf(urls, 1), "/a");
}

TEST(UrlTable, TellsTextsApartThatBeginOrEndAlike) {
  UrlTable urls;
  const std::string zeros(20, '\0');
  for (size_t length = 0; length <= zeros.size(); ++length) {
    EXPECT_EQ(NumberOfUrl(urls, {zeros.data(), length}), length);
  }
  EXPECT_EQ(NumberOfUrl(urls, "/12345678"), 21u);
  EXPECT_EQ(NumberOfUrl(urls, "/12345679"), 22u);
}

TEST(UrlTable, KeepsManyTextsAndLongOnes) {
  UrlTable urls;
  const auto text = [](int number) {
    return "/" + std::to_string(number) + std::string(static_cast<size_t>(number % 7 * 20000), 'x');
  };
  for (int number = 0; number < 300; ++number) {
    NumberOfUrl(urls, text(number));
  }
  for (int number = 0; number < 20000; ++number) {
    NumberOfUrl(urls, "/short" + std::to_string(number));
  }
  for (uint32_t number = 0; number < 300; ++number) {
    ASSERT_EQ(UrlOf(urls, number), text(static_cast<int>(number)));
    ASSERT_EQ(NumberOfUrl(urls, text(static_cast<int>(number))), number);
  }
  EXPECT_EQ(UrlOf(urls, 300 + 19999), "/short19999");
  EXPECT_GT(urls.bytes, 300u * 60000);
}
