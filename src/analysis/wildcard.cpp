#include "analysis/wildcard.h"

#include <algorithm>
#include <bit>
#include <cstdlib>

#include "analysis/wildcard_internal.h"
#include "base/memory_end.h"
#include "base/text.h"

int64_t lbrace = 0;
unsigned mTries = 0;

namespace {

enum : int { kAbort = -1, kNoMatch = 0, kMatch = 1 };

struct Matcher {
  std::string_view text;
  std::string_view pattern;
  bool ignore_case;
};

// A star or group that failed at a place of the text, and by how much it left lbrace raised.
struct Failure {
  uint64_t call;  // the call that it belongs to
  int result;
  int64_t raised;  // while it is tried: what lbrace was before
};

struct AlternativeEnd {
  uint64_t call;
  size_t end;
};

}  // namespace

// Groups turn aborts into plain failures, so nested ones among stars come back to
// the same places exponentially often. A call that makes more than kFreeTries
// tries therefore remembers which stars and groups failed at which places: from then
// on, each star and each alternative is tried once at a place of the text. What a try
// does depends on its place and on whether a group is open, but places tried while none
// is open are not tried again: only stars lead there, and a star that fails aborts.
static constexpr unsigned kFreeTries = 500;
static constexpr int64_t kMostOpen = int64_t{1} << 60;  // where counting open groups stops, short of overflow
static Failure* mFailures = nullptr;  // a row for each place of the pattern, with all places of the text
static size_t mFailureRow = 0;        // in force while a call remembers
static size_t mFailureRoom = 0;       // failures
static AlternativeEnd mAlternativeEnds[kTextSize];
static uint64_t mCall = 0;
static size_t mLongestText = kClassicLimits.item;

static int Try(const Matcher& m, size_t t, size_t p);

static char Fold(const Matcher& m, char c) {
  return m.ignore_case ? ToLowerAscii(c) : c;
}

// Moves from the "|" or ")" behind a matched alternative to the element behind
// its group, and behind all groups that end there with it.
static size_t LeaveGroups(std::string_view pattern, size_t p) {
  while (true) {
    while (p < pattern.size() && pattern[p] == ')') {
      ++p;
    }
    if (p == pattern.size() || pattern[p] != '|') {
      return p;
    }
    ++p;
    for (int depth = 1; p < pattern.size() && depth > 0; ++p) {
      depth += pattern[p] == '(' ? 1 : pattern[p] == ')' ? -1 : 0;
    }
  }
}

// Moves from the start of an alternative to the "|" or ")" at its end, or to the
// end of the pattern.
static size_t EndOfAlternative(std::string_view pattern, size_t p) {
  AlternativeEnd& known = mAlternativeEnds[p];
  if (known.call == mCall) {
    return known.end;
  }
  for (int depth = 1; p < pattern.size(); ++p) {
    depth += pattern[p] == '(' ? 1 : pattern[p] == ')' ? -1 : 0;
    if (depth == 0 || (depth == 1 && pattern[p] == '|')) {
      break;
    }
  }
  known = {mCall, p};
  return p;
}

// Whether c is a member of the set, whose brackets and "^" are left out.
static bool InSet(const Matcher& m, std::string_view set, char c) {
  const auto code = [&m](char member) { return static_cast<signed char>(Fold(m, member)); };
  for (size_t i = 0; i < set.size(); ++i) {
    const bool is_range = i > 0 && set[i] == '-' && i + 1 < set.size();
    const char first = is_range ? set[i - 1] : set[i];
    i += is_range ? 1 : 0;
    if (code(first) <= code(c) && code(c) <= code(set[i])) {
      return true;
    }
  }
  return false;
}

// Holds c against the set behind the "[" before p and moves p behind its "]".
static bool MatchSet(const Matcher& m, char c, size_t& p) {
  const bool negated = p < m.pattern.size() && m.pattern[p] == '^';
  p += negated ? 1 : 0;
  const size_t end = m.pattern.find(']', p + 1);  // a "]" in first place is a member
  if (end == std::string_view::npos) {
    return false;
  }
  const std::string_view set = m.pattern.substr(p, end - p);
  p = end + 1;
  return InSet(m, set, c) != negated;
}

