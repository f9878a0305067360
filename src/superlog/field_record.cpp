#include "superlog/field_record.h"

#include <algorithm>
#include <array>
#include <cstdlib>
#include <cstring>
#include <functional>
#include <limits>
#include <span>

#include "base/hash_seed.h"
#include "base/network.h"
#include "base/url_decode.h"
#include "dates/local_time.h"
#include "layouts/moment.h"
#include "layouts/near_miss.h"
#include "layouts/recognition.h"
#include "layouts/taken.h"
#include "superlog/byte_scan.h"
#include "superlog/kept_texts.h"
#include "superlog/line_reader.h"
#include "superlog/log_dates.h"
#include "superlog/log_events.h"
#include "superlog/log_format.h"
#include "superlog/log_limits.h"
#include "superlog/log_line.h"
#include "superlog/odd_request.h"
#include "superlog/request_words.h"

static constexpr size_t kMostLayouts = 6;  // of one file
static_assert(kMostLayouts >= kWrapperCount);

bool mLayoutsHold = false;
static bool mUserLayout = false;  // the only one, in every file
static std::array<Layout, kMostLayouts> mLayouts;
static size_t mLayoutCount = 0;
static size_t mLastLayout = 0;  // that explained a line
static bool mNamesPending =
    false;  // of a "#Fields:" line, whose first line of data tells what is between them
static char mNames[kLongestLine + 1];
static bool mNamesTold = false;  // by such a line
static SplitRoom mRoom;
static LogSoFar mLogSoFar;
FirstLooks mFirstLooks;

// --- Texts of a record ------------------------------------------------------------

// The views of this file look into the line buffer or into kept texts, which go on behind them.
static char* Writable(std::string_view text) {
  return const_cast<char*>(text.data());
}

// Whether a text lies in that line.
static bool IsWithin(std::string_view line, std::string_view text) {
  return !std::less<>()(text.data(), line.data()) && !std::less<>()(line.data() + line.size(), text.data());
}

static void Terminate(std::string_view& text, size_t length) {
  text = text.substr(0, length);
  Writable(text)[text.size()] = '\0';
}

static void TakeText(const LineFields& fields, Field field, std::string_view& text) {
  text = fields[field];
  if (text.data() == nullptr) {
    return;
  }
  if (fields.escaped[static_cast<size_t>(field)]) {
    text = {text.data(), DecodeJsonText(Writable(text), text.size())};
  }
  Terminate(text, std::min(text.find('\0'), text.size()));
  if (text.empty() || text == "-") {
    text = {};
  }
}

static void CutToItem(std::string_view& text) {
  if (text.size() > mLogLimits.item) {
    Terminate(text, mLogLimits.item);
  }
}

// A port behind a bare address of IPv6 looks like a part of it, which only the layout tells.
static void CutPort(std::string_view& host) {
  Address address;
  const size_t colon = host.rfind(':');
  if (host.find(':') != colon && ParseAddress(host.substr(0, colon), address)) {
    Terminate(host, colon);
  }
}

// The first client of a list.
static void SettleClient(const Layout& layout, SuperLogRecord& record) {
  if (record.host.data() != nullptr) {
    Terminate(record.host, std::min(record.host.find(','), record.host.size()));
    if (layout.writing.client_port) {
      CutPort(record.host);
    }
    SettleHost(record);
  }
}

// The path of "https://www.example.com:443/path"; anything else as it is.
static std::string_view PathOf(std::string_view url) {
  static char root[sizeof "/" + kScanOverread] = "/";
  const size_t scheme = url.substr(0, 8).find("://");
  if (scheme == std::string_view::npos) {
    return url;
  }
  const size_t path = url.find_first_of("/?", scheme + 3);
  return path == std::string_view::npos ? std::string_view{root} : url.substr(path);
}

static std::string_view QueryOf(const LineFields& fields) {
  std::string_view query;
  TakeText(fields, Field::kQuery, query);
  query.remove_prefix(query.starts_with('?') ? 1 : 0);
  return query;
}

// The path of "www.example.com/path", as some write it in fields that are called by names.
static std::string_view PathBehindSite(std::string_view url) {
  const size_t path = url.find('/');
  const bool site =
      path != 0 && path != std::string_view::npos && url.substr(0, path).find('.') != std::string_view::npos;
  return site ? url.substr(path) : url;
}

