#include "analysis/country_database.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <string>

#include "support/text_file.h"

namespace {

class CountryDatabaseTest : public testing::Test {
 protected:
  ~CountryDatabaseTest() override { CloseCountryDatabase(); }

  static std::string_view In(const char* text) {
    Address address{};
    EXPECT_TRUE(ParseAddress(text, address)) << text;
    return CountryIn(address);
  }
};

TEST_F(CountryDatabaseTest, TellsCountriesOfBothKindsOfAddresses) {
  ASSERT_EQ(OpenCountryDatabase(COUNTRY_DATABASE), DatabaseFault::kNone);
  EXPECT_TRUE(IsCountryDatabaseOpen());
  EXPECT_EQ(In("192.0.2.1"), "DE");
  EXPECT_EQ(In("::ffff:192.0.2.1"), "DE");
  EXPECT_EQ(In("192.0.2.64"), "FR");
  EXPECT_EQ(In("192.0.2.128"), "JP") << "written in small letters";
  EXPECT_EQ(In("2001:db8::1"), "SE");
  EXPECT_EQ(In("2001:db8:8000::1"), "FR");
}

TEST_F(CountryDatabaseTest, TellsNothingOfWhatItDoesNotKnow) {
  ASSERT_EQ(OpenCountryDatabase(COUNTRY_DATABASE), DatabaseFault::kNone);
  EXPECT_EQ(In("198.51.100.200"), "") << "known without a country";
  EXPECT_EQ(In("9.9.9.9"), "");
  EXPECT_EQ(In("2001:db9::1"), "");
}

TEST_F(CountryDatabaseTest, OfIpv4AloneKnowsNoOtherAddress) {
  ASSERT_EQ(OpenCountryDatabase(COUNTRY_DATABASE), DatabaseFault::kNone);
  ASSERT_EQ(OpenCountryDatabase(OTHER_DATABASE), DatabaseFault::kNone);
  EXPECT_EQ(In("10.1.2.3"), "FR");
  EXPECT_EQ(In("192.0.2.1"), "") << "of the database that was open before";
  EXPECT_EQ(In("2001:db8::1"), "");
}

TEST_F(CountryDatabaseTest, ClosedTellsNothing) {
  EXPECT_EQ(In("192.0.2.1"), "");
  EXPECT_STREQ(CountryDatabaseName().text, "");
  ASSERT_EQ(OpenCountryDatabase(COUNTRY_DATABASE), DatabaseFault::kNone);
  EXPECT_STREQ(CountryDatabaseName().text, "Test-Country 1000000000 229 2004");
  CloseCountryDatabase();
  EXPECT_FALSE(IsCountryDatabaseOpen());
  EXPECT_EQ(In("192.0.2.1"), "");
}

TEST_F(CountryDatabaseTest, SaysWhatIsNone) {
  EXPECT_EQ(OpenCountryDatabase(NewPath("none").c_str()), DatabaseFault::kNotOpened);
  EXPECT_EQ(OpenCountryDatabase(testing::TempDir().c_str()), DatabaseFault::kNotOpened);
  const std::string pipe = NewPath("pipe");
  mkfifo(pipe.c_str(), 0600);
  EXPECT_EQ(OpenCountryDatabase(pipe.c_str()), DatabaseFault::kNotOpened);
  for (const char* bytes : {"", "text", "\xAB\xCD\xEFMaxMind.com", "\xAB\xCD\xEFMaxMind.com\xE0"}) {
    const std::string file = WriteFile("file", bytes);
    EXPECT_EQ(OpenCountryDatabase(file.c_str()), DatabaseFault::kNoDatabase) << bytes;
    EXPECT_FALSE(IsCountryDatabaseOpen());
  }
}

}  // namespace