// Holds c against the element at p, which stands for one character, and moves p
// behind it.
static bool MatchOne(const Matcher& m, char c, size_t& p) {
  char element = m.pattern[p++];
  if (element == '?') {
    return true;
  }
  if (element == '[') {
    return MatchSet(m, c, p);
  }
  if (element == '\\') {
    if (p == m.pattern.size()) {
      return false;
    }
    element = m.pattern[p++];
  }
  return Fold(m, element) == Fold(m, c);
}

static bool Remembering() {
  return mTries > kFreeTries;
}

static Failure& FailureAt(size_t t, size_t p) {
  return mFailures[p * mFailureRow + t];
}

// Makes room for all places of the call. What older calls left there is told by their numbers.
static void BeginToRemember(const Matcher& m) {
  mFailureRow = m.text.size() + 1;
  const size_t wanted = (m.pattern.size() + 1) * mFailureRow;
  if (wanted <= mFailureRoom) {
    return;
  }
  free(mFailures);
  mFailureRoom = std::min(std::bit_ceil(wanted), kTextSize * (mLongestText + 1));
  mFailures = static_cast<Failure*>(calloc(mFailureRoom, sizeof(Failure)));
  if (mFailures == nullptr) {
    EndWithoutMemory();  // without it, the search could take forever
  }
}

static bool IsRemembered(size_t t, size_t p) {
  return Remembering() && FailureAt(t, p).call == mCall;
}

static int Recall(const Failure& failure) {
  lbrace = std::min(lbrace + failure.raised, kMostOpen);
  return failure.result;
}

// The first place at or behind t where the element at p need be tried.
static size_t NextPlace(const Matcher& m, size_t t, size_t p) {
  constexpr std::string_view kSpecial = "?[\\(|)";
  const char element = m.pattern[p];
  if (kSpecial.find(element) == std::string_view::npos) {
    while (t < m.text.size() && Fold(m, m.text[t]) != Fold(m, element)) {
      ++t;
    }
  }
  return t;
}

static void Remember(size_t t, size_t p, int result, int64_t before) {
  FailureAt(t, p) = {mCall, result, lbrace - before};
}

// Matches from behind a "*". What it does from a place is what it does at that place and, if that fails, from
// the next.
static int MatchStar(const Matcher& m, size_t t, size_t p) {
  p = m.pattern.find_first_not_of('*', p);
  if (p == std::string_view::npos) {
    return kMatch;
  }
  const size_t star = p - 1;
  size_t first = m.text.size() + 1;  // of the places that are to be remembered
  int result = kNoMatch;
  while (result == kNoMatch && t <= m.text.size()) {
    t = NextPlace(m, t, p);
    if (IsRemembered(t, star)) {
      result = Recall(FailureAt(t, star));
      break;
    }
    if (Remembering()) {
      first = std::min(first, t);
      FailureAt(t, star).raised = lbrace;
    }
    result = Try(m, t++, p);
  }
  if (result == kMatch) {
    return kMatch;
  }
  for (size_t place = first; place < t; place = NextPlace(m, place + 1, p)) {
    Remember(place, star, kAbort, FailureAt(place, star).raised);
  }
  return kAbort;
}

// Tries the alternatives from p on.
static int MatchAlternatives(const Matcher& m, size_t t, size_t p) {
  ++lbrace;
  while (Try(m, t, p) != kMatch) {  // deliberate: a match leaves lbrace raised
    p = EndOfAlternative(m.pattern, p);
    if (p == m.pattern.size()) {
      return kAbort;
    }
    if (m.pattern[p] == ')') {
      --lbrace;
      return kNoMatch;
    }
    ++p;
  }
  return kMatch;
}

