#include "layouts/layout.h"

#include <algorithm>
#include <cstring>

#include "base/text.h"
#include "layouts/moment.h"

static bool IsNumber(std::string_view text) {
  return !text.empty() && std::all_of(text.begin(), text.end(), IsDigitAscii);
}

bool HoldsTime(const LineFields& fields) {
  const std::string_view moment = fields[Field::kMoment];
  return (moment.data() != nullptr ? ReadMoment(moment)
                                   : ReadDateAndTime(fields[Field::kDate], fields[Field::kTime]))
             .form != MomentForm::kNone;
}

bool IsStatus(std::string_view text) {
  return text.empty() || text == "-" || text == "-1" || (text.size() <= 3 && IsNumber(text));
}

bool IsSize(std::string_view text) {
  constexpr size_t kMostDigits = 18;
  const std::string_view digits = text.substr(text.starts_with('+') ? 1 : 0);  // more may have followed
  return text.empty() || text == "-" || text == "-1" || (digits.size() <= kMostDigits && IsNumber(digits));
}

static bool IsDash(std::string_view text) {
  return text == "-";
}

static bool IsWord(std::string_view text) {
  return memchr(text.data(), ' ', text.size()) == nullptr;
}

// What is nobody and more was a field in front: "www.example.com 192.0.2.7 - ann". Where a site belongs
// there, or nobody stands before it, that is how the user is called.
static bool HoldsMoreThanUser(const Layout& layout, std::string_view line, std::string_view user) {
  const std::string_view before = line.substr(0, static_cast<size_t>(user.data() - line.data()));
  return user.starts_with("- ") && !layout.writing.site_first && before.ends_with(' ') &&
         !before.ends_with(" - ");
}

// A client without quotes and, but for lists of several, without blanks.
static bool HoldsClient(const Layout& layout, std::string_view line, const LineFields& fields) {
  const std::string_view host = fields[Field::kHost];
  const std::string_view user = fields[Field::kUser];
  const size_t odd = host.find_first_of(" \"");
  return (user.data() == nullptr || !HoldsMoreThanUser(layout, line, user)) &&
         (odd == std::string_view::npos || (odd > 0 && host[odd - 1] == ',')) &&
         (!layout.writing.client_port || host.find(':') != std::string_view::npos);
}

// Where a site stands first, one with blanks, or no client behind it, was another field.
static bool BeginsWithSite(const Layout& layout, const LineFields& fields) {
  return !layout.writing.site_first ||
         (!IsDash(fields[Field::kHost]) && IsWord(fields[Field::kHost]) && IsWord(fields[Field::kSite]));
}

bool HoldsRequest(const LineFields& fields) {
  const bool dated = fields[Field::kMoment].data() != nullptr ||
                     (fields[Field::kDate].data() != nullptr && fields[Field::kTime].data() != nullptr);
  const bool asked = fields[Field::kRequest].data() != nullptr || fields[Field::kUrl].data() != nullptr;
  return dated && asked && IsStatus(fields[Field::kStatus]) && IsSize(fields[Field::kBytes]);
}

// JSON's escapes begin with a backslash.
static void MarkEscapes(LineFields& fields) {
  for (size_t i = 0; i < kFieldCount; ++i) {
    fields.escaped[i] = fields.texts[i].find('\\') != std::string_view::npos;
  }
}

static bool SplitByPlaces(const Layout& layout, std::string_view line, LineFields& fields) {
  SplitStop stop;
  if (!SplitByPattern(layout.pattern, line, fields, stop)) {
    return false;
  }
  if (layout.writing.json) {
    MarkEscapes(fields);
  }
  return HoldsRequest(fields) && HoldsClient(layout, line, fields) && BeginsWithSite(layout, fields);
}

static bool SplitByKeys(const Layout& layout, std::string_view line, SplitRoom& room, LineFields& fields,
                        bool& whole) {
  return SplitJsonByKeys(line, layout.keys, room.keys, fields, whole) && HoldsRequest(fields) &&
         HoldsTime(fields) &&
         (fields[Field::kStatus].data() != nullptr || !HasField(layout.pattern, Field::kStatus));
}

// By places a further key, or one that stands elsewhere, would be part of a text before it: they tell only
// what keys cannot, as of servers that mask no quotes.
static bool SplitByWords(const Layout& layout, std::string_view line, SplitRoom& room, LineFields& fields) {
  bool whole = false;
  if (layout.keys.count == 0) {
    return SplitByPlaces(layout, line, fields);
  }
  if (SplitByKeys(layout, line, room, fields, whole) && whole) {
    return true;
  }
  fields = {};
  if (SplitByPlaces(layout, line, fields)) {
    return true;
  }
  fields = {};
  return SplitByKeys(layout, line, room, fields, whole);
}

bool SplitBareLine(const Layout& layout, std::string_view line, SplitRoom& room, LineFields& fields) {
  switch (layout.kind) {
    case LineKind::kJson:
      // Lines of other kinds that servers write in JSON have no status.
      return SplitJson(line, room.keys, fields) && HoldsRequest(fields) &&
             fields[Field::kStatus].data() != nullptr;
    case LineKind::kLtsv:
      return SplitLtsv(line, fields) && HoldsRequest(fields) && fields[Field::kStatus].data() != nullptr;
    default:
      return SplitByWords(layout, line, room, fields);
  }
}

bool SplitLine(const Layout& layout, std::string_view line, SplitRoom& room, LineFields& fields) {
  line = Unwrap(layout.wrapper, line, room.unwrapped);
  return line.data() != nullptr && SplitBareLine(layout, line, room, fields);
}
