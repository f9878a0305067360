#include "analysis/country_names.h"

#include <gtest/gtest.h>

#include <set>

namespace {

TEST(NameOfCountry, TellsNamesInEnglish) {
  EXPECT_STREQ(NameOfCountry("DE"), "Germany");
  EXPECT_STREQ(NameOfCountry("AD"), "Andorra");
  EXPECT_STREQ(NameOfCountry("ZW"), "Zimbabwe");
  EXPECT_STREQ(NameOfCountry("CI"), "C\xC3\xB4te d'Ivoire");
}

TEST(NameOfCountry, KnowsNothingElse) {
  for (const char* item : {"", "D", "de", "DEU", "XX", "ZZ", "A1", "(unknown)", "Germany"}) {
    EXPECT_EQ(NameOfCountry(item), nullptr) << item;
  }
}

TEST(NameOfCountry, HasEachCountryOnce) {
  std::set<std::string_view> names;
  size_t codes = 0;
  for (char a = 'A'; a <= 'Z'; ++a) {
    for (char b = 'A'; b <= 'Z'; ++b) {
      const char code[] = {a, b};
      if (const char* const name = NameOfCountry({code, sizeof code})) {
        ++codes;
        EXPECT_TRUE(names.insert(name).second) << name;
      }
    }
  }
  EXPECT_EQ(codes, 249U + 2U);
}

}  // namespace
