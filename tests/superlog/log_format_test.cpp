#include "superlog/log_format.h"

#include <string>
#include <vector>

#include "log_text.h"
#include "superlog/superlog.h"

class LogFormatTest : public testing::Test {
 protected:
  void SetUp() override {
    ResetLineReader();
    ResetLogFormat();
    mLogEvents = {};
  }
  void TearDown() override { SetUp(); }

  // Makes a text the current line.
  static void SetLine(const std::string& line) {
    OpenLogText(line);
    ReadLineFromBigBuf();
  }

  static void GrokHeader(const std::string& line, void (*grok)()) {
    SetLine(line);
    grok();
  }

  static bool GrokData(const std::string& line) {
    ResetFileFormat();
    SetLine(line);
    return GrokLineFormat();
  }

  static void ExpectFormat(int family, const std::string& format) {
    EXPECT_EQ(mCurLogFormat, family);
    EXPECT_TRUE(mFormatKnown);
    EXPECT_EQ(mKnownFormatBuf, format);
  }
};
using GrokLineFormatTest = LogFormatTest;
using GrokW3cLineTest = LogFormatTest;
using GrokWebStarLineTest = LogFormatTest;
using GrokNetscapeLineTest = LogFormatTest;
using SetLogFormatTest = LogFormatTest;

static std::string Repeat(const std::string& text, int count) {
  std::string result;
  for (int i = 0; i < count; ++i) {
    result += text;
  }
  return result;
}

// --- A user's layout ------------------------------------------------------------

TEST_F(SetLogFormatTest, IsTakenWithoutTrailingSkippedFields) {
  SuperLog_SetLogFormat("Shc?", kLevelForm);
  EXPECT_TRUE(GrokData("anything"));
  ExpectFormat(kFamilyUser, "Shc");
}

TEST_F(SetLogFormatTest, MustBeginWithASeparatorLetter) {
  for (const char* format : {"xhc", "", "shc", " Shc", "?"}) {
    SCOPED_TRACE(format);
    SuperLog_SetLogFormat(format, kLevelAccount);
    EXPECT_FALSE(GrokData("anything"));
  }
  SuperLog_SetLogFormat(nullptr, kLevelAccount);
  EXPECT_FALSE(GrokData("anything"));
}

TEST_F(SetLogFormatTest, EverySeparatorLetterIsAccepted) {
  for (const char* format : {"Sh", "Th", "Ch"}) {
    SuperLog_SetLogFormat(format, kLevelForm);
    EXPECT_TRUE(GrokData("anything"));
    ExpectFormat(kFamilyUser, format);
  }
}

TEST_F(SetLogFormatTest, WeakerSourcesAreIgnoredAndEqualOnesOverride) {
  SuperLog_SetLogFormat("Sh", kLevelGlobalKey);
  SuperLog_SetLogFormat("Th", kLevelForm);
  EXPECT_TRUE(GrokData("anything"));
  ExpectFormat(kFamilyUser, "Sh");
  SuperLog_SetLogFormat("Ch", kLevelGlobalKey);
  EXPECT_TRUE(GrokData("anything"));
  ExpectFormat(kFamilyUser, "Ch");
  SuperLog_SetLogFormat("xh", kLevelAccount);  // refused, takes no level
  SuperLog_SetLogFormat("Sx", kLevelGlobalKey);
  EXPECT_TRUE(GrokData("anything"));
  ExpectFormat(kFamilyUser, "Sx");
}

TEST_F(SetLogFormatTest, MustBeShorterThan244Characters) {
  SuperLog_SetLogFormat(std::string("S").append(243, 'h').c_str(), kLevelForm);
  EXPECT_FALSE(GrokData("anything"));
  const std::string longest = std::string("S").append(242, 'h');
  SuperLog_SetLogFormat(longest.c_str(), kLevelForm);
  EXPECT_TRUE(GrokData("anything"));
  ExpectFormat(kFamilyUser, longest);
}

