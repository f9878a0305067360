#include "superlog/window_marks.h"

#include <gtest/gtest.h>

#include <random>
#include <string>
#include <vector>

#include "superlog/byte_scan.h"

using Marks = std::vector<uint32_t>;

// Up to the one of the end, behind which nothing counts.
static Marks MarksBy(MarkWindowForm form, const std::string& buffer, size_t from, size_t to, bool ff) {
  Marks marks(to - from + kMarksBehind);
  form(buffer.data(), from, to, ff, marks.data());
  size_t count = 1;
  while (count < marks.size() && marks[count - 1] != to) {
    ++count;
  }
  marks.resize(count);
  return marks;
}

static Marks MarksByOne(const std::string& buffer, size_t from, size_t to, bool ff) {
  Marks marks;
  for (size_t at = from; at < to; ++at) {
    const char c = buffer[at];
    if (c == '\n' || c == '\r' || c == '\0' || c == '"' || (ff && c == '\xFF')) {
      marks.push_back(static_cast<uint32_t>(at));
    }
  }
  marks.push_back(static_cast<uint32_t>(to));
  return marks;
}

static void ExpectMarks(const std::string& buffer, size_t from, size_t to) {
  for (const bool ff : {false, true}) {
    const Marks expected = MarksByOne(buffer, from, to, ff);
    ASSERT_EQ(MarksBy(MarkWindowPlainly, buffer, from, to, ff), expected);
    ASSERT_EQ(MarksBy(mpMarkWindow, buffer, from, to, ff), expected);
  }
}

TEST(MarkWindow, TellsEveryByteApart) {
  std::string buffer(7, '"');
  for (int c = 0; c < 256; ++c) {
    buffer += static_cast<char>(c);
  }
  const size_t to = buffer.size();
  ExpectMarks(buffer + std::string(kScanOverread, '\n'), 7, to);
}

TEST(MarkWindow, KeepsToItsBounds) {
  for (size_t from = 0; from < 70; ++from) {
    for (size_t length = 0; length < 140; ++length) {
      std::string buffer(from + length + kScanOverread, '"');
      buffer[from + length] = 'x';
      ExpectMarks(buffer, from, from + length);
    }
  }
}

TEST(MarkWindow, EqualsALookAtEachByte) {
  std::mt19937 random(5);
  for (int i = 0; i < 3000; ++i) {
    const size_t to = random() % 1500;
    const auto every = 1 + random() % 60;
    std::string buffer(to + kScanOverread, '"');
    buffer[to] = 'x';
    for (size_t at = 0; at < to; ++at) {
      buffer[at] =
          random() % every == 0 ? std::string("\"\n\r\0\xFF", 5)[random() % 5] : static_cast<char>(random());
    }
    ExpectMarks(buffer, random() % (to + 1), to);
  }
}
