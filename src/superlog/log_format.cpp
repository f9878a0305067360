#include "superlog/log_format.h"

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <span>
#include <string_view>

#include "dates/local_time.h"
#include "layouts/wrappers.h"
#include "superlog/content_hash.h"
#include "superlog/field_record.h"
#include "superlog/field_splitter.h"
#include "superlog/line_reader.h"
#include "superlog/log_events.h"
#include "superlog/log_limits.h"
#include "superlog/superlog.h"

char mKnownFormatBuf[kTextSize];
LineLayout mKnownLayout;
bool mFormatKnown = false;
int mCurLogFormat = kFamilyNone;
bool mMoreTexts = false;

static char mSpecialLogFormatBuf[kTextSize];  // the user's layout
static int mLogFormatSource = 0;              // 0 = there is none
static char mUnaskedLetters[16];
static char mWholeFormatBuf[kTextSize];  // the known format before letters were struck out

// The name of a layout, or the words of a server.
static char mLayoutText[kLongestLayoutText + 1];
static int mLayoutSource = 0;  // 0 = there is none

// --- Field names of header lines --------------------------------------------

struct FieldName {
  std::string_view name;
  char letter;
};

// Matched ignoring case.
static constexpr FieldName kW3cIisNames[] = {
    {"c-ip", 'h'},        {"c-username", 'w'},  {"cs-username", 'w'},    {"cs-uri-query", 'e'},
    {"cs-uri-stem", 'x'}, {"cs(Referer)", 'f'}, {"cs(User-Agent)", 'a'}, {"date", '3'},
    {"s-ip", 'm'},        {"sc-bytes", 'c'},    {"sc-status", 'r'},      {"time", '9'},
    {"cs-method", 'M'},   {"cs-version", 'P'},  {"time-taken", 'D'},
};

// Matched ignoring case in W3C logs of WebSTAR 2.1, exactly in its own.
static constexpr FieldName kWebStarNames[] = {
    {"DATE", '2'},        {"TIME", '9'},           {"RESULT", 'k'},      {"HOSTNAME", 'h'},
    {"URL", 'x'},         {"BYTES_SENT", 'c'},     {"AGENT", 'a'},       {"BYTES", 'c'},
    {"CS-HOST", 'n'},     {"CS-IP", 'p'},          {"CS-STATUS", 'r'},   {"CS-URI", 'x'},
    {"REFERER", 'f'},     {"SEARCH_ARGS", 'e'},    {"USER", 'w'},        {"C-DNS", 'n'},
    {"C-IP", 'p'},        {"C-URI-QUERY", 'e'},    {"CS-URI-STEM", 'x'}, {"SC-STATUS", 'r'},
    {"CS(REFERER)", 'f'}, {"CS(USER-AGENT)", 'a'},
};

// What WebSTAR's own logs have besides, matched exactly.
static constexpr FieldName kNativeNames[] = {
    {"CS(HOST)", 'm'}, {"CS-URI-QUERY", 'e'}, {"RESULT_CODE", 'r'}, {"HOST", 'm'}, {"CONNECTION_NAME", 'm'},
};

// Matched exactly.
static constexpr FieldName kNetscapeNames[] = {
    {"%Ses->client.ip%", 'h'},
    {"%SYSDATE%", '1'},
    {"%Req->reqpb.clf-request%", 'q'},
    {"%Req->srvhdrs.clf-status%", 'r'},
    {"%Req->srvhdrs.content-length%", 'c'},
    {"%Req->headers.referer%", 'f'},
    {"%Req->headers.user-agent%", 'a'},
    {"%Req->vars.auth-user%", 'w'},
    {"%Req->vars.p2c-cl%", 'c'},
    {"%Req->reqpb.proxy-request%", 'q'},
    {"%Req->vars.pauth-user%", 'w'},
    {"%Req->reqpb.uri%", 'u'},
    {"%Req->reqpb.query%", 'e'},
    {"%Req->reqpb.method%", 'M'},
    {"%Req->reqpb.protocol%", 'P'},
};

static bool EqualExactly(std::string_view a, std::string_view b) {
  return a == b;
}

static constexpr char kSkipField = '?';

static char FindLetter(std::span<const FieldName> names, std::string_view name,
                       bool (*equal)(std::string_view, std::string_view)) {
  for (const FieldName& known : names) {
    if (equal(known.name, name)) {
      return known.letter;
    }
  }
  return kSkipField;
}