static std::string_view WithQuery(const LineFields& fields, std::string_view url) {
  const std::string_view query = QueryOf(fields);
  return query.empty() || url.find('?') != std::string_view::npos ? url : CombineUrl(url, query);
}

static std::string_view UrlOfField(const Layout& layout, const LineFields& fields, std::string_view url) {
  if (layout.writing.whole_urls || layout.kind == LineKind::kJson) {
    url = PathOf(url);
  }
  if (layout.writing.site_in_urls) {
    url = PathBehindSite(PathOf(url));
  }
  return WithQuery(fields, url);
}

// Some call the path alone a request, whose query is a field of its own.
static std::string_view UrlOfRequest(const Layout& layout, const LineFields& fields,
                                     std::string_view request) {
  std::string_view url = request;
  TrimFullRequest(url);
  if (url.starts_with('/')) {
    return WithQuery(fields, url);
  }
  url = UrlOfOddRequest(url, request.data());
  return layout.writing.whole_urls ? PathOf(url) : url;
}

// Returns the whole request where the URL was taken from it, which is decoded then.
static std::string_view SettleUrl(const Layout& layout, const LineFields& fields, std::string_view& url) {
  TakeText(fields, Field::kUrl, url);
  if (url.data() != nullptr) {
    url = UrlOrNoRequest(url);
    url = HasNoUrl(url) ? url : UrlOfField(layout, fields, url);
    return {};
  }
  std::string_view request;
  TakeText(fields, Field::kRequest, request);
  url = request.data() == nullptr ? kNoRequest : UrlOfRequest(layout, fields, request);
  return request;
}

static int HexDigit(char c) {
  const char lower = ToLowerAscii(c);
  return IsDigitAscii(c) ? c - '0' : lower >= 'a' && lower <= 'f' ? lower - 'a' + 10 : -1;
}

// Decodes "%" and two digits in place; no character below a blank comes of it.
static size_t DecodePercents(char* text, size_t size) {
  size_t length = 0;
  for (size_t i = 0; i < size; ++i) {
    const int high = text[i] == '%' && i + 2 < size ? HexDigit(text[i + 1]) : -1;
    const int low = high < 0 ? -1 : HexDigit(text[i + 2]);
    const bool character = low >= 0 && high * 16 + low >= ' ';
    text[length++] = character ? static_cast<char>(high * 16 + low) : text[i];
    i += character ? 2 : 0;
  }
  text[length] = '\0';
  return length;
}

// Of JSON lines some writers' agents are encoded, and no agent that is not holds "%2", but no blank.
static bool IsEncoded(const Layout& layout, std::string_view agent) {
  return agent.find(' ') == std::string_view::npos &&
         (layout.writing.encoded_agents ||
          (layout.kind == LineKind::kJson && agent.find("%2") != std::string_view::npos));
}

// Writers of "%20" write no "+" for a blank; others write "+" alone.
static void SettleAgent(const Layout& layout, std::string_view& agent) {
  if (agent.data() == nullptr || !IsEncoded(layout, agent)) {
    return;
  }
  if (agent.find("%20") != std::string_view::npos) {
    agent = {agent.data(), DecodePercents(Writable(agent), agent.size())};
  } else {
    agent = {agent.data(), decode(Writable(agent))};
  }
}

// --- Time ---------------------------------------------------------------------------

static bool SettleMoment(const Layout& layout, const LineFields& fields, SuperLogRecord& record) {
  std::string_view text = fields[Field::kMoment];
  Moment moment =
      text.data() != nullptr ? ReadMoment(text) : ReadDateAndTime(fields[Field::kDate], fields[Field::kTime]);
  if (moment.form == MomentForm::kNone) {
    return false;
  }
  if (layout.writing.utc && !moment.is_instant) {
    moment.is_instant = true;
    moment.instant = moment.as_utc;
  }
  if (!moment.is_instant) {
    record.local = moment.parts;
    return SettleTime(record);
  }
  record.time = moment.instant;
  const bool told =
      moment.form != MomentForm::kEpoch || moment.instant > 0;  // nothing but zeros tells no time
  return told && TimeToLocal(moment.instant, record.local);
}

