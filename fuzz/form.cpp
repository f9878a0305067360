// A posted form: the announced length, the fields, their decoding, and what they
// set. The input's first line is CONTENT_LENGTH, the rest is what arrives.
#include "cgi/form.h"

#include <vector>

#include "base/plain_decode.h"
#include "base/url_decode.h"
#include "cgi/parameters.h"
#include "cgi/request.h"
#include "report/extra_texts.h"
#include "superlog/superlog.h"
#include "support.h"

// The announced length is taken from memory before anything arrives.
static constexpr int kLargestLength = 1 << 20;

// The text is decoded in a block of its own size.
static void CheckDecoding(const std::string& text) {
  std::vector<char> block(text.c_str(), text.c_str() + text.size() + 1);
  const size_t length = decode(block.data());
  REQUIRE(std::string(block.data()) == PlainDecode(text));
  REQUIRE(length == strlen(block.data()));
}

static void CheckEntries(std::string_view body) {
  constexpr size_t kMostEntries = 16;
  const size_t room = 1 + static_cast<size_t>(std::count(body.begin(), body.end(), '&'));
  std::vector<FormEntry> entries(std::min(room, kMostEntries));
  FormCursor cursor{body, true};
  FormEntry entry;
  size_t count = 0;
  for (; NextFormEntry(cursor, entry); ++count) {
    RequireText(entry.name);
    RequireText(entry.value);
    CheckDecoding(entry.name);
    CheckDecoding(entry.value);
    if (count < entries.size()) {
      entries[count] = entry;
    }
  }
  REQUIRE(count >= 1 && count <= room);
  if (room > kMostEntries) {
    return;
  }
  std::vector<FormEntry> at_once(room);
  REQUIRE(parse_entries(at_once.data(), body.data(), static_cast<int>(body.size())) ==
          static_cast<int>(count));
  for (size_t i = 0; i < count; ++i) {
    REQUIRE(strcmp(at_once[i].name, entries[i].name) == 0 && strcmp(at_once[i].value, entries[i].value) == 0);
  }
}

static void ApplyForm(const Environment& env, std::string_view body) {
  std::string stored(body);
  FILE* const stream = fmemopen(stored.data(), stored.size(), "r");
  REQUIRE(stream != nullptr);
  Settings settings;
  ResetSuperLog();
  initialize(settings, env);
  const bool applied = ReadParameters(0, nullptr, stream, env, ParamSource::kForm, settings);
  REQUIRE(applied == (ToInt(env.CONTENT_LENGTH) >= -1));
  RequireTexts(settings);
  EndOrvellisCleanup(settings);
  fclose(stream);
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  std::string_view input = AsText(data, size);
  Environment env{};
  CopyText(env.CONTENT_LENGTH, TakePart(input));
  if (ToInt(env.CONTENT_LENGTH) <= kLargestLength) {
    CheckEntries(input);
    ApplyForm(env, input);
  }
  return 0;
}
