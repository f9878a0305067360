#include "analysis/url_table.h"

#include <gtest/gtest.h>

#include <string>

namespace {

uint32_t NumberOf(UrlTable& urls, std::string_view text) {
  FetchUrl(urls, HashOfUrl(text));
  return NumberOfUrl(urls, text);
}

}  // namespace

TEST(UrlTable, NumbersTextsInTheOrderInWhichTheyCame) {
  UrlTable urls;
  EXPECT_EQ(NumberOf(urls, "/b"), 0u);
  EXPECT_EQ(NumberOf(urls, "/a"), 1u);
  EXPECT_EQ(NumberOf(urls, "/b"), 0u);
  EXPECT_EQ(UrlOf(urls, 1), "/a");
}

TEST(UrlTable, TellsTextsApartThatBeginOrEndAlike) {
  UrlTable urls;
  const std::string zeros(50, '\0');
  for (size_t length = 0; length <= zeros.size(); ++length) {
    EXPECT_EQ(NumberOf(urls, {zeros.data(), length}), length);
    EXPECT_EQ(UrlOf(urls, static_cast<uint32_t>(length)), std::string_view(zeros.data(), length));
  }
  EXPECT_EQ(NumberOf(urls, "/12345678"), 51u);
  EXPECT_EQ(NumberOf(urls, "/12345679"), 52u);
}

TEST(UrlTable, KeepsManyTextsAndLongOnes) {
  UrlTable urls;
  const auto text = [](int number) {
    return "/" + std::to_string(number) + std::string(static_cast<size_t>(number % 7 * 20000), 'x');
  };
  for (int number = 0; number < 300; ++number) {
    NumberOf(urls, text(number));
  }
  for (int number = 0; number < 20000; ++number) {
    NumberOf(urls, "/short" + std::to_string(number));
  }
  for (uint32_t number = 0; number < 300; ++number) {
    ASSERT_EQ(UrlOf(urls, number), text(static_cast<int>(number)));
    ASSERT_EQ(NumberOf(urls, text(static_cast<int>(number))), number);
  }
  EXPECT_EQ(UrlOf(urls, 300 + 19999), "/short19999");
  EXPECT_GT(urls.bytes, 300u * 60000);
}
