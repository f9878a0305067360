// A layout in the words of a server, in the input's first line, and lines that are cut by it: fields stand
// in the line in the order of the layout.
#include <memory>

#include "layouts/known_layouts.h"
#include "support.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  static Layout layout;
  static SplitRoom room;
  std::string_view input = AsText(data, size);
  const std::string words(TakePart(input));
  const bool made =
      MakeLayoutOfWords(words, layout) || MakeLayoutOfNames(words, words.size() % 2 == 0, layout);
  REQUIRE(layout.pattern.count < kMostElements && layout.pattern.literals_size <= kLongestLiterals);
  while (made && !input.empty()) {
    const std::string line(TakePart(input));
    LineFields fields = {};
    SplitStop stop;
    const bool whole = SplitByPattern(layout.pattern, line, fields, stop);
    REQUIRE(stop.fits <= layout.pattern.count && (!whole || stop.fits >= layout.pattern.needed));
    REQUIRE(stop.at == nullptr || (stop.at >= line.data() && stop.at <= line.data() + line.size()));
    for (const std::string_view text : fields.texts) {
      REQUIRE(text.data() == nullptr ||
              (text.data() >= line.data() && text.data() + text.size() <= line.data() + line.size()));
    }
  }
  return 0;
}