static char W3cIisLetter(std::string_view name) {
  return FindLetter(kW3cIisNames, name, EqualIgnoreCase);
}

static char W3cWebStarLetter(std::string_view name) {
  return FindLetter(kWebStarNames, name, EqualIgnoreCase);
}

static char NativeLetter(std::string_view name) {
  const char letter = FindLetter(kWebStarNames, name, EqualExactly);
  return letter != kSkipField ? letter : FindLetter(kNativeNames, name, EqualExactly);
}

static char NativeLogFormatLetter(std::string_view name) {
  return name == "DATE" ? '5' : NativeLetter(name);
}

static char NativeFieldsLetter(std::string_view name) {
  return name == "DATE" ? '3' : name == "RESULT" ? 'r' : NativeLetter(name);
}

static char NetscapeLetter(std::string_view name) {
  return FindLetter(kNetscapeNames, name, EqualExactly);
}

static constexpr ContentKey kStateKey = {
    {0xbe5466cf34e90c6c, 0xc0ac29b7c97c50dd, 0x3f84d5b5b5470917, 0x9216d5d98979fb1b}};  // digits of pi

// --- The known layout ---------------------------------------------------------

void ResetFileFormat() {
  mKnownFormatBuf[0] = '\0';
  mFormatKnown = false;
  mCurLogFormat = kFamilyNone;
  ForgetFileLayouts();
}

bool StateOfLines(uint64_t& state) {
  int64_t local_time = 0;
  const bool known = StateOfLocalTime(local_time);
  const std::string_view letters = mFormatKnown ? mWholeFormatBuf : "";
  const uint64_t words[] = {static_cast<uint64_t>(local_time), static_cast<uint64_t>(mCurLogFormat),
                            uint64_t{mFormatKnown}, StateOfLayouts()};
  const ContentHash hash =
      AddBlock(kStateKey, AddBlock(kStateKey, {}, reinterpret_cast<const char*>(words), sizeof words),
               letters.data(), letters.size());
  state = hash.low;
  return known;
}

void ResetLogFormat() {
  ResetLayouts();
  ResetFileFormat();
  mSpecialLogFormatBuf[0] = '\0';
  mLogFormatSource = 0;
  mLayoutSource = 0;
  mUnaskedLetters[0] = '\0';
  mMoreTexts = true;
}

void SuperLog_AskFor(const AskedTexts& asked) {
  const struct {
    bool asked;
    std::string_view letters;
  } texts[] = {{asked.host, "hnp"},
               {asked.referrer, "f"},
               {asked.agent, "a"},
               {asked.realm, "m"},
               {asked.site, kSiteLetter},
               {asked.method, kMethodLetter},
               {asked.protocol, kProtocolLetter},
               {asked.tls, kTlsLetter},
               {asked.taken, kTakenLetter},
               // Where users may hold spaces, the reader must know which field is theirs.
               {asked.user || mLogLimits.escapes, "w"}};
  char* end = mUnaskedLetters;
  for (const auto& text : texts) {
    end += text.letters.copy(end, text.asked ? 0 : text.letters.size());
  }
  *end = '\0';
  mMoreTexts = asked.site || asked.method || asked.protocol || asked.tls || asked.taken;
}

bool IsAsked(char letter) {
  return strchr(mUnaskedLetters, letter) == nullptr;
}

void SuperLog_SetLayoutText(std::string_view text, int source) {
  while (!text.empty() && (text.back() == '\n' || text.back() == '\r')) {
    text.remove_suffix(1);
  }
  if (source >= mLayoutSource && !text.empty() && text.size() <= kLongestLayoutText) {
    CopyText(mLayoutText, text);
    mLayoutSource = source;
  }
}

// Letters that all have a meaning.
static bool AreLetters(std::string_view format) {
  constexpr std::string_view kLetters = "STC0123459hnpquxerkcfawmv? ";
  return !format.empty() && IsSeparatorLetter(format[0]) &&
         format.find_first_not_of(kLetters) == std::string_view::npos;
}

// Letters that tell a time and a URL, some of which may have no meaning.
static bool MayBeLetters(std::string_view format) {
  return !format.empty() && IsSeparatorLetter(format[0]) &&
         format.find_first_of("$%") == std::string_view::npos &&
         format.find_first_of("012345") != std::string_view::npos &&
         format.find_first_of("qux") != std::string_view::npos;
}

