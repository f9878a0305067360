#include "sections/phrase_rows.h"

static int64_t CountDistinct(const SearchEngine* engines) {
  size_t distinct = 0;
  for (const SearchEngine* engine = engines; engine != nullptr; engine = engine->next) {
    distinct += list_length(engine->phrases) + (engine->referrals != 0 ? 1 : 0);
  }
  return static_cast<int64_t>(distinct);
}

EngineRows OpenEngines(const Settings& settings, const Analysis& analysis) {
  const SearchCounts& search = analysis.search;
  const int64_t distinct = CountDistinct(search.engines);
  const CutOff cut_off = CutOffOf(settings.search);
  ItemSummary summary{};
  summary.distinct = distinct;
  summary.total = search.hits;
  summary.cut_off = cut_off;
  summary.all_shown = AllShown(cut_off, distinct);
  return {summary, search.built_in, search.engines};
}

bool NextEngine(EngineRows& rows, EngineRow& row) {
  SearchEngine* engine = rows.next;
  while (engine != nullptr && list_length(engine->phrases) == 0 && engine->referrals == 0) {
    engine = engine->next;
  }
  rows.next = engine == nullptr ? nullptr : engine->next;
  if (engine == nullptr) {
    return false;
  }
  CutOff cut_off = rows.summary.cut_off;
  cut_off.percent = false;  // deliberate: a number of rows per engine, whatever was asked for
  const int64_t hits = TotalList(engine->phrases) + engine->referrals;
  row = {engine->name,
         engine->url,
         hits,
         Share(hits, rows.summary.total),
         static_cast<int64_t>(list_length(engine->phrases)) + (engine->referrals != 0 ? 1 : 0),
         engine->referrals,
         OpenItems(engine->phrases, cut_off)};
  return true;
}

bool NextPhrase(EngineRow& engine, PhraseRow& row) {
  ItemCursor rest = engine.phrases;
  const ListItem* const item = NextItem(rest);
  if (engine.referrals != 0 && (item == nullptr || item->count <= engine.referrals)) {
    row = {kNoPhrase, engine.referrals};
    engine.referrals = 0;
    return true;
  }
  engine.phrases = rest;
  if (item == nullptr) {
    return false;
  }
  row = {item->name, item->count};
  return true;
}
