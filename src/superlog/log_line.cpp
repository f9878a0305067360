#include "superlog/log_line.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <functional>
#include <string_view>

#include "base/url_decode.h"
#include "dates/local_time.h"
#include "superlog/byte_scan.h"
#include "superlog/field_splitter.h"
#include "superlog/line_reader.h"
#include "superlog/log_dates.h"
#include "superlog/log_format.h"
#include "superlog/log_limits.h"
#include "superlog/odd_request.h"
#include "superlog/superlog.h"

static int64_t mLinesNotUnderstood = 0;
static char mCombinedUrl[kLongestItem + 1 + kScanOverread];

// --- Single values ------------------------------------------------------------

// The views of this file look into the line buffer or mCombinedUrl.
static char* Writable(std::string_view text) {
  return const_cast<char*>(text.data());
}

static const char* EndOf(std::string_view text) {
  return text.data() + text.size();
}

static bool IsAbsent(std::string_view text) {
  return text.data() == nullptr;
}

static bool IsDash(std::string_view text) {
  return text.size() == 1 && text[0] == '-';
}

static void CutTo(std::string_view& text, size_t length) {
  Writable(text)[length] = '\0';
  text = {text.data(), length};
}

static void CutAt(std::string_view& text, char c) {
  CutTo(text, static_cast<size_t>(FindByte(text.data(), EndOf(text), c) - text.data()));
}

void TrimFullRequest(std::string_view& request) {
  const char* const end = EndOf(request);
  const char* const space = FindByte(request.data(), end, ' ');
  if (space != end) {
    request = {space + 1, static_cast<size_t>(end - space - 1)};
    CutAt(request, ' ');
  }
}

int32_t TranslateWebStarResultCode(std::string_view word) {
  return word.starts_with("OK") ? 200 : word.starts_with("PR") ? 403 : 404;
}

void TrimPort(std::string_view& host) {
  CutAt(host, ':');
}

// The text of an address in brackets with what may stand behind them, or of a bare one; without its zone.
static std::string_view AddressIn(std::string_view host) {
  if (host.starts_with('[')) {
    const size_t end = host.find(']');
    const std::string_view behind = host.substr(std::min(end, host.size()));
    host = behind == "]" || behind.starts_with("]:") ? host.substr(1, end - 1) : "";
  }
  return host.substr(0, host.find('%'));
}

const Address* TakeHostWithColon(std::string_view& host) {
  static Address address;
  static char text[kAddressTextSize + kScanOverread];
  if (!ParseAddress(AddressIn(host), address)) {
    if (host.find(':') == host.rfind(':')) {
      TrimPort(host);
    }
    return nullptr;
  }
  char written[kAddressTextSize];
  WriteAddress(address, written);
  host = {text, CopyText(text, written)};
  return IsIpv4(address) ? nullptr : &address;
}

void TrimTrailingDot(std::string_view& host) {
  if (host.ends_with('.')) {
    CutTo(host, host.size() - 1);
  }
}

[[gnu::noinline]] static int64_t ToAnyNumber(const char* text) {
  return Wrapped(mLogLimits, strtoll(text, nullptr, 10));
}

// As ToInt, or saturating at 64 bits. Nearly all numbers of a log are a few plain digits.
static int64_t ToNumber(std::string_view text) {
  constexpr size_t kSafeDigits = 9;
  if (text.size() > kSafeDigits) {
    return ToAnyNumber(text.data());
  }
  int32_t number = 0;
  for (const char c : text) {
    const int digit = c - '0';
    if (digit < 0 || digit > 9) {
      return ToAnyNumber(text.data());
    }
    number = number * 10 + digit;
  }
  return number;
}

static void DropIfNothing(std::string_view& text) {
  if (text.empty() || IsDash(text)) {
    text = {};
  }
}

// --- From fields to a record --------------------------------------------------

// What a line gives besides the fields of its record.
struct LineParts {
  std::string_view host_name;     // used when the line has no host field
  std::string_view host_address;  // used when it has no host name either
  std::string_view stem;
  std::string_view query;
  bool dated = false;
};

static void (*const kDateParsers[])(const char* text, tm& when) = {ParseEpoch, ParseDateTime1, ParseDate2,
                                                                   ParseDate3, ParseDateTime4, ParseDate5};

// Where the value of a letter goes as it stands; null for letters that do more.
static std::string_view* FindText(char letter, SuperLogRecord& record, LineParts& parts) {
  switch (letter) {
    case 'a':
      return &record.agent;
    case 'e':
      return &parts.query;
    case 'f':
      return &record.referrer;
    case 'h':
      return &record.host;
    case 'm':
      return &record.realm;
    case 'u':
      return &record.url;
    case 'w':
      return &record.user;
    case 'x':
      return &parts.stem;
    default:
      return nullptr;
  }
}

static void TakeCandidate(std::string_view& candidate, std::string_view value) {
  if (!value.starts_with('-')) {
    candidate = value;
  }
}

