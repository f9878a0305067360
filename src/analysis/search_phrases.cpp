#include "analysis/search_phrases.h"

#include <cstring>

#include "analysis/counting_table.h"
#include "base/limits.h"
#include "base/text.h"
#include "base/url_decode.h"

// No phrase needs more encoded text: an escape takes three characters.
static constexpr size_t kEncodedPhraseMax = 3 * kLongestItem;

bool FindQueryValue(std::string_view text, std::string_view name, std::string_view& value) {
  const size_t query = text.find('?');
  if (query == std::string_view::npos) {
    return false;
  }
  text.remove_prefix(query + 1);
  // deliberate: names end at "=" only, so that in "flag&q=a" the name is "flag&q"
  for (size_t equals; (equals = text.find('=')) != std::string_view::npos;) {
    const std::string_view candidate = text.substr(0, equals);
    text.remove_prefix(equals + 1);
    const size_t end = text.find('&');
    if (EqualIgnoreCase(candidate, name)) {
      value = text.substr(0, end);
      return true;
    }
    text.remove_prefix(end == std::string_view::npos ? text.size() : end + 1);
  }
  return false;
}

bool parseQuery(char* text, const char* name) {
  std::string_view value;
  if (!FindQueryValue(text, name, value)) {
    return false;
  }
  memmove(text, value.data(), value.size());
  text[value.size()] = '\0';
  decode(text);
  return true;
}

static void CountPhrase(SearchEngine& engine, std::string_view encoded, PhraseCounter count_phrase) {
  char phrase[kEncodedPhraseMax + 1];
  CopyText(phrase, kEncodedPhraseMax + 1, encoded);
  const size_t length = decode(phrase);
  // deliberate: phrases that differ in case are different, whatever search_casesensitive says
  count_phrase(engine.phrases, engine.phrases_info, {phrase, length}, false);
}

// Counts the phrase that one of the domain's variables holds; false when none is in the query.
static bool CountDomainPhrase(SearchEngine& engine, const SearchDomainInfo& domain, std::string_view path,
                              PhraseCounter count_phrase) {
  std::string_view value;
  for (const SearchVariable* variable = domain.variables; variable != nullptr; variable = variable->next) {
    if (FindQueryValue(path, variable->text(), value) && !(engine.counts_referrals && value.empty())) {
      CountPhrase(engine, value, count_phrase);
      return true;
    }
  }
  return false;
}

// Position of the "/" that ends the scheme and host of an absolute address.
static size_t FindThirdSlash(std::string_view address) {
  static constexpr std::string_view kUsual = "http://";
  if (address.starts_with(kUsual)) {
    return address.find('/', kUsual.size());
  }
  size_t slash = address.find('/');
  for (int more = 2; more > 0 && slash != std::string_view::npos; --more) {
    slash = address.find('/', slash + 1);
  }
  return slash;
}

static void CountReferral(SearchEngine* engine, SearchCounts& counts) {
  if (engine != nullptr) {
    ++engine->referrals;
    ++counts.hits;
  }
}

// ---- Hosts of no engine -------------------------------------------------------------

// Most referrers are of a few hosts that are none, in letters of any case: the last ones are known again
// without a look at the engines. The start of a host tells little, and its length is in its hash.
struct OtherHost {
  size_t length;
  char text[56];
};

static OtherHost mOthers[2048];  // by hash, with a second place beside the first

static size_t PlaceOf(std::string_view host) {
  uint64_t hash = host.size();
  for (size_t at = 0; at + sizeof hash <= host.size(); at += sizeof hash) {
    uint64_t eight;
    memcpy(&eight, host.data() + at, sizeof eight);
    hash = (hash ^ eight) * 0x9E3779B97F4A7C15U;
  }
  uint64_t last = 0;
  memcpy(&last, host.data() + host.size() - sizeof last, sizeof last);
  hash = (hash ^ last) * 0x9E3779B97F4A7C15U;
  return hash >> 53;
}

static bool CanBeKept(std::string_view host) {
  return host.size() >= sizeof(uint64_t) && host.size() <= sizeof OtherHost::text;
}

static bool Holds(const OtherHost& other, std::string_view host) {
  return other.length == host.size() && memcmp(other.text, host.data(), host.size()) == 0;
}

static bool IsOther(std::string_view host) {
  const size_t place = PlaceOf(host);
  return Holds(mOthers[place], host) || Holds(mOthers[place ^ 1], host);
}

