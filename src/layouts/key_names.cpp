#include "layouts/key_names.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <iterator>
#include <span>

#include "base/text.h"

struct KeyName {
  std::string_view name;  // lower-case letters and digits
  Field field;
};

// The names of one field stand in the order in which they are preferred.
static constexpr KeyName kKeyNames[] = {
    // what the server took for the client's address before what a proxy wrote
    {"clientip", Field::kHost},
    {"remoteip", Field::kHost},
    {"remoteaddr", Field::kHost},
    {"clienthost", Field::kHost},
    {"remotehost", Field::kHost},
    {"sourceip", Field::kHost},
    {"sourceaddress", Field::kHost},
    {"clientipaddress", Field::kHost},
    {"cip", Field::kHost},
    {"cliip", Field::kHost},
    {"ip", Field::kHost},
    {"ipaddress", Field::kHost},
    {"xforwardedfor", Field::kHost},
    {"httpxforwardedfor", Field::kHost},
    {"downstreamremoteaddress", Field::kHost},
    {"clientaddr", Field::kHost},
    {"client", Field::kHost},
    {"remote", Field::kHost},

    {"remoteuser", Field::kUser},
    {"clientusername", Field::kUser},
    {"userid", Field::kUser},
    {"authuser", Field::kUser},
    {"username", Field::kUser},
    {"user", Field::kUser},

    {"vhost", Field::kSite},
    {"originalhost", Field::kSite},
    {"clientrequesthost", Field::kSite},
    {"requesthost", Field::kSite},
    {"httphost", Field::kSite},
    {"authority", Field::kSite},
    {"host", Field::kSite},
    {"virtualhost", Field::kSite},
    {"servername", Field::kSite},
    {"hostname", Field::kSite},
    {"domain", Field::kSite},

    {"edgestarttimestamp", Field::kMoment},
    {"ts", Field::kMoment},
    {"starttime", Field::kMoment},
    {"startutc", Field::kMoment},
    {"timelocal", Field::kMoment},
    {"timeiso8601", Field::kMoment},
    {"datetime", Field::kMoment},
    {"requesttime", Field::kMoment},
    {"reqtimesec", Field::kMoment},
    {"msec", Field::kMoment},
    {"time", Field::kMoment},
    {"timestamp", Field::kMoment},
    {"startlocal", Field::kMoment},
    {"eventtime", Field::kMoment},
    {"date", Field::kMoment},

    {"request", Field::kRequest},
    {"requestline", Field::kRequest},
    {"httprequest", Field::kRequest},
    {"req", Field::kRequest},

    // with the query before without it
    {"originalrequesturiwithargs", Field::kUrl},
    {"requesturi", Field::kUrl},
    {"clientrequesturi", Field::kUrl},
    {"requesturl", Field::kUrl},
    {"requestpath", Field::kUrl},
    {"xenvoyoriginalpath", Field::kUrl},
    {"xenvoyoriginpath", Field::kUrl},
    {"urloriginal", Field::kUrl},
    {"csuri", Field::kUrl},
    {"uri", Field::kUrl},
    {"url", Field::kUrl},
    {"reqpath", Field::kUrl},
    {"urlpath", Field::kUrl},
    {"path", Field::kUrl},
    {"requri", Field::kUrl},
    {"clientrequestpath", Field::kUrl},

    {"querystring", Field::kQuery},
    {"querystr", Field::kQuery},
    {"requestquery", Field::kQuery},
    {"urlquery", Field::kQuery},
    {"args", Field::kQuery},
    {"query", Field::kQuery},

    {"edgeresponsestatus", Field::kStatus},
    {"downstreamstatus", Field::kStatus},
    {"httpstatus", Field::kStatus},
    {"httpstatuscode", Field::kStatus},
    {"httpresponsestatuscode", Field::kStatus},
    {"responsestatus", Field::kStatus},
    {"responsecode", Field::kStatus},
    {"scstatus", Field::kStatus},
    {"statuscode", Field::kStatus},
    {"status", Field::kStatus},
    {"code", Field::kStatus},

    {"bodybytessent", Field::kBytes},
    {"edgeresponsebytes", Field::kBytes},
    {"downstreamcontentsize", Field::kBytes},
    {"responsebodysize", Field::kBytes},
    {"responsesize", Field::kBytes},
    {"responsebytes", Field::kBytes},
    {"httpresponsebodybytes", Field::kBytes},
    {"sentbytes", Field::kBytes},
    {"bytessent", Field::kBytes},
    {"scbytes", Field::kBytes},
    {"totalbytes", Field::kBytes},
    {"bytesout", Field::kBytes},
    {"size", Field::kBytes},
    {"bytes", Field::kBytes},
    {"responselength", Field::kBytes},

    {"httpreferer", Field::kReferrer},
    {"httpreferrer", Field::kReferrer},
    {"requestreferer", Field::kReferrer},
    {"requestreferrer", Field::kReferrer},
    {"clientrequestreferer", Field::kReferrer},
    {"httprequestreferrer", Field::kReferrer},
    {"referer", Field::kReferrer},
    {"referrer", Field::kReferrer},
    {"csreferer", Field::kReferrer},

    {"httpuseragent", Field::kAgent},
    {"requestuseragent", Field::kAgent},
    {"clientrequestuseragent", Field::kAgent},
    {"useragentoriginal", Field::kAgent},
    {"useragent", Field::kAgent},
    {"csuseragent", Field::kAgent},
    {"agent", Field::kAgent},
    {"ua", Field::kAgent},
};