UnknownLayout SuperLog_UnknownLayout() noexcept {
  const bool asked = mLayoutSource != 0 && mLayoutSource >= mLogFormatSource;
  const bool unknown = asked && !IsUserLayout(mLayoutText);
  return {unknown ? mLayoutText : "", mLogFormatSource == mLayoutSource && MayBeLetters(mLayoutText)};
}

bool SuperLog_BeginLayout() {
  ResetLayouts();
  if (mLayoutSource == 0 || mLayoutSource < mLogFormatSource) {
    return true;
  }
  const bool taken = TakeUserLayout(mLayoutText);
  mLogFormatSource = taken ? 0 : mLogFormatSource;
  return taken;
}

void SuperLog_SetLogFormat(const char* format, int source) {
  if (format != nullptr && !AreLetters(format)) {
    SuperLog_SetLayoutText(format, source);
  }
  if (format == nullptr || source < mLogFormatSource || strlen(format) >= sizeof mSpecialLogFormatBuf ||
      !IsSeparatorLetter(format[0])) {
    return;
  }
  CopyText(mSpecialLogFormatBuf, format);
  mLogFormatSource = source;
  TrimLogFormat(mSpecialLogFormatBuf);
}

std::string_view OwnLayout() {
  return mLogFormatSource != 0 ? mSpecialLogFormatBuf : mLayoutSource != 0 ? mLayoutText : "";
}

void TrimLogFormat(char* format) {
  size_t length = strlen(format);
  while (length > 0 && (format[length - 1] == ' ' || format[length - 1] == kSkipField)) {
    format[--length] = '\0';
  }
}

static void SetFamily(LogFamily family, const char* label) {
  mCurLogFormat = family;
  if (mLogEvents.format_recognised != nullptr) {
    mLogEvents.format_recognised(label);
  }
}

static void SetKnownFormat(const char* format) {
  CopyText(mKnownFormatBuf, format);
  CopyText(mWholeFormatBuf, format);
  mFormatKnown = true;
  for (char* letter = mKnownFormatBuf; *(letter += strcspn(letter, mUnaskedLetters)) != '\0';) {
    *letter = kSkipField;
  }
  if (mUnaskedLetters[0] != '\0') {
    TrimLogFormat(mKnownFormatBuf);
  }
  WorkOut(mKnownLayout, mKnownFormatBuf);
}

static std::string_view CurrentLine() {
  return {mpLine, static_cast<size_t>(mpLineEnd - mpLine)};
}

// Makes the known layout of the field names that follow the first `skip`
// characters of the current line, whatever these are.
static void TakeFieldNames(char separator, size_t skip, char (*letter_of)(std::string_view)) {
  char format[kTextSize] = {separator};
  size_t count = 1;
  static LineMarks marks;
  MarkLine(marks, mpLine, mpLineEnd, ' ');
  FieldCursor cursor = {marks, mpLine + CurrentLine().substr(0, skip).size(), mpLineEnd, nullptr, 0};
  while (cursor.next != cursor.end && count < kTextMax) {
    ParseField(cursor);
    format[count++] = letter_of({cursor.value, cursor.length});
  }
  TrimLogFormat(format);
  SetKnownFormat(format);
}

// --- Header lines -------------------------------------------------------------

static constexpr std::string_view kFieldsHeader = "#Fields:";
static constexpr std::string_view kLogFormatHeader = "!!LOG_FORMAT ";
static constexpr std::string_view kNetscapeHeader = "format=";

static bool IsW3cFile() {
  return mCurLogFormat == kFamilyW3cIis || mCurLogFormat == kFamilyW3cWebStar;
}

void GrokW3cLine() {
  const std::string_view line = CurrentLine();
  if (line.starts_with("#Software: Microsoft Internet Information Serv") ||
      line.starts_with("#Software: Dolphin Speedstar")) {
    SetFamily(kFamilyW3cIis, "W3C: IIS4");
  } else if (line.starts_with("#Software: WebSTAR/2.1")) {
    SetFamily(kFamilyW3cWebStar, "W3C: WebStar 2.1");
  } else if (IsW3cFile() && line.starts_with(kFieldsHeader)) {
    if (mCurLogFormat == kFamilyW3cIis) {
      TakeFieldNames('S', kFieldsHeader.size() + 1, W3cIisLetter);
    } else {
      TakeFieldNames('T', kFieldsHeader.size() + 1, W3cWebStarLetter);
    }
  }
}

