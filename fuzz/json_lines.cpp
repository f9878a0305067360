// One line as JSON, as LTSV and as each envelope: what is handed out lies in the line or in the room, and
// decoded texts are never longer than they were.
#include "layouts/layout.h"
#include "layouts/taken.h"
#include "support.h"

static void CheckWithin(std::string_view text, std::string_view whole) {
  REQUIRE(text.data() == nullptr ||
          (text.data() >= whole.data() && text.data() + text.size() <= whole.data() + whole.size()));
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  static SplitRoom room;
  room.keys = {};
  std::string line(AsText(data, std::min(size, kLongestLine)));
  for (int twice = 0; twice < 2; ++twice) {  // the second time the keys are known
    LineFields fields = {};
    SplitJson(line, room.keys, fields);
    LineFields labelled = {};
    SplitLtsv(line, labelled);
    for (size_t i = 0; i < kFieldCount; ++i) {
      CheckWithin(fields.texts[i], line);
      CheckWithin(labelled.texts[i], line);
    }
    for (const LineFields& taken : {fields, labelled}) {
      REQUIRE(TakenIn(taken) >= kNotTaken && TakenIn(taken) <= kMostTaken);
    }
  }
  for (int wrapper = 0; wrapper < kWrapperCount; ++wrapper) {
    const std::string_view inner = Unwrap(static_cast<Wrapper>(wrapper), line, room.unwrapped);
    const bool in_line = inner.data() >= line.data() && inner.data() <= line.data() + line.size();
    CheckWithin(
        inner, in_line ? std::string_view(line) : std::string_view(room.unwrapped.text.data(), kLongestLine));
  }
  const size_t decoded = DecodeJsonText(line.data(), line.size());
  REQUIRE(decoded <= line.size());
  return 0;
}