// Matches from behind a "(".
static int MatchGroup(const Matcher& m, size_t t, size_t p) {
  const size_t group = p - 1;
  if (IsRemembered(t, group)) {
    return Recall(FailureAt(t, group));
  }
  const int64_t before = lbrace;
  const int result = MatchAlternatives(m, t, p);
  if (result != kMatch && Remembering()) {
    Remember(t, group, result, before);
  }
  return result;
}

static int Walk(const Matcher& m, size_t t, size_t p) {
  for (;; ++t) {
    if (p < m.pattern.size() && (m.pattern[p] == ')' || m.pattern[p] == '|')) {
      if (lbrace == 0) {
        return kAbort;
      }
      p = LeaveGroups(m.pattern, p);
    }
    if (p == m.pattern.size()) {
      return t == m.text.size() ? kMatch : kNoMatch;
    }
    if (m.pattern[p] == '*') {
      return MatchStar(m, t, p + 1);
    }
    if (m.pattern[p] == '(') {
      return MatchGroup(m, t, p + 1);
    }
    if (t == m.text.size()) {
      return kAbort;
    }
    if (!MatchOne(m, m.text[t], p)) {
      return kNoMatch;
    }
  }
}

static int Try(const Matcher& m, size_t t, size_t p) {
  ++mTries;
  if (mTries == kFreeTries + 1) {
    BeginToRemember(m);
  }
  return Walk(m, t, p);
}

static int Match(std::string_view text, std::string_view pattern, bool ignore_case) {
  const Matcher m = {text.substr(0, mLongestText), pattern.substr(0, kTextMax), ignore_case};
  mTries = 0;
  ++mCall;
  return Walk(m, 0, 0);
}

static int Compare(std::string_view pattern, std::string_view text, bool ignore_case) {
  return pattern == "*" || Match(text, pattern, ignore_case) == kMatch ? 0 : 1;
}

void SetWildcardLimits(const Limits& limits) {
  mLongestText = limits.item;
}

void ResetWildcards() {
  SetWildcardLimits(kClassicLimits);
  free(mFailures);
  mFailures = nullptr;
  mFailureRoom = 0;
  lbrace = 0;
  mTries = 0;
}

int DoMatch(std::string_view text, std::string_view pattern) {
  return Match(text, pattern, false);
}

bool RemembersMatches(std::string_view pattern) {
  int depth = 0;
  for (size_t i = 0; i < pattern.size(); ++i) {
    const bool of_group = pattern[i] == '(' || pattern[i] == '|' || pattern[i] == ')';
    depth += pattern[i] == '(' ? 1 : 0;
    if (of_group && (depth == 0 || (i > 0 && pattern[i - 1] == '\\'))) {
      return true;
    }
    depth -= pattern[i] == ')' ? 1 : 0;
  }
  return depth != 0 ||
         (pattern.find('(') != std::string_view::npos && pattern.find('[') != std::string_view::npos);
}

int super_wildmat(std::string_view pattern, std::string_view text) {
  return Compare(pattern, text, false);
}

int super_wildmati(std::string_view pattern, std::string_view text) {
  return Compare(pattern, text, true);
}

// The first "~" behind the first character that no backslash precedes.
static size_t FindTilde(std::string_view pattern) {
  size_t tilde = pattern.find('~', 1);
  while (tilde != std::string_view::npos && pattern[tilde - 1] == '\\') {
    tilde = pattern.find('~', tilde + 1);
  }
  return tilde;
}

int super_wildmat_tilde(std::string_view pattern, std::string_view text) {
  if (pattern == "~") {
    return text.empty() ? 0 : 1;
  }
  if (pattern.substr(0, 1) == "~") {
    return 1 - super_wildmat(pattern.substr(1), text);
  }
  const size_t tilde = FindTilde(pattern);
  const int left = super_wildmat(pattern.substr(0, tilde), text);
  if (left != 0 || tilde == std::string_view::npos || tilde + 1 == pattern.size()) {
    return left;
  }
  return 1 - super_wildmat(pattern.substr(tilde + 1), text);
}
