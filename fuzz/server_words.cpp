// A layout in the words of a server, in the input's first line, and lines that are cut by it: by its places,
// and by its keys where it names some. What is handed out lies in the line, and a given key means what the
// words say.
#include <memory>

#include "layouts/known_layouts.h"
#include "support.h"

static void CheckWithin(const LineFields& fields, std::string_view line) {
  for (const std::string_view text : fields.texts) {
    REQUIRE(text.data() == nullptr ||
            (text.data() >= line.data() && text.data() + text.size() <= line.data() + line.size()));
  }
}

static void CheckKeys(const Layout& layout) {
  const GivenKeys& given = layout.keys;
  REQUIRE(given.count <= kMostGivenKeys && given.count <= layout.pattern.literals_size);
  for (size_t i = 0; i < given.count; ++i) {
    const std::string_view name(given.keys[i].name.data(), given.keys[i].size);
    REQUIRE(name.size() <= kLongestGivenKey && name.find('\x01') == std::string_view::npos);
    REQUIRE(PlaceOfKey(given, name, i % 3) == i);
  }
}

// Each way of reading, and that keys are remembered, changes nothing in what a line tells.
static void CheckSplit(const Layout& layout, std::string_view line, SplitRoom& room) {
  LineFields fields = {};
  const bool split = SplitBareLine(layout, line, room, fields);
  CheckWithin(fields, line);
  LineFields again = {};
  REQUIRE(SplitBareLine(layout, line, room, again) == split && again.texts == fields.texts);
  REQUIRE(!split || layout.keys.count == 0 || fields[Field::kStatus].data() != nullptr ||
          !HasField(layout.pattern, Field::kStatus));
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  static Layout layout;
  static SplitRoom room;
  room.keys = {};
  std::string_view input = AsText(data, size);
  const std::string words(TakePart(input));
  const bool made =
      MakeLayoutOfWords(words, layout) || MakeLayoutOfNames(words, words.size() % 2 == 0, layout);
  REQUIRE(layout.pattern.count < kMostElements && layout.pattern.literals_size <= kLongestLiterals);
  if (made) {
    CheckKeys(layout);
  }
  while (made && !input.empty()) {
    const std::string line(TakePart(input));
    LineFields fields = {};
    SplitStop stop;
    const bool whole = SplitByPattern(layout.pattern, line, fields, stop);
    REQUIRE(stop.fits <= layout.pattern.count && (!whole || stop.fits >= layout.pattern.needed));
    REQUIRE(stop.at == nullptr || (stop.at >= line.data() && stop.at <= line.data() + line.size()));
    CheckWithin(fields, line);
    CheckSplit(layout, line, room);
  }
  return 0;
}
