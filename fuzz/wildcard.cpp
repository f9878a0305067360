// The wildcard matcher against plain recursion. The input is pairs of lines, a
// pattern and a text each; all calls share their open groups, as those of a run.
#include "analysis/wildcard.h"

#include "analysis/plain_wildcard.h"
#include "analysis/wildcard_internal.h"
#include "base/text.h"
#include "support.h"

// At first each try may be made again; later a star or an alternative is tried once at each place of the
// text.
static size_t MostTries(const std::string& pattern, const std::string& text) {
  return 501 + pattern.size() * (text.size() + 1);
}

static std::string Lower(std::string text) {
  std::transform(text.begin(), text.end(), text.begin(), ToLowerAscii);
  return text;
}

// Each call from the same open groups; afterwards they are as before.
static void CheckIgnoringCase(const std::string& pattern, const std::string& text) {
  const int64_t open = lbrace;
  const int ignoring_case = super_wildmati(pattern, text);
  lbrace = open;
  REQUIRE(ignoring_case == super_wildmat(Lower(pattern), Lower(text)));
  lbrace = open;
  const int result = super_wildmat_tilde(pattern, text);
  REQUIRE(result == 0 || result == 1);
  lbrace = open;
}

// After a search that is too long for the plain matcher, both go on from one open
// group at most: the fast one counts no further than a bound.
static void CheckAgainstPlain(PlainMatcher& plain, const std::string& pattern, const std::string& text) {
  plain.steps = 0;
  const int expected = plain.Match(text.c_str(), pattern.c_str());
  const int result = DoMatch(text, pattern);
  REQUIRE(mTries <= MostTries(pattern, text));
  if (plain.gave_up()) {
    plain.open = lbrace = lbrace > 0 ? 1 : 0;
    return;
  }
  REQUIRE(result == expected);
  REQUIRE(lbrace == plain.open);
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  std::string_view input = AsText(data, size);
  PlainMatcher plain{.limit = 5000};
  lbrace = 0;
  for (int pairs = 0; pairs < 4 && !input.empty(); ++pairs) {
    const std::string pattern = UpToNul(TakePart(input).substr(0, kTextMax));
    const std::string text = UpToNul(TakePart(input).substr(0, kTextMax));
    CheckIgnoringCase(pattern, text);
    CheckAgainstPlain(plain, pattern, text);
  }
  return 0;
}