// --- Records ------------------------------------------------------------------------

static int64_t NumberOf(std::string_view text) {
  int64_t number = 0;
  for (const char c : text) {
    number = IsDigitAscii(c) ? number * 10 + (c - '0') : number;
  }
  return text.starts_with('-') ? 0 : number;
}

static void TakeAsked(const LineFields& fields, Field field, char letter, std::string_view& text) {
  if (IsAsked(letter)) {
    TakeText(fields, field, text);
    CutToItem(text);
  }
}

// The virtual host is the realm, too.
static void TakeSite(const LineFields& fields, SuperLogRecord& record) {
  std::string_view site;
  if (IsAsked('m') || IsAsked(kSiteLetter[0])) {
    TakeText(fields, Field::kSite, site);
    CutToItem(site);
  }
  record.realm = IsAsked('m') ? site : std::string_view{};
  record.site = IsAsked(kSiteLetter[0]) ? site : std::string_view{};
}

static void TakeOrKeep(const LineFields& fields, Field field, char letter, std::string_view& text) {
  const std::string_view before = text;
  TakeAsked(fields, field, letter, text);
  text = text.data() == nullptr ? before : text;
}

// Texts that few reports look at: fields of their own count before what the request says.
static void TakeMoreTexts(const LineFields& fields, std::string_view request, SuperLogRecord& record) {
  if (request.data() == nullptr) {
    TakeText(fields, Field::kRequest, request);
  }
  record.method = IsAsked(kMethodLetter[0]) ? MethodOfRequest(request) : std::string_view{};
  record.protocol = IsAsked(kProtocolLetter[0]) ? ProtocolOfRequest(request) : std::string_view{};
  TakeOrKeep(fields, Field::kMethod, kMethodLetter[0], record.method);
  TakeOrKeep(fields, Field::kProtocol, kProtocolLetter[0], record.protocol);
  TakeAsked(fields, Field::kTls, kTlsLetter[0], record.tls);
  record.taken = IsAsked(kTakenLetter[0]) ? TakenIn(fields) : kNotTaken;
}

// False when the fields make no request, for want of a time.
static bool SettleRecord(const Layout& layout, const LineFields& fields, SuperLogRecord& record) {
  ClearRecord(record);
  if (!SettleMoment(layout, fields, record)) {
    return false;
  }
  record.status = NumberOf(fields[Field::kStatus]);
  record.bytes = NumberOf(fields[Field::kBytes]);
  const std::string_view request = SettleUrl(layout, fields, record.url);
  if (mMoreTexts) {
    TakeMoreTexts(fields, request, record);
  }
  CutToItem(record.url);
  TakeAsked(fields, Field::kHost, 'h', record.host);
  TakeAsked(fields, Field::kReferrer, 'f', record.referrer);
  TakeAsked(fields, Field::kAgent, 'a', record.agent);
  TakeSite(fields, record);
  TakeAsked(fields, Field::kUser, 'w', record.user);
  SettleClient(layout, record);
  SettleAgent(layout, record.agent);
  return true;
}

// --- The layouts of a file ------------------------------------------------------------

void ForgetFileLayouts() {
  mLayoutCount = mUserLayout ? kWrapperCount : 0;
  mLayoutsHold = mUserLayout;
  mLastLayout = 0;
  mNamesPending = mNamesTold = false;
  mLogSoFar = {};
  mFirstLooks = {};
}

void ResetLayouts() {
  mUserLayout = false;
  ForgetFileLayouts();
}

// ---- Their state ----

static uint64_t Mix(uint64_t state, uint64_t word) {
  return MultiplyFold(state ^ 0x243f6a8885a308d3, word ^ 0x13198a2e03707344);  // digits of pi
}

static uint64_t Mix(uint64_t state, std::string_view text) {
  state = Mix(state, text.size());
  for (const char c : text) {
    state = Mix(state, static_cast<unsigned char>(c));
  }
  return state;
}

static uint64_t MixPattern(uint64_t state, const Pattern& pattern) {
  state = Mix(Mix(state, pattern.count), pattern.needed);
  for (size_t i = 0; i < std::min(pattern.count + 1, kMostElements); ++i) {
    const PatternElement& element = pattern.elements[i];
    state = Mix(Mix(Mix(state, element.literal), element.literal_size), static_cast<uint64_t>(element.field));
  }
  return Mix(state, {pattern.literals.data(), pattern.literals_size});
}