// Objects and lists whose keys belong to the request.
static constexpr std::string_view kOpening[] = {
    "request", "headers",  "httprequest", "properties", "requestheaders", "jsonpayload",
    "http",    "response", "body",        "log",        "access",         "req",
};

// Where LTSV and columns call things otherwise than JSON does.
static constexpr KeyName kLabels[] = {
    {"host", Field::kHost},  {"remoteaddr", Field::kHost}, {"time", Field::kMoment},
    {"size", Field::kBytes}, {"reqtime", Field::kIgnored}, {"requesttime", Field::kIgnored},
};

static constexpr KeyName kColumns[] = {
    {"cip", Field::kHost},
    {"cdns", Field::kHost},
    {"csusername", Field::kUser},
    {"cusername", Field::kUser},
    {"cauthid", Field::kUser},
    {"cshost", Field::kSite},
    {"xhostheader", Field::kSite},
    {"sdns", Field::kSite},
    {"timemicros", Field::kMoment},
    {"timestamp", Field::kMoment},
    {"date", Field::kDate},
    {"time", Field::kTime},
    {"csuristem", Field::kUrl},
    {"csuri", Field::kUrl},
    {"csuriquery", Field::kQuery},
    {"scstatus", Field::kStatus},
    {"scbytes", Field::kBytes},
    {"csreferer", Field::kReferrer},
    {"csreferrer", Field::kReferrer},
    {"csuseragent", Field::kAgent},
    {"cuseragent", Field::kAgent},
};

// --- Looking names up -----------------------------------------------------------

static constexpr bool Counts(char c) {
  return IsLetterAscii(c) || IsDigitAscii(c);
}

static constexpr uint32_t kFirstHash = 2166136261U;

static constexpr uint32_t HashOn(uint32_t hash, char c) {
  return (hash ^ static_cast<unsigned char>(c)) * 16777619U;
}

static constexpr uint32_t HashOf(std::string_view name) {
  uint32_t hash = kFirstHash;
  for (const char c : name) {
    hash = Counts(c) ? HashOn(hash, ToLowerAscii(c)) : hash;
  }
  return hash;
}

// A name of the tables against one as it stands in a log.
static bool IsName(std::string_view name, std::string_view written) {
  size_t at = 0;
  for (const char c : written) {
    if (Counts(c) && (at == name.size() || name[at++] != ToLowerAscii(c))) {
      return false;
    }
  }
  return at == name.size();
}

static constexpr size_t kSlots = 512;
static_assert(std::size(kKeyNames) < kSlots / 2 && std::size(kKeyNames) < 255);

static constexpr std::array<uint8_t, kSlots> MakeSlots() {
  std::array<uint8_t, kSlots> slots = {};
  for (size_t i = 0; i < std::size(kKeyNames); ++i) {
    size_t slot = HashOf(kKeyNames[i].name) % kSlots;
    while (slots[slot] != 0) {
      slot = (slot + 1) % kSlots;
    }
    slots[slot] = static_cast<uint8_t>(i + 1);
  }
  return slots;
}

static constexpr std::array<uint8_t, kSlots> kNameSlots = MakeSlots();

static bool Opens(std::string_view key) {
  return std::any_of(std::begin(kOpening), std::end(kOpening),
                     [key](std::string_view name) { return IsName(name, key); });
}

static constexpr size_t kLongestKey = 64;

KeyMeaning MeaningOfKey(std::string_view key) {
  KeyMeaning meaning;
  if (key.size() > kLongestKey) {
    return meaning;
  }
  meaning.opens = Opens(key);
  for (size_t slot = HashOf(key) % kSlots; kNameSlots[slot] != 0; slot = (slot + 1) % kSlots) {
    const size_t row = kNameSlots[slot] - size_t{1};
    if (IsName(kKeyNames[row].name, key)) {
      meaning.field = kKeyNames[row].field;
      meaning.rank = static_cast<uint8_t>(row);
      break;
    }
  }
  return meaning;
}

static const KeyName* FindName(std::span<const KeyName> names, std::string_view written) {
  for (const KeyName& name : names) {
    if (IsName(name.name, written)) {
      return &name;
    }
  }
  return nullptr;
}

KeyMeaning MeaningOfLabel(std::string_view label) {
  const KeyName* const name = FindName(kLabels, label.substr(0, kLongestKey));
  return name == nullptr ? MeaningOfKey(label) : KeyMeaning{name->field, 0, false};
}

Field MeaningOfColumn(std::string_view name) {
  const KeyName* const column = FindName(kColumns, name.substr(0, kLongestKey));
  return column == nullptr ? Field::kIgnored : column->field;
}