// Files one value under its letter; false when it says that the line is no
// request. The field of a letter without meaning is skipped.
[[gnu::always_inline]] static inline bool TakeValue(char letter, std::string_view value,
                                                    SuperLogRecord& record, LineParts& parts) {
  if (std::string_view* const text = FindText(letter, record, parts)) {
    *text = value;
    return true;
  }
  if (letter == '1') {
    ParseNextDateTime1(value, record.local);
    parts.dated = true;
    return true;
  }
  if (letter >= '0' && letter <= '5') {
    kDateParsers[letter - '0'](value.data(), record.local);
    parts.dated = true;
    return true;
  }
  switch (letter) {
    case '9':
      ParseTime9(value.data(), record.local);
      break;
    case 'c':
      record.bytes = ToNumber(value);
      break;
    case 'k':
      record.status = record.status != 0 ? record.status : TranslateWebStarResultCode(value);
      break;
    case 'n':
      TakeCandidate(parts.host_name, value);
      break;
    case 'p':
      TakeCandidate(parts.host_address, value);
      break;
    case 'q':
      record.url = value;
      TrimFullRequest(record.url);
      break;
    case 'r':
      record.status = ToNumber(value);
      break;
    case 'v':
      return value.starts_with("W3SVC");
    default:
      break;
  }
  return true;
}

// A request is cut behind its method and at its URL's length, as the limits say.
[[gnu::cold, gnu::noinline]] static std::string_view CutField(std::string_view value, char letter) {
  CutTo(value, std::min(value.size(), letter == 'q' ? mLogLimits.request : mLogLimits.item));
  if (letter == 'q') {
    TrimFullRequest(value);
    CutTo(value, std::min(value.size(), mLogLimits.item));
  }
  return value;
}

// Whether the letters are those of a user, whose name may hold spaces, before a date and
// the request.
static bool BeginWithUser(const char* letters, char separator) {
  return letters[0] == 'w' && letters[1] == '1' && letters[2] == 'q' && separator == 'S';
}

// Nearly all requests are nobody's: told by where the request's quote is, without a search.
static bool IsNobody(const FieldCursor& cursor) {
  constexpr std::string_view kNobody = "- [05/Mar/2000:07:06:11 +0000] \"";
  const char* const text = cursor.next;
  return cursor.end - text >= static_cast<ptrdiff_t>(kNobody.size()) && text[0] == '-' && text[1] == ' ' &&
         text[2] == '[' && text[kNobody.size() - 2] == ' ' && text[kNobody.size() - 1] == '"';
}

static bool ParseUser(FieldCursor& cursor) {
  char* const date = FindDateBeforeRequest(cursor.next, cursor.end);
  if (date == nullptr || date == cursor.next) {
    return false;
  }
  ParseFieldBefore(cursor, date);
  return true;
}

// Walks the known layout along the current line.
template <bool kEscapes>
static bool SplitLine(SuperLogRecord& record, LineParts& parts) {
  FieldCursor cursor = {mpLine, mpLineEnd, nullptr, 0, kEscapes && mLineLen == mLogLimits.line};
  const size_t longest = mLogLimits.item;
  char separator = 'S';
  for (const char* letter = mKnownFormatBuf; *letter != '\0' && cursor.next != cursor.end; ++letter) {
    if (IsSeparatorLetter(*letter)) {
      separator = *letter;
      continue;
    }
    if (!kEscapes || !BeginWithUser(letter, separator) || IsNobody(cursor) || !ParseUser(cursor)) {
      ParseFieldBySeparator<kEscapes>(cursor, separator);
    }
    std::string_view value = {cursor.value, cursor.length};
    if (value.size() > longest) {
      value = CutField(value, *letter);
    }
    if (!TakeValue(*letter, value, record, parts)) {
      return false;
    }
  }
  return true;
}

// stem?query, cut to the length of a field.
static std::string_view CombineUrl(std::string_view stem, std::string_view query) {
  const size_t longest = mLogLimits.item;
  size_t length = stem.copy(mCombinedUrl, longest);
  if (length < longest) {
    mCombinedUrl[length++] = '?';
    length += query.copy(mCombinedUrl + length, longest - length);
  }
  mCombinedUrl[length] = '\0';
  return {mCombinedUrl, length};
}

// A Mac path, ":docs:index.html", as a URL path.
static void TranslateMacPath(std::string_view url) {
  if (url.starts_with(':')) {
    char* const path = Writable(url);
    std::replace(path, FindByte(path, path + url.size(), '?'), ':', '/');
  }
}

static void SettleUrl(std::string_view& url, const LineParts& parts) {
  if (IsAbsent(url)) {
    const bool whole = IsAbsent(parts.stem) || IsAbsent(parts.query);
    url = whole ? parts.stem : CombineUrl(parts.stem, parts.query);
  }
  TranslateMacPath(url);
}