static uint64_t MixLayout(uint64_t state, const Layout& layout) {
  const Writing& writing = layout.writing;
  state = Mix(state, layout.name);
  state = Mix(Mix(state, static_cast<uint64_t>(layout.kind)), static_cast<uint64_t>(layout.wrapper));
  for (const bool is : {writing.whole_urls, writing.encoded_agents, writing.utc, writing.client_port,
                        writing.site_first, writing.json}) {
    state = Mix(state, uint64_t{is});
  }
  return MixPattern(state, layout.pattern);
}

uint64_t StateOfLayouts() {
  uint64_t state = Mix(Mix(mLayoutCount, mLastLayout), uint64_t{mLayoutsHold});
  state = Mix(state, mNamesPending ? std::string_view{mNames} : "");
  for (size_t i = 0; i < mLayoutCount; ++i) {
    state = MixLayout(state, mLayouts[i]);
  }
  // Places that have passed refuse nothing any more.
  for (const int64_t refused_to : mLogSoFar.refused_to) {
    state = Mix(state, static_cast<uint64_t>(refused_to > NextLineOffset() ? refused_to : 0));
  }
  // Nobody asks again what came near to the first lines where a layout is known.
  const FirstLooks looks = mFormatKnown || mLayoutsHold ? FirstLooks{} : mFirstLooks;
  return Mix(state, looks.taken | uint64_t{looks.nearest} << 8 | static_cast<uint64_t>(looks.wrapper) << 16);
}

static void TellLayout(const Layout& layout) {
  if (mLogEvents.format_recognised != nullptr) {
    mLogEvents.format_recognised(layout.name.data());
  }
}

// A file of ever more layouts keeps those that came first, and replaces the last one.
static Layout& NextLayout() {
  return mLayouts[std::min(mLayoutCount, kMostLayouts - 1)];
}

static void HoldNextLayout() {
  mLastLayout = std::min(mLayoutCount, kMostLayouts - 1);
  mLayoutCount = mLastLayout + 1;
  mLayoutsHold = true;
  mLogSoFar = {{mLayouts.data(), mLayoutCount}};
  TellLayout(mLayouts[mLastLayout]);
}

// A line of names tells nothing of what is between the fields: the first line of data does.
static void MakeLayoutOfPendingNames(std::string_view line) {
  mNamesPending = false;
  const bool tabs = line.find('\t') != std::string_view::npos;
  mLayoutCount = 0;
  if (MakeLayoutOfNames(mNames, tabs, NextLayout())) {
    HoldNextLayout();
  }
}

bool TakeNamesOfFields(std::string_view names) {
  if (mUserLayout || !MakeLayoutOfNames(names, false, NextLayout())) {
    return false;
  }
  CopyText(mNames, names);
  mNamesPending = mNamesTold = mLayoutsHold = true;
  return true;
}

static bool MakeUserLayout(std::string_view text, Layout& layout) {
  const KnownLayout* const known = FindLayout(text);
  if (known != nullptr) {
    MakeLayout(*known, layout);
  }
  return known != nullptr || MakeLayoutOfWords(text, layout);
}

bool IsUserLayout(std::string_view text) {
  static Layout layout;
  return MakeUserLayout(text, layout);
}

bool TakeUserLayout(std::string_view text) {
  Layout& layout = mLayouts[0];
  if (!MakeUserLayout(text, layout)) {
    return false;
  }
  for (int wrapper = 1; wrapper < kWrapperCount; ++wrapper) {
    mLayouts[wrapper] = layout;
    mLayouts[wrapper].wrapper = static_cast<Wrapper>(wrapper);
  }
  mUserLayout = true;
  ForgetFileLayouts();
  return true;
}

// As SplitLine does, but of a line that had to be written anew, the texts stay.
static bool SplitAndKeep(const Layout& layout, std::string_view line, LineFields& fields) {
  std::string_view bare = Unwrap(layout.wrapper, line, mRoom.unwrapped);
  if (bare.data() == nullptr) {
    return false;
  }
  if (IsWithin(line, bare)) {
    return SplitBareLine(layout, bare, mRoom, fields);
  }
  char* const copy = RoomForText(bare.size());
  bare = {copy, bare.copy(copy, bare.size())};
  if (!SplitBareLine(layout, bare, mRoom, fields)) {
    return false;
  }
  KeepText(copy, bare.size());
  return true;
}

