// The field splitter and the byte scans against plain ones. The input's first two
// bytes are what the scans look for; the rest is a line.
#include "superlog/field_splitter.h"

#include <vector>

#include "superlog/byte_scan.h"
#include "superlog/plain_fields.h"
#include "support.h"

// A line in a block of the least size that is asked for, with quotes behind it
// that must not be seen.
static std::vector<char> BlockOf(std::string_view line) {
  std::vector<char> block(line.begin(), line.end());
  block.push_back('\0');
  block.resize(line.size() + kScanOverread, '"');
  return block;
}

static void CheckSplitting(const std::string& line, char separator) {
  std::vector<char> block = BlockOf(line);
  static LineMarks marks;
  MarkLine(marks, block.data(), block.data() + line.size(), SeparatorOf(separator));
  FieldCursor cursor = {marks, block.data(), block.data() + line.size(), nullptr, 0};
  for (const std::string& expected : SplitPlainly(line, separator)) {
    REQUIRE(cursor.next != cursor.end);
    ParseFieldBySeparator(cursor, separator);
    REQUIRE(std::string_view(cursor.value, cursor.length) == expected);
  }
  REQUIRE(cursor.next == cursor.end);
}

template <char kSeparator>
static void CheckSplittingAtSeparators(const std::string& line, size_t longest) {
  constexpr size_t kMost = 30;
  if (line.empty() || line.find('"') != std::string::npos) {
    return;
  }
  std::vector<char> block = BlockOf(line);
  static LineMarks marks;
  MarkLine(marks, block.data(), block.data() + line.size(), SeparatorOf(kSeparator));
  std::string_view fields[kMost];
  const std::vector<std::string> expected = SplitPlainly(line, kSeparator);
  const size_t count = SplitAtSeparators<kSeparator>(marks, kMost, longest, fields);
  REQUIRE(count == 0 || count == std::min(kMost, expected.size()));
  for (size_t i = 0; i < count; ++i) {
    REQUIRE(fields[i] == expected[i] && fields[i].size() <= longest);
  }
}

static void CheckSplittingWithEscapes(const std::string& line, bool cut) {
  std::vector<char> block = BlockOf(line);
  static LineMarks marks;
  MarkLine(marks, block.data(), block.data() + line.size(), ' ');
  FieldCursor cursor = {marks, block.data(), block.data() + line.size(), nullptr, 0, cut};
  for (const std::string& expected : SplitEscapedPlainly(line, cut)) {
    REQUIRE(cursor.next != cursor.end);
    ParseField<true>(cursor);
    REQUIRE(std::string_view(cursor.value, cursor.length) == expected);
  }
  REQUIRE(cursor.next == cursor.end);
}

static void CheckScans(std::string_view line, char a, char b) {
  const std::vector<char> block = BlockOf(line);
  const char* const end = block.data() + line.size();
  for (size_t start = 0; start <= std::min<size_t>(line.size(), 80); ++start) {
    const char* const from = block.data() + start;
    REQUIRE(FindByte(from, end, a) == std::find(from, end, a));
    REQUIRE(FindEither(from, end, a, b) == std::find_if(from, end, [&](char c) { return c == a || c == b; }));
  }
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  std::string_view input = AsText(data, size);
  const char a = static_cast<char>(TakeByte(input));
  const char b = static_cast<char>(TakeByte(input));
  const std::string line(input.substr(0, 400));
  CheckScans(line, a, b);
  for (const char separator : {'S', 'T', 'C'}) {
    CheckSplitting(line, separator);
  }
  CheckSplittingAtSeparators<'S'>(line, static_cast<unsigned char>(b));
  CheckSplittingAtSeparators<'T'>(line, static_cast<unsigned char>(b));
  CheckSplittingWithEscapes(line, a % 2 != 0);
  return 0;
}