TEST_F(SetLogFormatTest, SurvivesAFileButNotARun) {
  SuperLog_SetLogFormat("Sh", kLevelForm);
  ResetFileFormat();
  EXPECT_TRUE(GrokData("anything"));
  ResetLogFormat();
  EXPECT_FALSE(GrokData("anything"));
}

TEST(TrimLogFormat, RemovesTrailingSpacesAndQuestionMarks) {
  struct {
    const char* format;
    const char* trimmed;
  } const rows[] = {{"Shc?", "Shc"}, {"Shc ? ?? ", "Shc"}, {"S?h", "S?h"}, {"S", "S"}, {"", ""}, {"???", ""}};
  for (const auto& row : rows) {
    SCOPED_TRACE(row.format);
    char buffer[16];
    CopyText(buffer, row.format);
    TrimLogFormat(buffer);
    EXPECT_STREQ(buffer, row.trimmed);
  }
}

// --- Data lines -----------------------------------------------------------------

TEST_F(GrokLineFormatTest, CommonLogLineIsReadAsExtended) {
  EXPECT_TRUE(GrokData("host.example - - [10/Oct/2000:13:55:36 -0700] \"GET /a HTTP/1.0\" 200 2326"));
  ExpectFormat(kFamilyClf, "Shmw1qrcfa");
}

TEST_F(GrokLineFormatTest, CountsSeparators) {
  struct {
    std::string line;
    int family;
    const char* format;
  } const rows[] = {
      {Repeat("a,", 15), kFamilyIis, "Chw29v?mD?cr?Mxefa"},
      {Repeat("a,", 14), kFamilyNone, ""},
      {Repeat("a, ", 15), kFamilyIis, "Chw29v?mD?cr?Mxefa"},
      {Repeat("a,\t", 15), kFamilyIis, "Chw29v?mD?cr?Mxefa"},
      {Repeat("a, ", 14), kFamilyClf, "Shmw1qrcfa"},
      {Repeat("a\t", 12), kFamilyWebSite, "T4h?mw?uf?arc?"},
      {Repeat("a \t", 12), kFamilyWebSite, "T4h?mw?uf?arc?"},
      {Repeat("a\t", 13), kFamilyNone, ""},
      {Repeat("a \t", 13), kFamilyClf, "Shmw1qrcfa"},
      {Repeat("a\t", 5), kFamilyMacHttp, "T29khxc"},
      {Repeat("a \t", 5), kFamilyMacHttp, "T29khxc"},
      {Repeat("a ", 6), kFamilyClf, "Shmw1qrcfa"},
      {Repeat("a ", 5), kFamilyNone, ""},
      {"a", kFamilyNone, ""},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.line);
    EXPECT_EQ(GrokData(row.line), row.family != kFamilyNone);
    EXPECT_EQ(mFormatKnown, row.family != kFamilyNone);
    EXPECT_EQ(mCurLogFormat, row.family);
    EXPECT_STREQ(mKnownFormatBuf, row.format);
  }
}

TEST_F(GrokLineFormatTest, SeparatorsBehindANulDoNotCount) {
  EXPECT_FALSE(GrokData(std::string("a\0 b c d e f g h i", 18)));
}

// --- W3C ------------------------------------------------------------------------

TEST_F(GrokW3cLineTest, SoftwareLineDecidesTheFamily) {
  struct {
    const char* line;
    int family;
  } const rows[] = {
      {"#Software: Microsoft Internet Information Server 4.0", kFamilyW3cIis},
      {"#Software: Microsoft Internet Information Services 7.5", kFamilyW3cIis},
      {"#Software: Dolphin Speedstar", kFamilyW3cIis},
      {"#Software: WebSTAR/2.1 ID/100", kFamilyW3cWebStar},
      {"#Software: WebSTAR/3.0", kFamilyNone},
      {"#software: Dolphin Speedstar", kFamilyNone},
      {"#Fields: date time", kFamilyNone},
      {"#Version: 1.0", kFamilyNone},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.line);
    ResetFileFormat();
    GrokHeader(row.line, GrokW3cLine);
    EXPECT_EQ(mCurLogFormat, row.family);
    EXPECT_FALSE(mFormatKnown);
  }
}