// False when the line is none of the layout, or tells no time: then it is as it was.
static bool ReadByLayout(const Layout& layout, std::string_view line, SuperLogRecord& record) {
  LineFields fields = {};
  return SplitAndKeep(layout, line, fields) && SettleRecord(layout, fields, record);
}

static bool ReadByHeld(std::string_view line, SuperLogRecord& record) {
  for (size_t i = 0; i < mLayoutCount; ++i) {
    const size_t next = (mLastLayout + i) % mLayoutCount;
    if (ReadByLayout(mLayouts[next], line, record)) {
      mLastLayout = next;
      return true;
    }
  }
  return false;
}

NearLayout NearestLayout(std::string_view line) {
  const bool given = mUserLayout || (mNamesTold && mLayoutCount <= 1);
  const std::span<const Layout> one = {mLayouts.data(), 1};
  return {FindNearMiss(given ? one : ReadyLayouts(), line, mRoom), given};
}

NearMiss MissOf(uint8_t known, std::string_view line) {
  return FindMissOf(ReadyLayouts()[known - size_t{1}], Wrapper::kNone, line, mRoom);
}

// What fits, and was not read, tells no time that there is.
static NearLayout MissOfHeld(const Layout& layout, std::string_view line) {
  if (mUserLayout || layout.number == 0) {
    return {FindMissOfTold(layout, line, mRoom), true};
  }
  NearMiss miss = FindMissOf(layout, layout.wrapper, line, mRoom);
  const NearLayout held = {miss};
  miss.field = ReasonOf(held) == LineReason::kTooFewLines ? Field::kMoment : miss.field;
  return {miss};
}

// Nobody knows a layout: to try all of them with each line would take long.
static NearLayout MissOfFirstLooks(std::string_view line) {
  constexpr uint8_t kMostLooks = 4;
  if (mFirstLooks.nearest == 0 && mFirstLooks.taken < kMostLooks) {
    const NearMiss nearest = FindNearMiss(ReadyLayouts(), line, mRoom, mFirstLooks.wrapper);
    ++mFirstLooks.taken;
    mFirstLooks.nearest = nearest.layout;
    return {nearest};
  }
  const uint8_t known = mFirstLooks.nearest;
  return {known == 0 ? NearMiss{}
                     : FindMissOf(ReadyLayouts()[known - size_t{1}], mFirstLooks.wrapper, line, mRoom)};
}

NearLayout MissOfOwn(std::string_view line) {
  if (!mLayoutsHold) {
    return MissOfFirstLooks(line);
  }
  return mLayoutCount == 0 ? NearLayout{} : MissOfHeld(mLayouts[mLastLayout], line);
}

static bool ParseLine(std::string_view line, const LinesAhead& ahead, SuperLogRecord& record) {
  if (mNamesPending) {
    MakeLayoutOfPendingNames(line);
  }
  if (ReadByHeld(line, record)) {
    return true;
  }
  if (mUserLayout || !RecogniseLayout(line, ahead, mLogSoFar, mRoom, NextLayout())) {
    return false;
  }
  HoldNextLayout();
  return ReadByLayout(mLayouts[mLastLayout], line, record);
}

bool ParseByLayouts(std::string_view line, SuperLogRecord& record) {
  return ParseLine(line, {TextAhead(), TextFarAhead, NextLineOffset()}, record);
}

bool LayoutTellsStatus() {
  const Layout& layout = mLayouts[mLastLayout];
  return layout.kind == LineKind::kLtsv ||
         (layout.kind == LineKind::kPattern && HasField(layout.pattern, Field::kStatus));
}

time_t TimeByLayouts(std::string_view line) {
  SuperLogRecord record;
  constexpr int64_t kNowhere = std::numeric_limits<int64_t>::max();  // where nothing is refused
  return ParseLine(line, {{}, nullptr, kNowhere}, record) ? record.time - mGmtOffset : 0;
}
