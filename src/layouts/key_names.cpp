#include "layouts/key_names.h"

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
    {"response", Field::kStatus},

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

    {"requestmethod", Field::kMethod},
    {"clientrequestmethod", Field::kMethod},
    {"httprequestmethod", Field::kMethod},
    {"httpmethod", Field::kMethod},
    {"csmethod", Field::kMethod},
    {"reqmethod", Field::kMethod},
    {"method", Field::kMethod},
    {"verb", Field::kMethod},

    {"serverprotocol", Field::kProtocol},
    {"requestprotocol", Field::kProtocol},
    {"clientrequestprotocol", Field::kProtocol},
    {"httpprotocol", Field::kProtocol},
    {"httpversion", Field::kProtocol},
    {"csversion", Field::kProtocol},
    {"protocol", Field::kProtocol},
    {"proto", Field::kProtocol},

    {"sslprotocol", Field::kTls},
    {"clientsslprotocol", Field::kTls},
    {"tlsversion", Field::kTls},
    {"tlsprotocol", Field::kTls},
    {"sslversion", Field::kTls},
    {"securityprotocol", Field::kTls},

    {"reqtime", Field::kTakenSeconds},
    {"requesttimems", Field::kTakenMilliseconds},
    {"requestdurationms", Field::kTakenMilliseconds},
    {"durationms", Field::kTakenMilliseconds},
    {"reqtimemicrosec", Field::kTakenMicroseconds},
    {"taken", Field::kTakenMicroseconds},
    {"durationus", Field::kTakenMicroseconds},
    {"durationns", Field::kTakenNanoseconds},
    {"eventduration", Field::kTakenNanoseconds},
    {"timetaken", Field::kTakenByForm},
    {"requestduration", Field::kTakenByForm},
    {"duration", Field::kTakenByForm},
};

struct ObjectName {
  std::string_view name;
  Holds holds;
};

// Objects of other names are passed over with all that is in them.
static constexpr ObjectName kObjects[] = {
    {"request", Holds::kRequest},   {"httprequest", Holds::kRequest}, {"req", Holds::kRequest},
    {"response", Holds::kResponse}, {"headers", Holds::kHeaders},     {"requestheaders", Holds::kHeaders},
    {"body", Holds::kBody},         {"properties", Holds::kFields},   {"jsonpayload", Holds::kFields},
    {"http", Holds::kFields},       {"log", Holds::kFields},          {"access", Holds::kFields},
    {"tls", Holds::kTls},
};

struct HeaderName {
  std::string_view name;  // as servers know it, but for capital letters
  std::string_view letters;
  Field field;
};

// What nothing but a header tells, or what may stand in for it.
static constexpr HeaderName kHeaders[] = {
    {"user-agent", "useragent", Field::kAgent},
    {"referer", "referer", Field::kReferrer},
    {"host", "host", Field::kSite},
    {"x-forwarded-for", "xforwardedfor", Field::kHost},
};

// Where LTSV and columns call things otherwise than JSON does.
static constexpr KeyName kLabels[] = {
    {"host", Field::kHost},  {"remoteaddr", Field::kHost},          {"time", Field::kMoment},
    {"size", Field::kBytes}, {"requesttime", Field::kTakenSeconds},
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
    {"csmethod", Field::kMethod},
    {"csversion", Field::kProtocol},
    {"csprotocolversion", Field::kProtocol},
    {"sslprotocol", Field::kTls},
    {"timetaken", Field::kTakenByForm},
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

static Holds WhatHolds(std::string_view key) {
  for (const ObjectName& object : kObjects) {
    if (IsName(object.name, key)) {
      return object.holds;
    }
  }
  return Holds::kNothing;
}

static constexpr size_t kLongestKey = 64;
static constexpr uint16_t kSpeltHeader = 1000;  // ranks behind all keys
static constexpr uint16_t kOtherHeader = 1001;
static_assert(kFirstRank + 2 * std::size(kKeyNames) < kSpeltHeader);

KeyMeaning MeaningOfHeader(std::string_view name) {
  for (const HeaderName& header : kHeaders) {
    if (IsName(header.letters, name)) {
      return {header.field, EqualIgnoreCase(header.name, name) ? kSpeltHeader : kOtherHeader,
              Holds::kNothing};
    }
  }
  return {};
}

KeyMeaning MeaningInTls(std::string_view key) {
  return IsName("version", key) ? KeyMeaning{Field::kTls, kSpeltHeader, Holds::kNothing} : KeyMeaning{};
}

// Traefik puts a word before a header, which begins with a capital letter, or with no letter, and goes on in
// small ones: others' keys of one piece do not.
static bool IsHeaderBehind(std::string_view prefix, std::string_view key) {
  const auto is_capital = [key](size_t at) { return at < key.size() && key[at] >= 'A' && key[at] <= 'Z'; };
  const size_t at = prefix.size();
  return key.size() > at && key.starts_with(prefix) && !(key[at] >= 'a' && key[at] <= 'z') &&
         !(is_capital(at) && is_capital(at + 1));
}

// The meaning of the key of a header that was kept beside the fields of a request. False when it is none.
static bool TakeKeptHeader(std::string_view key, KeyMeaning& meaning) {
  constexpr std::string_view kOfRequest = "request_";
  constexpr std::string_view kOfResponse = "downstream_";
  if (IsHeaderBehind(kOfRequest, key)) {
    meaning = MeaningOfHeader(key.substr(kOfRequest.size()));
    return true;
  }
  return IsHeaderBehind(kOfResponse, key);
}

// Some call the time that a request has taken as others call the time of it, and in Traefik's JSON alone the
// name of a duration, of nanoseconds, begins with a capital letter.
static Field BriefOf(std::string_view key, Field field) {
  return field == Field::kMoment && IsName("requesttime", key)         ? Field::kTakenSeconds
         : field == Field::kTakenByForm && key.starts_with("Duration") ? Field::kTakenNanoseconds
                                                                       : Field::kIgnored;
}

KeyMeaning MeaningOfKey(std::string_view key) {
  KeyMeaning meaning;
  if (key.size() > kLongestKey || TakeKeptHeader(key, meaning)) {
    return meaning;
  }
  meaning.holds = WhatHolds(key);
  for (size_t slot = HashOf(key) % kSlots; kNameSlots[slot] != 0; slot = (slot + 1) % kSlots) {
    const size_t row = kNameSlots[slot] - size_t{1};
    if (IsName(kKeyNames[row].name, key)) {
      meaning.field = kKeyNames[row].field;
      meaning.brief = BriefOf(key, meaning.field);
      meaning.rank = static_cast<uint16_t>(kFirstRank + 2 * row + (key.starts_with('@') ? 1 : 0));
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
  return name == nullptr ? MeaningOfKey(label) : KeyMeaning{name->field, kFirstRank, Holds::kNothing};
}

Field MeaningOfColumn(std::string_view name) {
  const KeyName* const column = FindName(kColumns, name.substr(0, kLongestKey));
  return column == nullptr ? Field::kIgnored : column->field;
}
