// Header lines and the recognition of a layout: each line of the input is read as
// a header line of every family, then as a data line.
#include "superlog/line_reader.h"
#include "superlog/log_format.h"
#include "superlog/superlog.h"
#include "support.h"

static void CheckLayout() {
  REQUIRE(mCurLogFormat >= kFamilyNone && mCurLogFormat <= kFamilyClf);
  RequireText(mKnownFormatBuf);
  if (!mFormatKnown) {
    REQUIRE(mKnownFormatBuf[0] == '\0');
    return;
  }
  const std::string_view layout = mKnownFormatBuf;
  REQUIRE(!layout.empty() && std::string_view("STC").find(layout[0]) != std::string_view::npos);
}

// What header lines and the user give holds known letters and does not end in
// skipped fields; what a data line is recognised as may.
static void CheckLetters() {
  const std::string_view layout = mKnownFormatBuf;
  if (mFormatKnown && mCurLogFormat != kFamilyUser && mCurLogFormat != kFamilyWebSite) {
    REQUIRE(layout.find_first_not_of("STC123459acefhkmnpqruvwxMPD?") == std::string_view::npos);
  }
  if (mFormatKnown && mCurLogFormat != kFamilyWebSite) {
    REQUIRE(layout.back() != '?' && layout.back() != ' ');
  }
}

static void ReadAs(const char* path, void (*grok)()) {
  REQUIRE(OpenLog(path));
  for (ReadLineFromBigBuf(); mLineLen > 0; ReadLineFromBigBuf()) {
    grok();
    CheckLayout();
    CheckLetters();
  }
}

// As a log's lines come.
static void GrokLine() {
  GrokWebStarLine();
  GrokW3cLine();
  if (std::string_view(mpLine).starts_with("format=")) {
    GrokNetscapeLine();
  }
}

static void RequireLabel(const char* label) {
  REQUIRE(label[0] != '\0' && strlen(label) < kTextSize + 20);
}

static void GrokDataLine() {
  REQUIRE(GrokLineFormat() || !mFormatKnown);
  ResetFileFormat();
}

// The input's first line is the user's layout.
extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  static MemoryFile file;
  std::string_view input = AsText(data, size);
  ResetSuperLog();
  mLogEvents.format_recognised = RequireLabel;
  const std::string layout = UpToNul(TakePart(input));
  const char* const path = file.Fill(input);
  for (void (*const grok)() : {GrokLine, GrokNetscapeLine, GrokWebStarLine, GrokDataLine}) {
    ResetFileFormat();
    ReadAs(path, grok);
  }
  SuperLog_SetLogFormat(layout.c_str(), kLevelForm);
  ResetFileFormat();
  ReadAs(path, [] { GrokLineFormat(); });
  ResetSuperLog();
  return 0;
}
