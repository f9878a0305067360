#include "base/url_decode.h"

#include <gtest/gtest.h>

#include <cstring>
#include <random>
#include <string>

namespace {

std::string Decoded(std::string text) {
  text.push_back('\0');
  const size_t length = decode(text.data());
  EXPECT_EQ(length, strlen(text.data()));
  return text.c_str();
}

struct Row {
  const char* text;
  const char* decoded;
};

void ExpectRows(std::initializer_list<Row> rows) {
  for (const Row& row : rows) {
    SCOPED_TRACE(row.text);
    EXPECT_EQ(Decoded(row.text), row.decoded);
  }
}

bool IsHex(char c) {
  return c != '\0' && strchr("0123456789abcdefABCDEF", c) != nullptr;
}

// The rules one after the other, written into a text of its own.
std::string DecodedPlainly(const std::string& text) {
  std::string out;
  for (size_t i = 0; i < text.size(); ++i) {
    if (text[i] == '+') {
      out += ' ';
    } else if (text[i] == '%' && i + 2 < text.size() && IsHex(text[i + 1]) && IsHex(text[i + 2])) {
      out += static_cast<char>(std::stoi(text.substr(i + 1, 2), nullptr, 16));
      i += 2;
    } else {
      out += text[i];
      i += text[i] == '%' && i + 1 < text.size() && text[i + 1] == '%' ? 1 : 0;
    }
  }
  return out.c_str();
}

}  // namespace

TEST(Decode, PlusBecomesSpace) {
  ExpectRows({{"a+b++c", "a b  c"}, {"+", " "}, {"", ""}, {"plain", "plain"}});
}

TEST(Decode, EscapedPlusStaysPlus) {
  ExpectRows({{"c%2B%2B+rules", "c++ rules"}});
}

TEST(Decode, EscapesYieldTheirByte) {
  ExpectRows({{"%41", "A"},
              {"%61", "a"},
              {"%3D%26", "=&"},
              {"x%26y", "x&y"},
              {"%e4%E4", "\xE4\xE4"},
              {"%fF%Ff", "\xFF\xFF"},
              {"%20%7e", " ~"}});
}

TEST(Decode, LonePercentAtTheEndStays) {
  ExpectRows({{"100%", "100%"}, {"%", "%"}});
}

TEST(Decode, TwoPercentSignsBecomeOneWhateverFollows) {
  ExpectRows(
      {{"%%", "%"}, {"50%%off", "50%off"}, {"%%41", "%41"}, {"%%%41", "%A"}, {"%%%%", "%%"}, {"%%%", "%%"}});
}

TEST(Decode, UnfinishedOrMalformedEscapeStays) {
  ExpectRows({{"%4", "%4"},
              {"%zz", "%zz"},
              {"%4z", "%4z"},
              {"%g1", "%g1"},
              {"%4%41", "%4A"},
              {"%+", "% "},
              {"%4+", "%4 "},
              {"% 41", "% 41"}});
}

TEST(Decode, EscapedNulEndsTheText) {
  ExpectRows({{"ab%00cd", "ab"}, {"%00", ""}});
}

TEST(Decode, ResultIsNotDecodedAgain) {
  ExpectRows({{"%2541", "%41"}, {"%252B", "%2B"}, {"%2B", "+"}});
}

TEST(Decode, NullIsIgnored) {
  EXPECT_EQ(decode(nullptr), 0U);
}

TEST(Decode, AgreesWithPlainRulesOverRandomTexts) {
  std::mt19937 random(20260801);
  const std::string alphabet = "%%%%+04aAfFgGzZ/ \xE4";
  for (int round = 0; round < 20000; ++round) {
    std::string text;
    for (size_t length = random() % 12; length > 0; --length) {
      text += alphabet[random() % alphabet.size()];
    }
    ASSERT_EQ(Decoded(text), DecodedPlainly(text)) << text;
  }
}
