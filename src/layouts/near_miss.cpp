#include "layouts/near_miss.h"

#include <algorithm>

#include "layouts/moment.h"
#include "layouts/recognition.h"

// Where one layout stops to fit a line, and how much of the line speaks for it.
struct Miss {
  Field field = Field::kIgnored;
  const char* at = nullptr;  // null: nowhere, as fields have names
  int weight = 0;
};

// A line that fits by itself was one of too few.
static constexpr Miss kFits = {Field::kIgnored, nullptr, 1000};

// Nearly any text may be a client or a URL: what has a form of its own speaks for a layout.
static int WeightOf(Field field, std::string_view text) {
  switch (field) {
    case Field::kMoment:
    case Field::kDate:
    case Field::kTime:
      return 4;
    case Field::kStatus:
    case Field::kBytes:
      return 2;
    case Field::kHost:
      return text.find_first_of(".:") == std::string_view::npos ? 0 : 2;
    default:
      return IsMinor(field) ? 0 : 1;
  }
}

static bool IsRight(Field field, std::string_view text) {
  switch (field) {
    case Field::kMoment:
      return ReadMoment(text).form != MomentForm::kNone;
    case Field::kDate:
      return ReadDateAndTime(text, "00:00:00").form != MomentForm::kNone;
    case Field::kTime:
      return ReadDateAndTime("2000-01-01", text).form != MomentForm::kNone;
    case Field::kStatus:
      return IsStatus(text);
    case Field::kBytes:
      return IsSize(text);
    case Field::kHost:
      return text.find(' ') == std::string_view::npos || text.find(',') != std::string_view::npos;
    default:
      return true;
  }
}

// ---- Layouts of places ----

static bool HoldsMoreThanBlanks(std::string_view literal) {
  return std::any_of(literal.begin(), literal.end(), [](char c) { return c > ' '; });
}

// Whether the line ends with the field that begins there.
static bool EndsTooEarly(std::string_view line, const char* at) {
  const std::string_view rest = line.substr(static_cast<size_t>(at - line.data()));
  return !rest.empty() && rest.find_first_of(" \t\"") == std::string_view::npos;
}

// Weighs the fields that were found. True where one of them is none: that is the miss.
static bool FindWrong(const Pattern& pattern, const LineFields& fields, size_t found, Miss& miss) {
  for (size_t i = 0; i < found; ++i) {
    const Field field = pattern.elements[i].field;
    const std::string_view text = fields[field];
    miss.weight += HoldsMoreThanBlanks(LiteralBefore(pattern, i)) ? 1 : 0;
    if (!IsRight(field, text)) {
      miss.field = field;
      miss.at = text.data();
      return true;
    }
    miss.weight += WeightOf(field, text);
  }
  return false;
}

// The field behind those that were found.
static void FindMissing(const Pattern& pattern, std::string_view line, const LineFields& fields,
                        const SplitStop& stop, Miss& miss) {
  if (stop.fits + 1 < pattern.count && EndsTooEarly(line, stop.at)) {
    miss.field = pattern.elements[stop.fits + 1].field;
    miss.at = line.data() + line.size();
    return;
  }
  const bool all = stop.fits == pattern.count;  // so that the client is one, as a site may be
  miss.field = all ? Field::kHost : pattern.elements[stop.fits].field;
  miss.at = all ? fields[Field::kHost].data() : stop.at;
}

// ---- Layouts of names ----

static constexpr Field kNeeded[] = {Field::kMoment, Field::kRequest, Field::kStatus, Field::kBytes};

static bool HoldsAny(const LineFields& fields, Field field) {
  const auto holds = [&fields](Field one) { return fields[one].data() != nullptr; };
  return field == Field::kRequest ? holds(Field::kRequest) || holds(Field::kUrl) : holds(field);
}

static bool SplitByNames(const Layout& layout, std::string_view line, SplitRoom& room, LineFields& fields) {
  bool whole;
  return layout.kind == LineKind::kLtsv   ? SplitLtsv(line, fields)
         : layout.kind == LineKind::kJson ? SplitJson(line, room.keys, fields)
                                          : SplitJsonByKeys(line, layout.keys, room.keys, fields, whole);
}

// Lines of other kinds that servers write with names have no status.
static bool IsRequestByNames(const LineFields& fields) {
  return HoldsRequest(fields) && fields[Field::kStatus].data() != nullptr && HoldsTime(fields);
}