TEST_F(GrokW3cLineTest, EveryIisName) {
  GrokHeader("#Software: Dolphin Speedstar", GrokW3cLine);
  GrokHeader(
      "#Fields: c-ip c-username cs-username cs-uri-query cs-uri-stem cs(Referer) cs(User-Agent) date s-ip "
      "sc-bytes sc-status time",
      GrokW3cLine);
  ExpectFormat(kFamilyW3cIis, "Shwwexfa3mcr9");
}

TEST_F(GrokW3cLineTest, IisNamesIgnoreCaseAndUnknownOnesAreSkipped) {
  GrokHeader("#Software: Dolphin Speedstar", GrokW3cLine);
  GrokHeader("#Fields: DATE Time s-sitename CS-URI-Stem cs-host cs-version", GrokW3cLine);
  ExpectFormat(kFamilyW3cIis, "S39?x?P");
}

TEST_F(GrokW3cLineTest, EveryWebStarName) {
  GrokHeader("#Software: WebSTAR/2.1", GrokW3cLine);
  GrokHeader(
      "#Fields: DATE TIME RESULT HOSTNAME URL BYTES_SENT AGENT BYTES CS-HOST CS-IP CS-STATUS CS-URI REFERER "
      "SEARCH_ARGS USER C-DNS C-IP C-URI-QUERY CS-URI-STEM SC-STATUS cs(referer) cs(user-agent) time-taken x",
      GrokW3cLine);
  ExpectFormat(kFamilyW3cWebStar, "T29khxcacnprxfewnpexrfa");
}

TEST_F(GrokW3cLineTest, NinthCharacterIsDroppedWhateverItIs) {
  GrokHeader("#Software: Dolphin Speedstar", GrokW3cLine);
  GrokHeader("#Fields:\tdate time", GrokW3cLine);
  ExpectFormat(kFamilyW3cIis, "S39");
  GrokHeader("#Fields:xdate time", GrokW3cLine);
  ExpectFormat(kFamilyW3cIis, "S39");
}

TEST_F(GrokW3cLineTest, FieldsLineWithoutNames) {
  GrokHeader("#Software: Dolphin Speedstar", GrokW3cLine);
  for (const char* line : {"#Fields:", "#Fields: ", "#Fields: ? ?"}) {
    SCOPED_TRACE(line);
    GrokHeader(line, GrokW3cLine);
    ExpectFormat(kFamilyW3cIis, "S");
  }
}

TEST_F(GrokW3cLineTest, DateLineChangesNothing) {
  GrokHeader("#Software: Dolphin Speedstar", GrokW3cLine);
  GrokHeader("#Fields: date time", GrokW3cLine);
  GrokHeader("#Date: 2000-10-09 16:44:49", GrokW3cLine);
  ExpectFormat(kFamilyW3cIis, "S39");
}

TEST_F(GrokW3cLineTest, ManyFieldsAreCutToTheCapacity) {
  GrokHeader("#Software: Dolphin Speedstar", GrokW3cLine);
  GrokHeader("#Fields: " + Repeat("date ", 300), GrokW3cLine);
  ExpectFormat(kFamilyW3cIis, std::string("S").append(242, '3'));
}

// --- WebSTAR --------------------------------------------------------------------

TEST_F(GrokWebStarLineTest, CommonLogFormat) {
  GrokHeader("!!LOG_FORMAT COMMON_LOG_FORMAT", GrokWebStarLine);
  ExpectFormat(kFamilyWebStar, "Shmw1qrcfa");
}

static const char* const kAllNativeNames =
    "DATE TIME RESULT HOSTNAME URL BYTES_SENT AGENT BYTES CS-HOST CS-IP CS-STATUS CS-URI REFERER SEARCH_ARGS "
    "USER "
    "C-DNS C-IP C-URI-QUERY CS-URI-STEM SC-STATUS CS(HOST) CS(REFERER) CS(USER-AGENT) CS-URI-QUERY "
    "RESULT_CODE "
    "HOST CONNECTION_NAME";