// Names of fields in no program's order, which WebSTAR's are not: those are in capital letters.
static bool TakesNames(std::string_view line) {
  const std::string_view names = line.substr(kFieldsHeader.size());
  const bool webstar = std::none_of(names.begin(), names.end(), [](char c) { return c >= 'a' && c <= 'z'; });
  return mLogLimits.layouts && !webstar && TakeNamesOfFields(names);
}

void GrokWebStarLine() {
  const std::string_view line = CurrentLine();
  if (line.starts_with("!!LOG_FORMAT COMMON_LOG_FORMAT")) {
    SetFamily(kFamilyWebStar, "WebStar CLF/ELF");
    SetKnownFormat(LOG_FORMAT_STR_ELF);
  } else if (IsW3cFile()) {
    return;
  } else if (line.starts_with(kLogFormatHeader)) {
    SetFamily(kFamilyWebStar, "WebStar LogFormat");
    TakeFieldNames('T', kLogFormatHeader.size(), NativeLogFormatLetter);
  } else if (BeginsWithIgnoreCase(line, kFieldsHeader) && TakesNames(line)) {
    mFormatKnown = false;
  } else if (line.starts_with(kFieldsHeader)) {
    SetFamily(kFamilyWebStarFields, "WebStar Fields");
    TakeFieldNames('T', kFieldsHeader.size() + 1, NativeFieldsLetter);
  }
}

void GrokNetscapeLine() {
  const std::string_view line = CurrentLine();
  if (!line.starts_with(kNetscapeHeader) || line.find('\t') != std::string_view::npos) {
    return;
  }
  SetFamily(kFamilyNetscape, "Netscape");
  TakeFieldNames('S', kNetscapeHeader.size(), NetscapeLetter);
}

// --- Data lines ---------------------------------------------------------------

struct Separators {
  int spaces, tabs, commas;
};

static Separators CountSeparators(std::string_view line) {
  Separators count = {};
  for (const char c : line) {
    count.spaces += c == ' ';
    count.tabs += c == '\t';
    count.commas += c == ',';
  }
  return count;
}

static void TakeGuess(LogFamily family, const char* label, const char* format) {
  SetFamily(family, label);
  SetKnownFormat(format);
}

static void TakeUserFormat() {
  char label[sizeof "Specified: " + kTextSize];
  snprintf(label, sizeof label, "Specified: %s", mSpecialLogFormatBuf);
  TakeGuess(kFamilyUser, label, mSpecialLogFormatBuf);
}

// "www.example.com 192.0.2.7 - ann [": a virtual host stands before the client.
static bool BeginsWithSite(std::string_view line, size_t date) {
  const size_t second = line.find(' ') + 1;
  const size_t third = line.find(' ', second) + 1;
  return line.substr(third, 2) == "- " && third + 2 < date && line.substr(second, 2) != "- ";
}

bool MisleadsLetters() {
  const std::string_view line = CurrentLine();
  const char* const request = FindDateBeforeRequest(mpLine, mpLineEnd);
  const size_t date = request != nullptr ? static_cast<size_t>(request - mpLine) : line.find(" [") + 1;
  return BeginsWithSite(line, date) || HasHead(line);
}

bool StandsLetterLayout() {
  return mLogFormatSource != 0 || (FindDateBeforeRequest(mpLine, mpLineEnd) != nullptr && !MisleadsLetters());
}

bool GrokLineFormat() {
  if (mLogFormatSource != 0) {
    TakeUserFormat();
    return true;
  }
  // Before the separators, of which a visitor writes as many as he likes.
  if (mLogLimits.escapes && FindDateBeforeRequest(mpLine, mpLineEnd) != nullptr) {
    TakeGuess(kFamilyClf, "CLF/ELF", LOG_FORMAT_STR_ELF);
    return true;
  }
  const Separators count = CountSeparators(CurrentLine());
  if (count.commas > 14) {
    TakeGuess(kFamilyIis, "IIS/PWS", LOG_FORMAT_STR_IIS);
  } else if (count.tabs == 12) {
    TakeGuess(kFamilyWebSite, "WebSite Windows Log Format", LOG_FORMAT_STR_WLF);
  } else if (count.tabs == 5) {
    TakeGuess(kFamilyMacHttp, "WebSTAR/MacHTTP", LOG_FORMAT_STR_MacHTTP);
  } else if (count.spaces >= 6) {
    TakeGuess(kFamilyClf, "CLF/ELF", LOG_FORMAT_STR_ELF);
  } else {
    return false;
  }
  return true;
}
