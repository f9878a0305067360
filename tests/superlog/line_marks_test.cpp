#include "superlog/line_marks.h"

#include <gtest/gtest.h>

#include <memory>
#include <random>
#include <string>

class LineMarksTest : public testing::Test {
 protected:
  // Marks a line whose buffer goes on with bytes that must not be found.
  void Mark(const std::string& line, char separator) {
    text_ = line + std::string(kScanOverread, '"');
    length_ = line.size();
    MarkLine(*marks_, text_.data(), text_.data() + length_, separator);
  }

  size_t Stop(size_t from) {
    return static_cast<size_t>(NextStop(*marks_, text_.data() + from) - text_.data());
  }
  size_t Quote(size_t from) {
    return static_cast<size_t>(NextQuote(*marks_, text_.data() + from) - text_.data());
  }

  std::string text_;
  size_t length_ = 0;
  std::unique_ptr<LineMarks> marks_ = std::make_unique<LineMarks>();
};

TEST_F(LineMarksTest, FindsAtEveryDistanceAndStopsAtTheEnd) {
  for (const size_t length : {0, 1, 63, 64, 65, 255, 256, 257, 600}) {
    for (size_t at = 0; at < length; ++at) {
      std::string line(length, '-');
      line[at] = ' ';
      Mark(line, ' ');
      ASSERT_EQ(Stop(0), at);
      ASSERT_EQ(Stop(at), at);
      ASSERT_EQ(Stop(at + 1), length);
      ASSERT_EQ(Quote(0), length);
    }
    Mark(std::string(length, '-'), ' ');
    ASSERT_EQ(Stop(0), length);
  }
}

TEST_F(LineMarksTest, EqualsAPlainSearchOverRandomBytes) {
  const std::string alphabet = "abcdefghijklmnopq \t,\"";
  std::mt19937 random(3);
  for (int i = 0; i < 3000; ++i) {
    std::string line(random() % 700, '\0');
    for (char& c : line) {
      c = alphabet[random() % alphabet.size()];
    }
    const char separator = " \t,"[random() % 3];
    Mark(line, separator);
    for (size_t from = 0; from <= line.size(); from += 1 + random() % 9) {
      ASSERT_EQ(Quote(from), std::min(line.find('"', from), line.size()));
      ASSERT_EQ(Stop(from), std::min(line.find_first_of(std::string{'"', separator}, from), line.size()));
    }
  }
}

// What lies behind the end may differ.
TEST_F(LineMarksTest, BothFormsMarkTheSame) {
  std::mt19937 random(4);
  const auto plain = std::make_unique<LineMarks>();
  for (const size_t length : {1, 64, 200, 256, 300, 2048, 65536}) {
    std::string line(length, '\0');
    for (char& c : line) {
      c = static_cast<char>(random() % 8 == 0 ? '"' : random());
    }
    Mark(line, ',');
    MarkBytesPlainly(*plain, text_.data(), text_.data() + length, ',');
    for (size_t word = 0; word < length / LineMarks::kWordBits; ++word) {
      ASSERT_EQ(plain->quotes[word], marks_->quotes[word]);
      ASSERT_EQ(plain->stops[word], marks_->stops[word]);
    }
  }
}
