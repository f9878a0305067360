#include "superlog/log_line.h"

#include <algorithm>
#include <bit>
#include <cstdlib>
#include <cstring>
#include <functional>
#include <string_view>
#include <utility>

#include "base/url_decode.h"
#include "dates/days.h"
#include "dates/local_time.h"
#include "layouts/known_layouts.h"
#include "layouts/taken.h"
#include "layouts/wrappers.h"
#include "superlog/byte_scan.h"
#include "superlog/digits.h"
#include "superlog/field_record.h"
#include "superlog/field_splitter.h"
#include "superlog/kept_texts.h"
#include "superlog/line_layout.h"
#include "superlog/line_marks.h"
#include "superlog/line_reader.h"
#include "superlog/log_dates.h"
#include "superlog/log_format.h"
#include "superlog/log_limits.h"
#include "superlog/odd_request.h"
#include "superlog/request_words.h"
#include "superlog/superlog.h"
#include "superlog/usual_line.h"

static int64_t mLinesNotUnderstood = 0;
static NotUnderstood mNotUnderstood;  // of the log at hand
static bool mLineDescribed = false;   // the line at hand, before its fields were cut
static bool mLineCut = false;         // the line that was last looked at for it is cut off
static bool mLacksRequest = false;    // the line at hand, by letters that tell its time
static bool mDoubted = false;  // the line at hand was held against other layouts than the log's letters
static LineMarks mMarks;

// --- Single values ------------------------------------------------------------

// The views of this file look into the line buffer or into kept texts.
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

// The same text, followed by a NUL.
static const char* Ended(std::string_view text) {
  CutTo(text, text.size());
  return text.data();
}

// Serves short texts.
static void CutAt(std::string_view& text, char c) {
  CutTo(text, static_cast<size_t>(FindEither(text.data(), EndOf(text), c, c) - text.data()));
}