TEST_F(GrokWebStarLineTest, EveryNameOfALogFormatLine) {
  GrokHeader(std::string("!!LOG_FORMAT ") + kAllNativeNames, GrokWebStarLine);
  ExpectFormat(kFamilyWebStar, "T59khxcacnprxfewnpexrmfaermm");
}

TEST_F(GrokWebStarLineTest, EveryNameOfAFieldsLine) {
  GrokHeader(std::string("#Fields: ") + kAllNativeNames, GrokWebStarLine);
  ExpectFormat(kFamilyWebStarFields, "T39rhxcacnprxfewnpexrmfaermm");
}

TEST_F(GrokWebStarLineTest, NamesAreCaseSensitive) {
  GrokHeader("!!LOG_FORMAT date HOSTNAME Url TIME", GrokWebStarLine);
  ExpectFormat(kFamilyWebStar, "T?h?9");
}

TEST_F(GrokWebStarLineTest, FieldsLineBeforeAnySoftwareLineIsWebStars) {
  SetLine("#Fields: DATE TIME");
  GrokWebStarLine();
  GrokW3cLine();
  ExpectFormat(kFamilyWebStarFields, "T39");
}

TEST_F(GrokWebStarLineTest, LeavesW3cFilesAlone) {
  for (const char* software : {"#Software: Dolphin Speedstar", "#Software: WebSTAR/2.1"}) {
    ResetFileFormat();
    GrokHeader(software, GrokW3cLine);
    const int family = mCurLogFormat;
    GrokHeader("#Fields: DATE", GrokWebStarLine);
    GrokHeader("!!LOG_FORMAT DATE", GrokWebStarLine);
    EXPECT_EQ(mCurLogFormat, family);
    EXPECT_FALSE(mFormatKnown);
    // The common log form is taken even there.
    GrokHeader("!!LOG_FORMAT COMMON_LOG_FORMAT", GrokWebStarLine);
    ExpectFormat(kFamilyWebStar, "Shmw1qrcfa");
  }
}

TEST_F(GrokWebStarLineTest, OtherLinesChangeNothing) {
  for (const char* line : {"!!LOG_FORMAT", "!!LOG_FORMAT\tDATE", "!!SOMETHING", "!!", "#Version: 1.0", "#"}) {
    SCOPED_TRACE(line);
    GrokHeader(line, GrokWebStarLine);
    EXPECT_EQ(mCurLogFormat, kFamilyNone);
    EXPECT_FALSE(mFormatKnown);
  }
}

// --- Netscape -------------------------------------------------------------------

TEST_F(GrokNetscapeLineTest, EveryToken) {
  GrokHeader(
      "format=%Ses->client.ip% - %Req->vars.auth-user% [%SYSDATE%] \"%Req->reqpb.clf-request%\" "
      "%Req->srvhdrs.clf-status% %Req->srvhdrs.content-length% \"%Req->headers.referer%\" "
      "'%Req->headers.user-agent%' %Req->vars.p2c-cl% %Req->reqpb.proxy-request% %Req->vars.pauth-user% "
      "%Req->reqpb.uri% %Req->reqpb.query% %other% ",
      GrokNetscapeLine);
  ExpectFormat(kFamilyNetscape, "Sh?w1qrcfacqwue");
}

TEST_F(GrokNetscapeLineTest, TokensAreCaseSensitive) {
  GrokHeader("format=%sysdate% %SYSDATE%", GrokNetscapeLine);
  ExpectFormat(kFamilyNetscape, "S?1");
}

TEST_F(GrokNetscapeLineTest, LineWithATabIsIgnored) {
  GrokHeader("format=%SYSDATE% %Ses->client.ip%\t", GrokNetscapeLine);
  EXPECT_EQ(mCurLogFormat, kFamilyNone);
  EXPECT_FALSE(mFormatKnown);
}

TEST_F(GrokNetscapeLineTest, OtherLineIsIgnored) {
  GrokHeader("Format=%SYSDATE%", GrokNetscapeLine);
  EXPECT_EQ(mCurLogFormat, kFamilyNone);
  EXPECT_FALSE(mFormatKnown);
}

