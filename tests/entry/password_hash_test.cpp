#include "entry/password_hash.h"

#include <gtest/gtest.h>

#include <string>

// One of each kind for "Correct horse", made by other programs than this one.
static const char* const kHashes[] = {
    "$y$j75$8XiuztTQMBfGJPwQLoBqq0$2ZfAnYXxGTr8fsj3MsYd7y1jhdssPPQx3V9eMS.16q/",
    "$gy$j75$lxzxRLRn3BrzoRM30RUAU1$JL.1YsQ5wWEeHMP4dCph7XuZ8dnNBEQBmzjnHOLJey1",
    "$7$BU..../....4FPV4X1JixFK78QyyFgfe/$6RsajPHFxC123u9jSQ3CgVY3Wp6SLBgxIouB9WxTLL.",
    "$2b$04$eT4Su57kAxfmY62Y0bELp.ycTpURKXu4x/fl8Rl8cy8a3E242Fdfq",
    "$2y$04$y.WLttvj5Afy0SwVGS7uqeYzYkZMRbVq2ayAfiuqwD4W6ffwN.Hvq",
    "$6$OyHTIO1HJk3b97Kt$4fSlOoFW.YX1JPHh8wmzbjXmyNdzHPhZlIqHinx2as44SOctMnVkKhElX/NqXh7aGAQPx/"
    "pwoXPvTgm6HhZ8J0",
    "$6$rounds=1000$Pt7rkLVZ8ydbIy61$IcMgHKhHuA3FWPrsSDo4y4v5aoB6niR3mU.M7g8p50DyXvBfBK6dFpVY7jB6XUsZH4LfND/"
    "wX.h.nDSceyZfN.",
    "$5$rounds=1000$ykmNTV2NUDigWmAQ$mo4r7ya7JcWwN30FjxqvOEmSZLkxkVmDT9bMUZ3uPF9",
    "$1$jIH7ZGax$mukK8wex97aEUUAhlzFql0",
};

TEST(PasswordMatchesTest, EveryKindOfHash) {
  for (const char* const hash : kHashes) {
    EXPECT_EQ(KindOfHash(hash), HashKind::kHash) << hash;
    EXPECT_TRUE(PasswordMatches("Correct horse", hash)) << hash;
    EXPECT_FALSE(PasswordMatches("correct horse", hash)) << hash;
    EXPECT_FALSE(PasswordMatches("Correct horse ", hash)) << hash;
    EXPECT_FALSE(PasswordMatches("", hash)) << hash;
  }
}

TEST(PasswordMatchesTest, TheHashItselfIsNotThePassword) {
  for (const char* const hash : kHashes) {
    EXPECT_FALSE(PasswordMatches(hash, hash)) << hash;
  }
}

TEST(PasswordMatchesTest, EveryCharacterOfAHashCounts) {
  const std::string hash = kHashes[0];
  for (size_t i = hash.rfind('$') + 1; i < hash.size(); ++i) {
    std::string other = hash;
    other[i] = other[i] == 'a' ? 'b' : 'a';
    EXPECT_FALSE(PasswordMatches("Correct horse", other.c_str())) << other;
  }
}

TEST(PasswordMatchesTest, NothingElseAdmits) {
  for (const char* const stored :
       {"", "*", "!", "Correct horse", "*0", "*1", "x", "ab1jlwLCcAUfE", "_J9..rasm"}) {
    EXPECT_FALSE(PasswordMatches(stored, stored)) << stored;
    EXPECT_FALSE(PasswordMatches("Correct horse", stored)) << stored;
  }
}

TEST(KindOfHashTest, NobodyHasAPasswordOfNothing) {
  for (const char* const stored : {"", "*", "!"}) {
    EXPECT_EQ(KindOfHash(stored), HashKind::kNone) << stored;
  }
}

TEST(KindOfHashTest, WhatIsNoSaltedHashIsPlain) {
  std::string cut = kHashes[0];
  cut.pop_back();
  const std::string longer = std::string(kHashes[0]) + "x";
  const std::string locked = "!" + std::string(kHashes[0]);
  for (const std::string& stored :
       {cut, longer, locked, std::string("secret"), std::string("$6$"), std::string("$6$money"),
        std::string("**"), std::string("ab1jlwLCcAUfE"), std::string("$3$$8846f7eaee8fb117ad06bdd830b7586c"),
        std::string("*0"), std::string("$md5$GUBv0xjJ$$mSwgIswdjlTY0YxV7HBVm0")}) {
    EXPECT_EQ(KindOfHash(stored), HashKind::kPlain) << stored;
  }
}

TEST(MakeHashTest, MakesWhatMatches) {
  char first[kHashSize];
  char second[kHashSize];
  ASSERT_TRUE(MakeHash("pass=word", first));
  ASSERT_TRUE(MakeHash("pass=word", second));
  EXPECT_EQ(KindOfHash(first), HashKind::kHash);
  EXPECT_TRUE(PasswordMatches("pass=word", first));
  EXPECT_FALSE(PasswordMatches("password", first));
  EXPECT_STRNE(first, second);
}

TEST(MakeHashTest, LongPasswordsCountWhole) {
  const std::string password(243, 'p');
  char hash[kHashSize];
  ASSERT_TRUE(MakeHash(password.c_str(), hash));
  EXPECT_TRUE(PasswordMatches(password.c_str(), hash));
  EXPECT_FALSE(PasswordMatches(password.substr(1).c_str(), hash));
}

TEST(MakeHashTest, MoreThanCryptTakesIsRefused) {
  char hash[kHashSize];
  EXPECT_FALSE(MakeHash(std::string(600, 'p').c_str(), hash));
}