// The host that was there first, which has come more often as a rule, keeps its place.
static void KeepOther(std::string_view host) {
  const size_t place = PlaceOf(host);
  OtherHost& other = mOthers[mOthers[place].length == 0 ? place : place ^ 1];
  other.length = host.copy(other.text, sizeof other.text);
}

void ForgetOtherHosts() {
  memset(mOthers, 0, sizeof mOthers);
}

SearchCounts NewSearchCounts() {
  ForgetOtherHosts();
  return {mpEngineHead, 0, mNoConfigDefinitions};
}

// ---- Referrers -----------------------------------------------------------------------

// Engines that count referrals come first.
static bool NeedsNoPhrase(const SearchCounts& counts) {
  return counts.engines != nullptr && counts.engines->counts_referrals;
}

static bool HoldsPhrase(std::string_view referrer) {
  return referrer.find('?') != std::string_view::npos;
}

void CountSearchHits(std::string_view referrer, SearchCounts& counts, PhraseCounter count_phrase) {
  if (!NeedsNoPhrase(counts) && !HoldsPhrase(referrer)) {
    return;
  }
  const size_t slash = FindThirdSlash(referrer);
  const bool bare = slash == std::string_view::npos;
  const std::string_view host = referrer.substr(0, slash);  // with its scheme
  const std::string_view path = bare ? std::string_view{} : referrer.substr(slash + 1);
  SearchEngine* without_phrase = nullptr;
  if (CanBeKept(host) && IsOther(host)) {
    return;
  }
  bool other = true;
  // Most hosts hold no fragment at all, which the sets of letter pairs tell at once.
  const uint64_t lacking = ~LetterPairs(host);
  for (SearchEngine* engine = counts.engines; engine != nullptr; engine = engine->next) {
    for (const SearchDomainInfo* domain = engine->domains; domain != nullptr; domain = domain->next) {
      if ((domain->letter_pairs & lacking) != 0) {
        continue;
      }
      other = false;
      if (host.find(domain->text()) == std::string_view::npos) {
        continue;
      }
      if (!bare && CountDomainPhrase(*engine, *domain, path, count_phrase)) {
        ++counts.hits;
        return;
      }
      if (engine->counts_referrals && without_phrase == nullptr) {
        without_phrase = engine;
      }
    }
  }
  if (other && CanBeKept(host)) {
    KeepOther(host);
  }
  CountReferral(without_phrase, counts);
}

bool MayCountForEngine(std::string_view referrer, const SearchCounts& counts) {
  if (!NeedsNoPhrase(counts) && !HoldsPhrase(referrer)) {
    return false;
  }
  const std::string_view host = referrer.substr(0, FindThirdSlash(referrer));
  return !CanBeKept(host) || !IsOther(host);
}

// ---- Counts that were written down ----

// Of a part: sums of thousands do not pass 64 bits.
static constexpr uint64_t kMostOfEngine = uint64_t{1} << 48;

static uint64_t CountEngines(const SearchCounts& counts) {
  uint64_t engines = 0;
  for (const SearchEngine* engine = counts.engines; engine != nullptr; engine = engine->next) {
    ++engines;
  }
  return engines;
}

void SaveSearch(PartWriter& part, const SearchCounts& counts) {
  PutFigure(part, static_cast<uint64_t>(counts.hits));
  PutFigure(part, CountEngines(counts));
  for (const SearchEngine* engine = counts.engines; engine != nullptr; engine = engine->next) {
    PutFigure(part, static_cast<uint64_t>(engine->referrals));
    SaveList(part, engine->phrases);
  }
}

bool AddSavedSearch(PartReader& part, SearchCounts& counts) {
  counts.hits += static_cast<int64_t>(TakeFigureUpTo(part, kMostOfEngine));
  if (TakeFigure(part) != CountEngines(counts)) {
    MarkDamaged(part);
  }
  for (SearchEngine* engine = counts.engines; engine != nullptr && !part.damaged; engine = engine->next) {
    engine->referrals += static_cast<int64_t>(TakeFigureUpTo(part, kMostOfEngine));
    AddSavedList(part, engine->phrases, engine->phrases_info, false);
  }
  return !part.damaged;
}

void EmptySearch(SearchCounts& counts) {
  counts.hits = 0;
  for (SearchEngine* engine = counts.engines; engine != nullptr; engine = engine->next) {
    engine->referrals = 0;
    empty_list(engine->phrases, *engine->phrases_info);
  }
}

bool PassSavedSearch(PartReader& part) {
  TakeFigure(part);
  for (uint64_t left = TakeFigure(part); left > 0 && !part.damaged; --left) {
    TakeFigure(part);
    PassSavedList(part);
  }
  return !part.damaged;
}
