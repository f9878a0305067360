// The line readers against a plain reading, byte by byte. Three bytes tell how
// many bytes to put before the text, so that it lies around the end of a block or
// of a window of blocks, with what, and whether in the modern limits; the rest is
// the text.
#include "superlog/line_reader.h"

#include "superlog/log_limits.h"
#include "superlog/plain_lines.h"
#include "support.h"

static uint64_t TotalBytes() {
  return uint64_t{TotalLogBytesRead().billions} * 1000000000 + TotalLogBytesRead().units;
}

static std::string CurrentLine() {
  return {mpLine, mLineLen};
}

static void CheckCurrentLine() {
  REQUIRE(mLineLen <= mLogLimits.line && mpLine[mLineLen] == '\0');
  REQUIRE(static_cast<size_t>(mpLineEnd - mpLine) == strlen(mpLine));
}

static void CheckBlockReader(const char* path, const std::string& bytes) {
  BlockModel model(bytes);
  std::string expected;
  REQUIRE(OpenLog(path));
  do {
    expected = model.ReadLine();
    ReadLineFromBigBuf();
    REQUIRE(CurrentLine() == expected);
    REQUIRE(TotalBytes() == model.counted());
    CheckCurrentLine();
    REQUIRE(QuotesAreTold());
    memset(mpLine, '\n', mLineLen);  // a user of the line may write to it
  } while (!expected.empty());
  REQUIRE(TotalBytes() == bytes.size());
}

// Where the next line begins, at or behind a place.
static size_t PassBetweenLines(const std::string& bytes, size_t at) {
  while (at < bytes.size() && IsBetweenLines(static_cast<unsigned char>(bytes[at]))) {
    ++at;
  }
  return at;
}

static void CheckPlainReader(const char* path, const std::string& bytes, size_t from) {
  REQUIRE(OpenLog(path));
  REQUIRE(SeekLog(static_cast<int64_t>(from)));
  for (size_t at = PassBetweenLines(bytes, from); at < bytes.size(); at = PassBetweenLines(bytes, at)) {
    const size_t end = std::min(bytes.find_first_of("\r\n", at), bytes.size());
    ReadLine();
    REQUIRE(CurrentLine() == bytes.substr(at, std::min(end - at, mLogLimits.line)));
    CheckCurrentLine();
    at = std::min(end + 1, bytes.size());
    REQUIRE(TellLog() == static_cast<int64_t>(at));
  }
  ReadLine();
  REQUIRE(mLineLen == 0);
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  static constexpr size_t kBoundaries[] = {0, 0, kBlockSize, 4096, 0, kBigBufSize, 2 * kBlockSize, 0};
  static MemoryFile file;
  std::string_view input = AsText(data, size);
  const uint8_t setting = TakeByte(input);
  const size_t boundary = kBoundaries[setting % 8];
  mLogLimits = setting >= 128 ? kModernLimits : kClassicLimits;
  const size_t back = TakeByte(input);
  const uint8_t filling = TakeByte(input);
  std::string bytes(boundary - std::min(boundary, back), filling % 4 == 0 ? '\n' : 'x');
  for (size_t i = 0; filling % 4 == 1 && i < bytes.size(); i += 1000) {
    bytes[i] = '\n';
  }
  bytes += input;
  const char* const path = file.Fill(bytes);
  ResetLineReader();
  CheckBlockReader(path, bytes);
  CheckPlainReader(path, bytes, std::min<size_t>(bytes.size(), filling));
  ResetLineReader();
  return 0;
}