static Miss MissOfNames(const Layout& layout, std::string_view line, SplitRoom& room) {
  LineFields fields = {};
  Miss miss;
  if (!SplitByNames(layout, line, room, fields)) {
    miss.field = Field::kMoment;
    return miss;
  }
  if (layout.kind != LineKind::kPattern && IsRequestByNames(fields)) {
    return kFits;
  }
  miss.weight = layout.kind == LineKind::kLtsv ? 0 : 3;
  for (const Field field : kNeeded) {
    const bool there = HoldsAny(fields, field);
    const bool right = there ? IsRight(field, fields[field]) : field == Field::kBytes;
    miss.weight += there && right ? 3 : 0;
    miss.field = right || miss.field != Field::kIgnored ? miss.field : field;
  }
  return miss;
}

static bool Fits(const Layout& layout, std::string_view bare, SplitRoom& room) {
  LineFields fields = {};
  return SplitBareLine(layout, bare, room, fields) && HoldsTime(fields);
}

static Miss MissOfPlaces(const Layout& layout, std::string_view bare, SplitRoom& room) {
  LineFields fields = {};
  SplitStop stop;
  Miss miss;
  const bool whole = SplitByPattern(layout.pattern, bare, fields, stop);
  if (FindWrong(layout.pattern, fields, stop.fits, miss)) {
    return miss;
  }
  if (whole && Fits(layout, bare, room)) {
    return kFits;
  }
  FindMissing(layout.pattern, bare, fields, stop, miss);
  return miss;
}

static Miss MissIn(const Layout& layout, std::string_view bare, SplitRoom& room) {
  if (layout.kind == LineKind::kPattern && layout.keys.count == 0) {
    return MissOfPlaces(layout, bare, room);
  }
  const bool by_words = layout.kind == LineKind::kPattern;
  return by_words && Fits(layout, bare, room) ? kFits : MissOfNames(layout, bare, room);
}

// ---- Lines ----

// Of a line that had to be written anew nobody knows the places.
static uint32_t CharacterAt(std::string_view line, const char* at) {
  const bool within = at != nullptr && at >= line.data() && at <= line.data() + line.size();
  return within ? static_cast<uint32_t>(at - line.data()) + 1 : 0;
}

// Nearer is what has more weight, and whatever is around a line speaks for what is in it.
static int NearnessOf(const Miss& miss, Wrapper wrapper) {
  constexpr int kWrapped = 3;
  return miss.weight + (miss.weight == 0 || wrapper == Wrapper::kNone ? 0 : kWrapped);
}

static constexpr int kLeast = 3;  // a client alone, or a time alone, may stand in any text

NearMiss FindNearMiss(std::span<const Layout> layouts, std::string_view line, SplitRoom& room,
                      Wrapper& around) {
  NearMiss nearest;
  int most = layouts.size() > 1 ? kLeast - 1 : -1;
  for (int i = 0; i < kWrapperCount; ++i) {
    const auto wrapper = static_cast<Wrapper>(i);
    const std::string_view bare = Unwrap(wrapper, line, room.unwrapped);
    for (size_t place = 0; bare.data() != nullptr && place < layouts.size(); ++place) {
      const Miss miss = MissIn(layouts[place], bare, room);
      if (const int nearness = NearnessOf(miss, wrapper); nearness > most) {
        most = nearness;
        nearest = {static_cast<uint8_t>(place + 1), miss.field, CharacterAt(line, miss.at)};
        around = wrapper;
      }
    }
  }
  return nearest;
}

NearMiss FindNearMiss(std::span<const Layout> layouts, std::string_view line, SplitRoom& room) {
  Wrapper around;
  return FindNearMiss(layouts, line, room, around);
}

NearMiss FindMissOfTold(const Layout& told, std::string_view line, SplitRoom& room) {
  const std::string_view unwrapped = Unwrap(told.wrapper, line, room.unwrapped);
  const Miss miss = MissIn(told, unwrapped.data() == nullptr ? line : unwrapped, room);
  return {1, miss.field, CharacterAt(line, miss.at)};
}

NearMiss FindMissOf(const Layout& known, Wrapper wrapper, std::string_view line, SplitRoom& room) {
  const std::string_view bare = Unwrap(wrapper, line, room.unwrapped);
  if (bare.data() == nullptr) {
    return {};
  }
  const Miss miss = MissIn(known, bare, room);
  return NearnessOf(miss, wrapper) >= kLeast ? NearMiss{known.number, miss.field, CharacterAt(line, miss.at)}
                                             : NearMiss{};
}
