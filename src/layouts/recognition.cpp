#include "layouts/recognition.h"

#include <array>

#include "layouts/moment.h"

bool HoldsTime(const LineFields& fields) {
  const std::string_view moment = fields[Field::kMoment];
  return (moment.data() != nullptr ? ReadMoment(moment)
                                   : ReadDateAndTime(fields[Field::kDate], fields[Field::kTime]))
             .form != MomentForm::kNone;
}

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

// Lines of the shape of a layout, and those of them that hold a request.
struct Evidence {
  size_t shaped = 0;
  size_t sound = 0;
};

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

static Evidence Weigh(const Layout& layout, Wrapper wrapper, std::string_view text, SplitRoom& room) {
  Evidence evidence = {1, 1};  // of the line that is explained already
  std::string_view line;
  for (size_t lines = 1; lines < kMostSampleLines && TakeLine(text, line);) {
    if (!IsHeader(line)) {
      ++lines;
      const std::string_view bare = Unwrap(wrapper, line, room.unwrapped);
      const bool sound = bare.data() != nullptr && Explains(layout, bare, room);
      evidence.sound += sound;
      evidence.shaped += sound || (bare.data() != nullptr && HasShape(layout, bare));
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
static const Layout* FindBest(Wrapper wrapper, std::string_view line, Sample& sample, SplitRoom& room) {
  const Layout* best = nullptr;
  size_t most = 0;
  for (const Layout& layout : ReadyLayouts()) {
    const std::string_view bare = Unwrap(wrapper, line, room.unwrapped);
    if (!Explains(layout, bare, room)) {
      continue;
    }
    const Evidence evidence = Weigh(layout, wrapper, TextOf(sample), room);
    if (evidence.sound > most && evidence.sound * 100 >= evidence.shaped * kAgreeingLines) {
      most = evidence.sound;
      best = &layout;
    }
  }
  return best;
}

bool RecogniseLayout(std::string_view line, const LinesAhead& ahead, SplitRoom& room, Layout& layout) {
  Sample sample = {ahead, {}};
  // What is around a line tells more than what it could be with it.
  for (const Wrapper wrapper :
       {Wrapper::kIsoHead, Wrapper::kSyslog, Wrapper::kMessage, Wrapper::kNone, Wrapper::kQuotes}) {
    if (Unwrap(wrapper, line, room.unwrapped).data() == nullptr) {
      continue;
    }
    if (const Layout* const best = FindBest(wrapper, line, sample, room)) {
      layout = *best;
      layout.wrapper = wrapper;
      return true;
    }
  }
  return false;
}
