#include "layouts/recognition.h"

#include <algorithm>
#include <array>

std::span<const Layout> ReadyLayouts() {
  static std::array<Layout, kMostKnownLayouts> layouts;
  static size_t count = 0;
  if (count == 0) {
    for (const KnownLayout& known : KnownLayouts()) {
      MakeLayout(known, layouts[count++]);
    }
  }
  return {layouts.data(), count};
}

// More of the lines that are looked at cannot disagree where enough agree.
static constexpr size_t kMostAgainst = kMostSampleLines * (100 - kAgreeingLines) / 100;

// Lines that hold a request of a layout, and those that have no more than its shape.
struct Evidence {
  size_t sound = 0;
  size_t against = 0;
  const char* first_against = nullptr;
};

static bool IsEnough(const Evidence& evidence) {
  return evidence.sound * 100 >= (evidence.sound + evidence.against) * kAgreeingLines;
}

static bool IsHeader(std::string_view line) {
  return line.empty() || line[0] == '#' || line[0] == ';';
}

// Takes the next line off the text: false at its end.
static bool TakeLine(std::string_view& text, std::string_view& line) {
  if (text.empty()) {
    return false;
  }
  line = text.substr(0, text.find('\n'));
  line = line.substr(0, line.find('\r'));
  text.remove_prefix(line.size() + (line.size() < text.size() ? 1 : 0));
  return true;
}

// Whether fixed texts and fields are where the layout has them, whatever number status and size are.
static bool HasShape(const Layout& layout, std::string_view line) {
  LineFields fields = {};
  SplitStop stop;
  return layout.kind == LineKind::kPattern && SplitByPattern(layout.pattern, line, fields, stop) &&
         HoldsTime(fields) && fields[Field::kStatus].find(' ') == std::string_view::npos;
}

static bool Explains(const Layout& layout, std::string_view line, SplitRoom& room) {
  LineFields fields = {};
  return SplitBareLine(layout, line, room, fields) && HoldsTime(fields);
}

static bool IsOfHeld(std::span<const Layout> held, std::string_view line, SplitRoom& room) {
  return std::any_of(held.begin(), held.end(), [&](const Layout& layout) {
    LineFields fields = {};
    return SplitLine(layout, line, room, fields) && HoldsTime(fields);
  });
}

static bool IsOfAnyKnown(Wrapper wrapper, std::string_view line, SplitRoom& room) {
  const std::span<const Layout> layouts = ReadyLayouts();
  return std::any_of(layouts.begin(), layouts.end(), [&](const Layout& layout) {
    return Explains(layout, Unwrap(wrapper, line, room.unwrapped), room);
  });
}

// A layout and what is around its lines.
struct Candidate {
  const Layout& layout;
  Wrapper wrapper;
};

static void WeighLine(const Candidate& candidate, std::span<const Layout> held, std::string_view line,
                      SplitRoom& room, Evidence& evidence) {
  const std::string_view bare = Unwrap(candidate.wrapper, line, room.unwrapped);
  const bool sound = bare.data() != nullptr && Explains(candidate.layout, bare, room);
  const bool shaped = sound || (bare.data() != nullptr && HasShape(candidate.layout, bare));
  if (!shaped || IsOfHeld(held, line, room)) {
    return;
  }
  if (sound) {
    ++evidence.sound;
  } else if (!IsOfAnyKnown(candidate.wrapper, line, room) && evidence.against++ == 0) {
    evidence.first_against = line.data();
  }
}

static Evidence Weigh(const Candidate& candidate, std::span<const Layout> held, std::string_view text,
                      SplitRoom& room) {
  Evidence evidence = {.sound = 1};  // of the line that is explained already
  std::string_view line;
  for (size_t lines = 1;
       lines < kMostSampleLines && evidence.against <= kMostAgainst && TakeLine(text, line);) {
    if (!IsHeader(line)) {
      ++lines;
      WeighLine(candidate, held, line, room, evidence);
    }
  }
  return evidence;
}

static std::string_view WholeLines(std::string_view text) {
  const size_t end = text.find_last_of("\r\n");
  return text.substr(0, end == std::string_view::npos ? 0 : end);
}

static bool HoldsEnoughLines(std::string_view text) {
  size_t lines = 1;
  for (std::string_view line; lines < kMostSampleLines && TakeLine(text, line);) {
    lines += IsHeader(line) ? 0 : 1;
  }
  return lines == kMostSampleLines;
}

// The lines that are weighed, found when a layout explains the first one.
struct Sample {
  const LinesAhead& ahead;
  std::string_view text;
  bool taken = false;
};

static std::string_view TextOf(Sample& sample) {
  if (!sample.taken) {
    const bool enough = sample.ahead.far == nullptr || HoldsEnoughLines(WholeLines(sample.ahead.near));
    sample.text = WholeLines(enough ? sample.ahead.near : sample.ahead.far());
    sample.taken = true;
  }
  return sample.text;
}

// The best of the layouts for lines that are wrapped so; null when none explains the line.
static const Layout* FindBest(Wrapper wrapper, std::string_view line, Sample& sample, LogSoFar& so_far,
                              SplitRoom& room) {
  const std::span<const Layout> layouts = ReadyLayouts();
  int64_t* const refused_to = so_far.refused_to.data() + static_cast<size_t>(wrapper) * kMostKnownLayouts;
  const Layout* best = nullptr;
  size_t most = 0;
  std::string_view bare = Unwrap(wrapper, line, room.unwrapped);
  for (size_t i = 0; i < layouts.size(); ++i) {
    if (sample.ahead.offset < refused_to[i] || !Explains(layouts[i], bare, room)) {
      continue;
    }
    const std::string_view text = TextOf(sample);
    const Evidence evidence = Weigh({layouts[i], wrapper}, so_far.held, text, room);
    bare = Unwrap(wrapper, line, room.unwrapped);  // again, as other lines were
    if (!IsEnough(evidence)) {
      refused_to[i] = sample.ahead.offset + (evidence.first_against - text.data()) + 1;
    } else if (evidence.sound > most) {
      most = evidence.sound;
      best = &layouts[i];
    }
  }
  return best;
}

bool RecogniseLayout(std::string_view line, const LinesAhead& ahead, LogSoFar& so_far, SplitRoom& room,
                     Layout& layout) {
  Sample sample = {ahead, {}};
  // What is around a line tells more than what it could be with it.
  for (const Wrapper wrapper :
       {Wrapper::kIsoHead, Wrapper::kSyslog, Wrapper::kMessage, Wrapper::kNone, Wrapper::kQuotes}) {
    if (Unwrap(wrapper, line, room.unwrapped).data() == nullptr) {
      continue;
    }
    if (const Layout* const best = FindBest(wrapper, line, sample, so_far, room)) {
      layout = *best;
      layout.wrapper = wrapper;
      return true;
    }
  }
  return false;
}
