#include "report/asked_fields.h"

#include <gtest/gtest.h>

#include <cstring>
#include <string>

static std::string Kept(const AskedFields& asked) {
  std::string all;
  size_t place = 0;
  for (AskedField field; NextField(asked, place, field);) {
    all += std::string(field.name) + "=" + std::string(field.value) + "\n";
  }
  return all;
}

TEST(KeepField, KeepsInOrder) {
  AskedFields asked{};
  KeepField(asked, "username=shop");
  KeepField(asked, "find=/a=b");
  KeepField(asked, "days=7d");
  EXPECT_EQ(Kept(asked), "username=shop\nfind=/a=b\ndays=7d\n");
  EXPECT_TRUE(CanAskAgain(asked));
}

TEST(KeepField, NeitherPasswordsNorWhatIsEmpty) {
  AskedFields asked{};
  for (const char* line : {"password=x", "PassWord=x", "password=", "find=", "find", ""}) {
    KeepField(asked, line);
  }
  EXPECT_EQ(Kept(asked), "");
  EXPECT_FALSE(CanAskAgain(asked));
}

TEST(KeepField, NothingIsAskedAgainWithoutRoomForAll) {
  AskedFields asked{};
  const std::string line = "find=" + std::string(1018, 'x');  // with its NUL 1,024 bytes
  for (int i = 0; i < 8; ++i) {
    KeepField(asked, line.c_str());
  }
  EXPECT_EQ(asked.length, sizeof asked.text);
  EXPECT_TRUE(CanAskAgain(asked));
  KeepField(asked, "a=b");
  EXPECT_FALSE(CanAskAgain(asked));
  KeepField(asked, "a=b");
  EXPECT_EQ(asked.length, sizeof asked.text);
}

TEST(SaysDays, EveryNameOfDays) {
  for (const char* name : {"days", "FROM", "to", "date", "sm", "sd", "sy", "em", "ed", "ey"}) {
    EXPECT_TRUE(SaysDays({name, ""})) << name;
  }
  for (const char* name : {"", "day", "dates", "find"}) {
    EXPECT_FALSE(SaysDays({name, ""})) << name;
  }
}