TEST_F(GrokNetscapeLineTest, LineWithoutTokens) {
  GrokHeader("format=", GrokNetscapeLine);
  ExpectFormat(kFamilyNetscape, "S");
}

// --- Labels ---------------------------------------------------------------------

static std::string mLabels;

static void NoteLabel(const char* label) {
  mLabels += label;
}

TEST_F(LogFormatTest, LabelsAreToldEachTimeALineSetsTheFamily) {
  struct {
    std::string line;
    void (*grok)();
    const char* label;
  } const rows[] = {
      {"!!LOG_FORMAT DATE", GrokWebStarLine, "WebStar LogFormat"},
      {"!!LOG_FORMAT COMMON_LOG_FORMAT", GrokWebStarLine, "WebStar CLF/ELF"},
      {"#Fields: DATE", GrokWebStarLine, "WebStar Fields"},
      {"format=x", GrokNetscapeLine, "Netscape"},
      {"#Software: Dolphin Speedstar", GrokW3cLine, "W3C: IIS4"},
      {"#Fields: date", GrokW3cLine, ""},
      {"#Software: Dolphin Speedstar", GrokW3cLine, "W3C: IIS4"},
      {"#Software: WebSTAR/2.1", GrokW3cLine, "W3C: WebStar 2.1"},
      {"#Fields: DATE", GrokW3cLine, ""},
  };
  mLogEvents.format_recognised = NoteLabel;
  for (const auto& row : rows) {
    SCOPED_TRACE(row.line);
    SetLine(row.line);
    mLabels = "";
    row.grok();
    EXPECT_EQ(mLabels, row.label);
  }
}

TEST_F(LogFormatTest, LabelsOfGuesses) {
  struct {
    std::string line;
    const char* label;
  } const rows[] = {
      {Repeat("a,", 15), "IIS/PWS"},
      {Repeat("a\t", 12), "WebSite Windows Log Format"},
      {Repeat("a\t", 5), "WebSTAR/MacHTTP"},
      {Repeat("a ", 6), "CLF/ELF"},
      {"a", ""},
  };
  mLogEvents.format_recognised = NoteLabel;
  for (const auto& row : rows) {
    SCOPED_TRACE(row.line);
    mLabels = "";
    GrokData(row.line);
    EXPECT_EQ(mLabels, row.label);
  }
  SuperLog_SetLogFormat("Shmw1q", kLevelForm);
  mLabels = "";
  GrokData("a");
  EXPECT_EQ(mLabels, "Specified: Shmw1q");
}

TEST_F(LogFormatTest, NothingIsPrinted) {
  testing::internal::CaptureStdout();
  GrokData(Repeat("a ", 6));
  GrokHeader("#Software: Dolphin Speedstar", GrokW3cLine);
  EXPECT_EQ(testing::internal::GetCapturedStdout(), "");
}

TEST_F(LogFormatTest, LettersAreMisledByWhatStandsBeforeTheVisitor) {
  const std::string tail = " [05/Mar/2000:07:06:11 +0000] \"GET /a HTTP/1.1\" 200 5";
  const std::string zoneless = " [05/Mar/2000:07:06:11] \"GET /a HTTP/1.1\" 200 5";
  const auto misleads = [](const std::string& line) {
    SetLine(line);
    return MisleadsLetters();
  };
  for (const std::string& rest : {tail, zoneless}) {
    EXPECT_TRUE(misleads("www.example.com 192.0.2.7 - -" + rest));
    EXPECT_TRUE(misleads("www.example.com 192.0.2.7 - - - a" + rest));
    EXPECT_TRUE(misleads("Mar  5 07:06:12 web nginx: 192.0.2.7 - -" + rest));
    EXPECT_FALSE(misleads("192.0.2.7 - -" + rest));
    EXPECT_FALSE(misleads("192.0.2.7 - - a" + rest));
    EXPECT_FALSE(misleads("192.0.2.7 ident -" + rest));
  }
  EXPECT_FALSE(misleads(""));
  EXPECT_FALSE(misleads("a"));
}