// False when the line holds no request.
[[gnu::cold, gnu::noinline]] static bool SettleOddUrl(std::string_view& url) {
  if (!mLogLimits.all_requests) {
    return !IsDash(url);
  }
  // A URL that was put together lies elsewhere, even where the layout has whole requests.
  const bool in_line = !std::less<>()(url.data(), mpLine) && !std::less<>()(mpLineEnd, url.data());
  const bool whole_request = strchr(mKnownFormatBuf, 'q') != nullptr;
  url = in_line && whole_request ? UrlOfOddRequest(url, mpLine) : UrlOrNoRequest(url);
  return true;
}

static void SettleHost(SuperLogRecord& record, const LineParts& parts) {
  std::string_view& host = record.host;
  if (IsAbsent(host)) {
    host = IsAbsent(parts.host_name) ? parts.host_address : parts.host_name;
  }
  if (IsAbsent(host)) {
    return;
  }
  const char* const colon = FindByte(host.data(), EndOf(host), ':');
  if (colon != EndOf(host)) {
    if (mLogLimits.whole_addresses) {
      record.ipv6 = TakeHostWithColon(host);
    } else {
      TrimPort(host);
    }
  }
  TrimTrailingDot(host);
}

// Whether both times have a record's width, and come from a date: where figures are
// narrow, what is none of it does not fit.
static bool FitsRecord(const tm& local, time_t written, time_t time) {
  if (mLogLimits.wide_figures) {
    return !HoldsNoDate(local);
  }
  return written == static_cast<int32_t>(written) && time == static_cast<int32_t>(time);
}

// Turns the date and time that were collected into the record's; false when
// they give none that a record can hold.
static bool SettleTime(SuperLogRecord& record) {
  const time_t written = LocalToTime(record.local);
  const time_t time = written + mGmtOffset;
  if (!FitsRecord(record.local, written, time) || time == 0 || time == -1) {
    return false;
  }
  record.time = time;
  return TimeToLocal(time, record.local);
}

// Field by field, which is faster than one fill of the whole.
static void ClearRecord(SuperLogRecord& record) {
  for (std::string_view* text :
       {&record.host, &record.url, &record.referrer, &record.agent, &record.realm, &record.user}) {
    *text = {};
  }
  record.ipv6 = nullptr;
  record.local = {};
  record.local.tm_isdst = -1;
  record.time = 0;
  record.status = record.bytes = 0;
}

// False when the line is no request.
template <bool kEscapes>
static bool ParseDataLine(SuperLogRecord& record) {
  LineParts parts;
  ClearRecord(record);
  if (!SplitLine<kEscapes>(record, parts) || !parts.dated) {
    return false;
  }
  for (std::string_view* text :
       {&record.referrer, &record.agent, &record.realm, &record.user, &parts.query}) {
    DropIfNothing(*text);
  }
  SettleUrl(record.url, parts);
  // The time comes first: where a clock change repeats an hour, it is the line
  // before that decides, usable or not.
  if (!SettleTime(record) || IsAbsent(record.url)) {
    return false;
  }
  if (!record.url.starts_with('/') && !SettleOddUrl(record.url)) {
    return false;
  }
  SettleHost(record, parts);
  if (mCurLogFormat == kFamilyW3cIis && !IsAbsent(record.agent)) {
    // IIS writes "+" for a space.
    record.agent = {record.agent.data(), decode(Writable(record.agent))};
  }
  return true;
}

// --- Lines --------------------------------------------------------------------

// True for a data line; header lines are read for what they tell of the layout.
static bool IsDataLine() {
  const std::string_view line = {mpLine, static_cast<size_t>(mpLineEnd - mpLine)};
  if (line.empty() || line[0] == ';') {
    return false;
  }
  if (line[0] == '#') {
    GrokWebStarLine();
    GrokW3cLine();
    return false;
  }
  if (line.starts_with("!!")) {
    GrokWebStarLine();
    return false;
  }
  if (line.starts_with("format=")) {
    GrokNetscapeLine();
    return false;
  }
  return true;
}

// Two functions, so that neither way of reading costs the other anything.
template <bool kEscapes>
[[gnu::noinline]] static bool ParseNextLine(SuperLogRecord& record) {
  for (;;) {
    ReadLineFromBigBuf();
    if (mLineLen == 0) {
      ClearRecord(record);
      return false;
    }
    if (!IsDataLine()) {
      continue;
    }
    if ((mFormatKnown || GrokLineFormat()) && ParseDataLine<kEscapes>(record)) {
      return true;
    }
    ++mLinesNotUnderstood;
  }
}

bool SuperLog_ParseNextLine(SuperLogRecord& record) {
  return mLogLimits.escapes ? ParseNextLine<true>(record) : ParseNextLine<false>(record);
}

int64_t SuperLog_GetLinesNotUnderstood() {
  return mLinesNotUnderstood;
}

void ResetLogLine() {
  mLinesNotUnderstood = 0;
}

void SuperLog_ParseTest() {
  SuperLogRecord record;
  while (SuperLog_ParseNextLine(record)) {
  }
  CloseLog();
}