// Nearly all URLs end among the first 64 characters.
void TrimFullRequest(std::string_view& request) {
  const uint64_t blanks = MatchMask64(request.data(), ' ');
  const uint64_t behind_first = blanks & (blanks - 1);
  const auto second = static_cast<size_t>(std::countr_zero(behind_first));
  if (behind_first != 0 && second < request.size()) {
    const auto url = static_cast<size_t>(std::countr_zero(blanks)) + 1;
    request = {request.data() + url, second - url};
    return;
  }
  const char* const end = EndOf(request);
  const char* const space = FindEither(request.data(), end, ' ', ' ');
  if (space != end) {
    const char* const url = space + 1;
    request = {url, static_cast<size_t>(FindByte(url, end, ' ') - url)};
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

// Nearly all addresses stand in a log as they are written at their shortest.
static std::string_view Written(const Address& address, std::string_view as_logged) {
  char text[kAddressTextSize];
  WriteAddress(address, text);
  if (as_logged == text) {
    Ended(as_logged);
    return as_logged;
  }
  const std::string_view written = text;
  char* const room = RoomForText(sizeof text);
  return KeepText(room, written.copy(room, written.size()));
}

const Address* TakeHostWithColon(std::string_view& host) {
  static Address address;
  const std::string_view text = AddressIn(host);
  if (!ParseAddress(text, address)) {
    Ended(host);
    if (host.find(':') == host.rfind(':')) {
      TrimPort(host);
    }
    return nullptr;
  }
  host = Written(address, text);
  return IsIpv4(address) ? nullptr : &address;
}

void TrimTrailingDot(std::string_view& host) {
  if (host.ends_with('.')) {
    CutTo(host, host.size() - 1);
  }
}

[[gnu::noinline]] static int64_t ToAnyNumber(std::string_view text) {
  return Wrapped(mLogLimits, strtoll(Ended(text), nullptr, 10));
}

// As ToInt, or saturating at 64 bits. Nearly all numbers of a log are a few plain digits.
static int64_t ToNumber(std::string_view text) {
  if (text.size() - 1 >= 8) {
    return ToAnyNumber(text);
  }
  const uint64_t word = DigitWord(text.data(), text.size());
  return AreDigits(word) ? NumberOfDigits(word) : ToAnyNumber(text);
}

// The text, absent where it is empty or says that there is none.
static std::string_view Something(std::string_view text) {
  return text.empty() || IsDash(text) ? std::string_view{} : text;
}

// --- From fields to a record --------------------------------------------------

// The fields of the current line; the last place is that of fields that it has not.
static std::string_view mFields[kNoField + 1];

template <void (*kParse)(const char* text, tm& when)>
static void ParseWhole(std::string_view text, tm& when) {
  kParse(text.data(), when);
}

// Of the letters 0 to 5. A NUL follows each text.
static void (*const kDateParsers[])(std::string_view text, tm& when) = {
    ParseWhole<ParseEpoch>, ParseNextDateTime1, ParseWhole<ParseDate2>,
    ParseNextDate3,         ParseNextDateTime4, ParseWhole<ParseDate5>};

// What a line gives besides the fields of its record.
struct LineParts {
  std::string_view host_name;     // used when the line has no host field
  std::string_view host_address;  // used when it has no host name either
  bool dated = false;
};

static void TakeCandidate(std::string_view& candidate, std::string_view value) {
  if (!value.starts_with('-')) {
    candidate = value;
  }
}

static bool HoldsTimeOfDay(const tm& when) {
  return (when.tm_hour | when.tm_min | when.tm_sec) != 0;
}

// What is no time at all leaves midnight, too.
static bool SaysMidnight(std::string_view value) {
  return value.starts_with('0') && value.find_first_of("123456789") == std::string_view::npos;
}

// Files one value under its letter; false when it says that the line is no
// request.
[[gnu::always_inline]] static inline bool TakeValue(char letter, std::string_view value,
                                                    SuperLogRecord& record, LineParts& parts) {
  switch (letter) {
    case '0':
    case '1':
    case '2':
    case '3':
    case '4':
    case '5':
      Ended(value);
      kDateParsers[letter - '0'](value, record.local);
      parts.dated = true;
      break;
    case '9':
      Ended(value);
      ParseNextTime9(value, record.local);
      return !mLogLimits.wide_figures || HoldsTimeOfDay(record.local) || SaysMidnight(value);
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

static std::string_view CurrentLine() {
  return {mpLine, static_cast<size_t>(mpLineEnd - mpLine)};
}

static std::string_view mLongRequest;  // of the line at hand, as much of it as the limits say

// A request is cut behind its method and at its URL's length, as the limits say.
[[gnu::cold, gnu::noinline]] static std::string_view CutField(std::string_view value, char letter) {
  value = value.substr(0, letter == 'q' ? mLogLimits.request : mLogLimits.item);
  if (letter == 'q') {
    Ended(value);
    mLongRequest = value;
    TrimFullRequest(value);
  }
  return value.substr(0, mLogLimits.item);
}

// Nearly all requests are nobody's: told by where the request's quote is, without a search.
static bool IsNobody(const FieldCursor& cursor) {
  constexpr std::string_view kNobody = "- [05/Mar/2000:07:06:11 +0000] \"";
  const char* const text = cursor.next;
  return cursor.end - text >= static_cast<ptrdiff_t>(kNobody.size()) && text[0] == '-' && text[1] == ' ' &&
         text[2] == '[' && text[kNobody.size() - 2] == ' ' && text[kNobody.size() - 1] == '"';
}

// --- Lines that are cut off -----------------------------------------------------

// Nearly all lines have quotes that are told, and are not.
static bool MayBeCut() {
  return mLogLimits.whole_lines && mLineQuotes.begin == nullptr && IsLineCut();
}

// A quote behind an odd number of backslashes neither begins nor ends anything.
static bool EndsInQuotes(std::string_view line) {
  bool open = false;
  bool escaped = false;
  for (const char c : line) {
    open = open != (c == '"' && !escaped);
    escaped = c == '\\' && !escaped;
  }
  return open;
}

// Of a line that was not written to yet.
static bool IsCutInQuotes() {
  return mLineCut = MayBeCut() && EndsInQuotes(CurrentLine());
}

// Whether a record is one of a line that was cut off before its status, or within it, where lines have one.
static bool IsCutBeforeStatus(const SuperLogRecord& record, bool has_status) {
  constexpr int64_t kFirstStatus = 100;
  return mLineCut = MayBeCut() && has_status && record.status < kFirstStatus;
}

static bool mSureOfLetters = false;  // no other layout explains the line
static bool mMayBeOther = false;     // one may, and nothing was written to the line yet

// Whether other layouts are asked about lines that do not look as those of the common log format do.
static bool HasDoubts() {
  return mLogLimits.layouts && mCurLogFormat == kFamilyClf && !mSureOfLetters;
}

// "www.example.com 192.0.2.7 - ann [": what stands first is a virtual host.
static bool BeginsWithSite(const char* user, const char* date, std::string_view realm) {
  return date - user > 2 && user[0] == '-' && user[1] == ' ' && !IsDash(realm);
}

// Of the field behind the realm. False, and nothing is read, when the line may be of another layout.
static bool ParseUser(FieldCursor& cursor, std::string_view realm) {
  char* const date = FindDateBeforeRequest(cursor.next, cursor.end);
  if (HasDoubts() &&
      (date == nullptr || BeginsWithSite(cursor.next, date, realm) || HasHead(CurrentLine()))) {
    return false;
  }
  if (date == nullptr || date == cursor.next) {
    ParseField<true>(cursor);
  } else {
    ParseFieldBefore(cursor, date);
  }
  return true;
}

// The fields of a line without double quotes, at most those of the layout; 0 when it is none that is split at
// each of its separators.
static size_t SplitPlainLine(const LineLayout& layout) {
  if (layout.separator == '\0' || mLineQuotes.begin == nullptr || mLineQuotes.begin != mLineQuotes.end) {
    return 0;
  }
  MarkLine(mMarks, mpLine, mpLineEnd, SeparatorOf(layout.separator));
  return layout.separator == 'T' ? SplitAtSeparators<'T'>(mMarks, layout.fields, mLogLimits.item, mFields)
                                 : SplitAtSeparators<'S'>(mMarks, layout.fields, mLogLimits.item, mFields);
}

// Splits the current line as its layout says, and returns how many fields it has, at most those of
// the layout; those before the user when the line may be of another one. Only a request that is too long
// is written to.
template <bool kEscapes>
static size_t SplitLine(const LineLayout& layout) {
  FieldCursor cursor = {mMarks, mpLine, mpLineEnd, nullptr, 0, kEscapes && mLineLen == mLogLimits.line};
  const size_t longest = mLogLimits.item;
  size_t field = 0;
  for (size_t i = 0; i < layout.length; ++i) {
    const LineLayout::Run run = layout.runs[i];
    MarkLine(mMarks, cursor.next, cursor.end, SeparatorOf(run.separator));
    for (; field < run.end && cursor.next != cursor.end; ++field) {
      if (!kEscapes || field != layout.user || IsNobody(cursor)) {
        ParseFieldBySeparator<kEscapes>(cursor, run.separator);
      } else if (!ParseUser(cursor, field == 0 ? std::string_view{} : mFields[field - 1])) {
        return field;
      }
      mFields[field] = {cursor.value, cursor.length};
      if (cursor.length > longest) [[unlikely]] {
        mFields[field] = CutField(mFields[field], layout.letters[field]);
      }
    }
  }
  return field;
}

std::string_view CombineUrl(std::string_view stem, std::string_view query) {
  const size_t longest = mLogLimits.item;
  char* const url = RoomForText(longest);
  size_t length = stem.copy(url, longest);
  if (length < longest) {
    url[length++] = '?';
    length += query.copy(url + length, longest - length);
  }
  return KeepText(url, length);
}

// A Mac path, ":docs:index.html", as a URL path.
static void TranslateMacPath(std::string_view url) {
  if (url.starts_with(':')) {
    char* const path = Writable(url);
    std::replace(path, FindByte(path, path + url.size(), '?'), ':', '/');
  }
}

// Texts that few reports look at.
[[gnu::cold, gnu::noinline]] static void TakeTextsOfRequest(std::string_view request,
                                                            SuperLogRecord& record) {
  record.site = record.tls = {};
  record.taken = kNotTaken;
  record.method = IsAsked(kMethodLetter[0]) ? MethodOfRequest(request) : std::string_view{};
  record.protocol = IsAsked(kProtocolLetter[0]) ? ProtocolOfRequest(request) : std::string_view{};
}

// The same of a line that was split: fields of their own count before what the request says.
[[gnu::cold, gnu::noinline]] static void TakeMoreTexts(const FieldPlan& plan, SuperLogRecord& record) {
  const std::string_view url = plan.is_request ? mFields[plan.texts[kUrlPlace]] : std::string_view{};
  TakeTextsOfRequest(mLongRequest.empty() ? url : mLongRequest, record);
  const std::string_view method = Something(mFields[plan.texts[kMethodPlace]]);
  const std::string_view protocol = Something(mFields[plan.texts[kProtocolPlace]]);
  record.method = IsAbsent(method) ? record.method : method;
  record.protocol = IsAbsent(protocol) ? record.protocol : protocol;
  record.taken = ReadTakenByForm(mFields[plan.texts[kTakenPlace]]);
}

static void SettleUrl(std::string_view& url, const FieldPlan& plan) {
  url = mFields[plan.texts[kUrlPlace]];
  if (!IsAbsent(url)) {
    if (plan.is_request) {
      TrimFullRequest(url);
    }
  } else {
    const std::string_view stem = mFields[plan.texts[kStemPlace]];
    const std::string_view query = Something(mFields[plan.texts[kQueryPlace]]);
    url = IsAbsent(stem) || IsAbsent(query) ? stem : CombineUrl(stem, query);
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

[[gnu::always_inline]] static inline void TrimHost(SuperLogRecord& record) {
  std::string_view& host = record.host;
  record.ipv6 = nullptr;
  if (IsAbsent(host)) {
    return;
  }
  const char* const colon = FindEither(host.data(), EndOf(host), ':', ':');
  if (colon != EndOf(host) && mLogLimits.whole_addresses) [[unlikely]] {
    record.ipv6 = TakeHostWithColon(host);
  } else {
    CutTo(host, static_cast<size_t>(colon - host.data()));
  }
  TrimTrailingDot(host);
}

void SettleHost(SuperLogRecord& record) {
  TrimHost(record);
}

static void TakeTexts(SuperLogRecord& record, const FieldPlan& plan, const LineParts& parts) {
  record.host = mFields[plan.texts[kHostPlace]];
  if (IsAbsent(record.host)) {
    record.host = IsAbsent(parts.host_name) ? parts.host_address : parts.host_name;
  }
  record.referrer = Something(mFields[plan.texts[kReferrerPlace]]);
  record.agent = Something(mFields[plan.texts[kAgentPlace]]);
  record.realm = Something(mFields[plan.texts[kRealmPlace]]);
  record.user = Something(mFields[plan.texts[kUserPlace]]);
  SettleUrl(record.url, plan);
}

// False when a field says that the line is no request, or none is a date.
static bool TakeSteps(SuperLogRecord& record, LineParts& parts, const FieldPlan& plan) {
  for (size_t i = 0; i < plan.length; ++i) {
    const FieldPlan::Step step = plan.steps[i];
    if (!TakeValue(step.letter, mFields[step.field], record, parts)) {
      return false;
    }
  }
  return parts.dated;
}

// Whether there is such a day, and a time of day.
static bool IsReal(const tm& written) {
  const auto is_up_to = [](int number, int last) { return number >= 0 && number <= last; };
  return IsDay({.month = written.tm_mon + 1, .day = written.tm_mday, .year = written.tm_year + 1900}) &&
         is_up_to(written.tm_hour, 23) && is_up_to(written.tm_min, 59) && is_up_to(written.tm_sec, 60);
}

// Whether both times have a record's width, and come from a date: where figures are
// narrow, what is none of it does not fit.
// deliberate: there, the first second of 1970 and the one before are no times
static bool FitsRecord(const tm& local, time_t written, time_t time) {
  if (mLogLimits.wide_figures) {
    return !HoldsNoDate(local);
  }
  return time != 0 && time != -1 && written == static_cast<int32_t>(written) &&
         time == static_cast<int32_t>(time);
}

// Whether a written time is an instant: with a zone, and where all times are GMT, as W3C has them.
static bool IsInstant(const tm& written) {
  return written.tm_zone != nullptr || mFixGmt || mCurLogFormat == kFamilyW3cIis;
}

static bool TakeInstant(SuperLogRecord& record) {
  return IsReal(record.local) && CompleteInstant(record.local, record.time);
}

[[gnu::always_inline]] static inline bool TakeTime(SuperLogRecord& record) {
  if (mLogLimits.zones && IsInstant(record.local)) {
    return TakeInstant(record);
  }
  if (mGmtOffset == 0 && CompleteInLastHour(record.local, record.time)) {
    return FitsRecord(record.local, record.time, record.time);
  }
  if (mLogLimits.wide_figures && !IsReal(record.local)) {
    return false;
  }
  const time_t written = LocalToTime(record.local);
  record.time = written + mGmtOffset;
  return FitsRecord(record.local, written, record.time) && TimeToLocal(record.time, record.local);
}

bool SettleTime(SuperLogRecord& record) {
  return TakeTime(record);
}

// What is not taken from the line's fields in any case.
static void ClearFigures(SuperLogRecord& record) {
  record.time = 0;
  record.local = {};
  record.local.tm_isdst = -1;
  record.status = record.bytes = 0;
}

void ClearRecord(SuperLogRecord& record) {
  record = {};
  ClearFigures(record);
}

static bool IsBare(std::string_view text) {
  return !IsAbsent(text) && text.data() != mpLine && *(text.data() - 1) != '"';
}

// In the common log format, referrer and agent stand between quotes: a word behind the size is something
// else, such as a duration, and so is what comes after it.
static void DropBareTexts(SuperLogRecord& record) {
  if (IsBare(record.referrer) || IsBare(record.agent)) {
    record.agent = {};
    record.referrer = IsBare(record.referrer) ? std::string_view{} : record.referrer;
  }
}

// False when the line is no request.
template <bool kEscapes>
static bool ReadFields(SuperLogRecord& record) {
  LineParts parts;
  if (kEscapes && IsCutInQuotes()) {
    return false;
  }
  ClearFigures(record);
  mLongRequest = {};
  const size_t plain = SplitPlainLine(mKnownLayout);
  const size_t fields = plain != 0 ? plain : SplitLine<kEscapes>(mKnownLayout);
  if (kEscapes && fields <= mKnownLayout.user && HasDoubts()) {
    mMayBeOther = true;
    return false;
  }
  const FieldPlan& plan = PlanFor(mKnownLayout, fields);
  if (!TakeSteps(record, parts, plan)) {
    return false;
  }
  if (mMoreTexts) [[unlikely]] {
    TakeMoreTexts(plan, record);
  }
  TakeTexts(record, plan, parts);
  if (kEscapes && mCurLogFormat == kFamilyClf) {
    DropBareTexts(record);
  }
  return !kEscapes || !IsCutBeforeStatus(record, strpbrk(mKnownFormatBuf, "rk") != nullptr);
}

// IIS writes "+" for a space. Nearly no agent has another character that is encoded.
static void Decode(std::string_view& agent) {
  char* const text = Writable(agent);
  if (FindByte(agent.data(), EndOf(agent), '%') == EndOf(agent)) {
    // Every byte is written, which many can be at once.
    std::transform(text, text + agent.size(), text, [](char c) { return c == '+' ? ' ' : c; });
  } else {
    Ended(agent);
    agent = {text, decode(text)};
  }
}

template <bool kEscapes>
[[gnu::always_inline]] static inline bool ParseDataLine(SuperLogRecord& record) {
  const UsualLayout& usual = mKnownLayout.usual;
  if (usual.usual && ReadUsualLine<kEscapes>(mpLine, mpLineEnd, mLineQuotes, usual, record)) {
    if (mMoreTexts) [[unlikely]] {
      TakeTextsOfRequest(record.url, record);
    }
    TrimFullRequest(record.url);
  } else if (!ReadFields<kEscapes>(record)) {
    return false;
  }
  // The time comes first: where a clock change repeats an hour, it is the line
  // before that decides, usable or not.
  const bool timed = record.time != 0 ? TimeToLocal(record.time, record.local) : TakeTime(record);
  if (!timed || IsAbsent(record.url)) {
    mLacksRequest = timed;
    return false;
  }
  if (!record.url.starts_with('/') && !SettleOddUrl(record.url)) {
    return false;
  }
  TrimHost(record);
  if (mCurLogFormat == kFamilyW3cIis && !IsAbsent(record.agent)) {
    Decode(record.agent);
  }
  return true;
}

// --- Lines --------------------------------------------------------------------

// Reads a line that begins as a header line does for what it tells of the layout; false when it is none.
[[gnu::cold, gnu::noinline]] static bool TakeHeaderLine(std::string_view line) {
  if (line.starts_with('#')) {
    GrokWebStarLine();
    GrokW3cLine();
  } else if (line.starts_with("!!")) {
    GrokWebStarLine();
  } else if (line.starts_with("format=")) {
    GrokNetscapeLine();
  } else {
    return line.empty() || line.starts_with(';');
  }
  return true;
}

// True for a data line. A line without text begins with a NUL.
static bool IsDataLine() {
  switch (*mpLine) {
    case '\0':
    case ';':
    case '#':
    case '!':
    case 'f':
      return !TakeHeaderLine(CurrentLine());
    default:
      return true;
  }
}

// Its fields may have been cut already, each by a NUL.
static void ShowLine(char (&shown)[kShownOfLine + 1]) {
  const size_t length = std::min<size_t>(mLineLen, kShownOfLine);
  std::replace_copy(mpLine, mpLine + length, shown, '\0', ' ');
  shown[length] = '\0';
  MakePrintable(shown);
}

// Letters that were told are the only layout that is tried. They may lack what every line needs.
static NearLayout NearestOfLetters() {
  const std::string_view letters = mKnownFormatBuf;
  const bool dated = letters.find_first_of("012345") != std::string_view::npos;
  const bool asked = letters.find_first_of("qux") != std::string_view::npos;
  return dated && asked ? NearLayout{} : NearLayout{{1, dated ? Field::kRequest : Field::kMoment, 0}, true};
}

// Of the line that was looked at for it last.
static bool IsLineCutOff() {
  return mLineCut && MayBeCut();
}

// What is to be told of the first line that is not understood.
[[gnu::cold, gnu::noinline]] static void DescribeLine() {
  const bool letters = mFormatKnown && mCurLogFormat != kFamilyClf;
  ShowLine(mNotUnderstood.line);
  mNotUnderstood.nearest = !mLogLimits.layouts ? NearLayout{}
                           : letters           ? NearestOfLetters()
                                               : NearestLayout(CurrentLine());
}

// The layout of which the letters of the common log format are.
static uint8_t CommonLayout() {
  static const uint8_t number = NumberOf(*FindLayout("combined"));
  return number;
}

// What a line lacks that was held against these letters alone: they have told. Where that should stand is
// looked for where somebody will be told.
static NearLayout LackOfLetters(bool timed) {
  NearLayout lack = {.miss = {.layout = CommonLayout(), .field = timed ? Field::kRequest : Field::kMoment}};
  if (mNotUnderstood.reasons[ReasonOf(lack)].lines == 0) {
    const NearMiss miss = MissOf(CommonLayout(), CurrentLine());
    lack.miss.character = miss.field == lack.miss.field ? miss.character : 0;
  }
  return lack;
}

// What a line lacks by the layout of its log, and by no other, as there may be many such lines.
static NearLayout LackOfLine(bool doubted, bool timed) {
  if (!mLogLimits.layouts) {
    return {};
  }
  if (IsLineCutOff()) {
    return CutOffAt(mLineLen);
  }
  if (!mFormatKnown) {
    return MissOfOwn(CurrentLine());
  }
  if (mCurLogFormat != kFamilyClf) {
    return NearestOfLetters();
  }
  return doubted ? NearLayout{.miss = MissOf(CommonLayout(), CurrentLine())} : LackOfLetters(timed);
}

static void TakeFirstLine(bool described) {
  mNotUnderstood.first = LineNumber();
  if (!described) {
    DescribeLine();
  }
  if (IsLineCutOff()) {
    mNotUnderstood.nearest = CutOffAt(mLineLen);
  }
}

static void TakeReason(bool doubted, bool timed) {
  const NearLayout lack = LackOfLine(doubted, timed);
  ReasonLines& reason = mNotUnderstood.reasons[ReasonOf(lack)];
  if (reason.lines++ == 0) {
    reason.first = LineNumber();
    reason.nearest = lack;
  }
}

[[gnu::cold, gnu::noinline]] static void TakeLineNotUnderstood() {
  const bool described = std::exchange(mLineDescribed, false);
  const bool doubted = std::exchange(mDoubted, false);
  const bool timed = std::exchange(mLacksRequest, false);
  if (mLogLimits.layouts && NamesFields(CurrentLine())) {
    return;
  }
  ++mLinesNotUnderstood;
  if (mNotUnderstood.lines++ == 0) {
    TakeFirstLine(described);
  }
  TakeReason(doubted, timed);
}

// --- Lines of other layouts -----------------------------------------------------

// Reads a line that no other layout explains; apart, so that the way of nearly all lines is one function.
[[gnu::noinline]] static bool ParseSurely(SuperLogRecord& record) {
  mSureOfLetters = true;
  const bool parsed = ParseDataLine<true>(record);
  mSureOfLetters = false;
  return parsed;
}

// The same of a line that is perhaps not understood at all: letters that do not fit are written to it.
[[gnu::noinline]] static bool TryLetters(SuperLogRecord& record) {
  if (mNotUnderstood.lines == 0) {
    DescribeLine();
  }
  static char before[kLongestLine];
  const size_t size = CurrentLine().copy(before, sizeof before);
  const bool parsed = ParseSurely(record);
  if (!parsed) {
    memcpy(mpLine, before, size);
  }
  mLineDescribed = mNotUnderstood.lines == 0 && !parsed;
  return parsed;
}

static bool ParseByLayout(SuperLogRecord& record) {
  return !IsCutInQuotes() && ParseByLayouts(CurrentLine(), record) &&
         !IsCutBeforeStatus(record, LayoutTellsStatus());
}

// A line in a log of the common log format that is none of it: of another layout, or of one that the letters
// read nevertheless.
[[gnu::cold, gnu::noinline]] static bool ParseOtherLine(SuperLogRecord& record) {
  if (!mMayBeOther) {
    return false;
  }
  mMayBeOther = false;
  mDoubted = !ParseByLayout(record) && (MisleadsLetters() || !TryLetters(record));
  return !mDoubted;
}

// A line of a file whose letters are not known. A guess that does not explain its own line is forgotten.
[[gnu::noinline]] static bool ParseByLayoutOrGuess(SuperLogRecord& record) {
  const bool for_letters = !mLayoutsHold && StandsLetterLayout();
  if (!for_letters) {
    if (ParseByLayout(record)) {
      return true;
    }
    if (mLayoutsHold || MisleadsLetters()) {
      return false;
    }
  }
  if (!GrokLineFormat()) {
    return false;
  }
  const bool parsed = for_letters ? ParseSurely(record) : TryLetters(record);
  if (!parsed && !for_letters) {
    const FirstLooks looks = mFirstLooks;
    ResetFileFormat();
    mFirstLooks = looks;
  }
  return parsed;
}

template <bool kEscapes>
[[gnu::always_inline]] static inline bool ParseLine(SuperLogRecord& record) {
  if (!mFormatKnown) [[unlikely]] {
    if (kEscapes && mLogLimits.layouts) {
      return ParseByLayoutOrGuess(record);
    }
    if (!GrokLineFormat()) {
      return false;
    }
  }
  return ParseDataLine<kEscapes>(record) || (kEscapes && ParseOtherLine(record));
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
    if (ParseLine<kEscapes>(record)) {
      return true;
    }
    TakeLineNotUnderstood();
  }
}

bool SuperLog_ParseNextLine(SuperLogRecord& record) {
  return mLogLimits.escapes ? ParseNextLine<true>(record) : ParseNextLine<false>(record);
}

void AppendLines(NotUnderstood& lines, const NotUnderstood& more) {
  const int64_t before = lines.lines;
  LinesByReason reasons = lines.reasons;
  AppendLines(reasons, more.reasons);
  lines = before == 0 ? more : lines;
  lines.lines = before + more.lines;
  lines.reasons = reasons;
}

void NumberBehind(NotUnderstood& lines, int64_t before) {
  const auto move = [before](int64_t& number) { number += number > 0 ? before : 0; };
  move(lines.first);
  for (ReasonLines& reason : lines.reasons.reasons) {
    move(reason.first);
  }
}

void ForgetNumbers(NotUnderstood& lines) {
  lines.first = 0;
  for (ReasonLines& reason : lines.reasons.reasons) {
    reason.first = 0;
  }
}

int64_t LinesNotUnderstood() {
  return mLinesNotUnderstood;
}

const NotUnderstood& LinesNotUnderstoodOfLog() {
  return mNotUnderstood;
}

void BeginLinesOfLog() {
  mNotUnderstood = {};
}

void PassLinesNotUnderstood(const LinesOfReasons& lines, const NotUnderstood& known) {
  const int64_t before = mNotUnderstood.lines;
  const int64_t passed = SumOf(lines);
  if (before == 0 && passed > 0) {
    mNotUnderstood = known;
    mNotUnderstood.reasons = {};
  }
  AppendKnownLines(mNotUnderstood.reasons, lines, known.reasons);
  mNotUnderstood.lines = before + passed;
  mLinesNotUnderstood += passed;
}

void ForgetLinesNotUnderstood(int64_t all) {
  mLinesNotUnderstood = all;
  BeginLinesOfLog();
}

void ResetLogLine() {
  mMayBeOther = mLineCut = mDoubted = mLacksRequest = false;
  mLinesNotUnderstood = 0;
  BeginLinesOfLog();
}

void SuperLog_ParseTest() {
  SuperLogRecord record;
  while (SuperLog_ParseNextLine(record)) {
  }
  CloseLog();
}
