#include "output/words.h"

#include <iterator>

static constexpr NamedWords kSectionWords[] = {
    {SectionId::kUrls,
     {"Requested URLs", "URL", "URLs", "URL", "request", "requests", "What visitors asked for most."}},
    {SectionId::kReferrers,
     {"Referrers", "Page", "pages", "page", "request that names a referrer", "requests that name a referrer",
      "The pages that visitors came from."}},
    {SectionId::kPhrases,
     {"Search phrases", "Phrase", "phrases", "phrase", "visit from a search engine",
      "visits from search engines", "What people looked for when a search engine led them here."}},
    {SectionId::kBrowsers,
     {"Browsers", "Browser", "browsers", "browser", "request that names a browser",
      "requests that name a browser", "The programs that asked for pages, as they name themselves."}},
    {SectionId::kBadUrls,
     {"Not found", "URL", "URLs", "URL", "request", "requests",
      "URLs answered with status 404, and the pages that link to them."}},
    {SectionId::kBadReferrers,
     {"Pages with broken links", "Page", "pages", "page", "request that names a referrer",
      "requests that name a referrer", "Pages that led visitors to URLs answered with status 404."}},
    {SectionId::kDomains,
     {"Domains of visitors", "Domain", "domains", "domain", "request that names a host",
      "requests that name a host", "Where visitors are at home in the network."}},
    {SectionId::kDomainTypes,
     {"Top-level domains of visitors", "Domain", "domains", "domain", "request that names a host",
      "requests that name a host",
      "The last parts of the visitors' domains, which tell of countries and institutions."}},
    {SectionId::kDays,
     {"Requests by day", "Day", "days", "day", "request", "requests", "How many requests came on each day."}},
    {SectionId::kWeekdays,
     {"Requests by weekday", "Weekday", "weekdays", "weekday", "request", "requests",
      "How requests are spread over the week."}},
    {SectionId::kHours,
     {"Requests by hour", "Hour", "hours", "hour", "request", "requests",
      "How requests are spread over the day."}},
    {SectionId::kHoursOfWeek,
     {"Requests by weekday and hour", "Hour", "hours", "hour", "request", "requests",
      "How requests are spread over the hours of the week."}},
};

static_assert(StandInPlace(kSectionWords));

const SectionWords& WordsOf(const Section& section) {
  return section.dimension != nullptr ? section.dimension->words
                                      : kSectionWords[static_cast<size_t>(section.id)].words;
}

static constexpr NoteWords kNoteWords[] = {
    {NoteCode::kNoLogInRange, "no_log_in_range", "No log holds records of these days.", ""},
    {NoteCode::kPath, "only_path", "Only requests that match ", " were counted."},
    {NoteCode::kRealm, "only_realm", "Only requests authenticated for the realm ", " were counted."},
    {NoteCode::kUser, "only_user", "Only requests of the authenticated user ", " were counted."},
    {NoteCode::kHostsLeftOut, "hosts_left_out", "Requests from these hosts were left out: ", "."},
    {NoteCode::kTypesLeftOut, "types_left_out", "Requests for files of these types were left out: ", "."},
    {NoteCode::kOnlyThese, "only_these", "Only these requests were counted, by ", "."},
    {NoteCode::kTheseLeftOut, "these_left_out", "These requests were left out, by ", "."},
    {NoteCode::kLogsNotOpened, "logs_not_opened", "",
     " could not be opened, so that the records are missing: let the user that runs Orvellis read them."},
    {NoteCode::kLogsMissing, "logs_missing", "", "."},
    {NoteCode::kNoLibrary, "no_library", "", ", so that the records are missing."},
    {NoteCode::kLogsDamaged, "logs_damaged", "", ": what follows is missing."},
    {NoteCode::kLogsNotUnderstood, "logs_not_understood", "",
     ". Tell the layout with logformat, or leave such files out of the logs."},
    {NoteCode::kLinesNotUnderstood, "lines_not_understood", "", "."},
    {NoteCode::kLogCopies, "log_copies", "", ", and is not counted again."},
    {NoteCode::kWithoutUrl, "without_url", "Requests without a URL, which were empty or not of HTTP: ", "."},
    {NoteCode::kNotLookedUp, "not_looked_up", "", "."},
    {NoteCode::kNoNameServer, "no_name_server", "",
     " addresses could not be looked up: no name server gave an answer."},
    {NoteCode::kOwnReferrers, "own_referrers",
     "Requests that pages of the site itself led to, which are left out of the referrers: ", "."},
    {NoteCode::kPartsOfPages, "parts_of_pages",
     "Requests for images, styles, scripts and other parts of pages, which are counted, but are no rows of "
     "the "
     "requested URLs: ",
     "."},
    {NoteCode::kNotCompared, "not_compared",
     "Days are not compared with others: which they are must be known before the logs are read.", ""},
    {NoteCode::kVisitorsSampled, "visitors_sampled",
     "The memory budget did not suffice for all visitors. Figures of visits are estimated from one visitor "
     "in ",
     "; visits, pages, averages and lengths, and figures of single days and URLs may be further off."},
    {NoteCode::kAnonymised, "anonymised",
     "Visitors are anonymised: addresses are cut to networks, names of hosts to domains, and users are left "
     "out.",
     ""},
    {NoteCode::kNoCountries, "no_countries",
     "Countries are not told: the configuration names no country database.", ""},
    {NoteCode::kThinned, "thinned",
     "The memory budget did not suffice. Figures may be too low behind the first rows of the section ", "."},
};

static constexpr bool NotesStandInPlace() {
  for (size_t place = 0; place < std::size(kNoteWords); ++place) {
    if (kNoteWords[place].code != static_cast<NoteCode>(place)) {
      return false;
    }
  }
  return true;
}
static_assert(std::size(kNoteWords) == kNoteCodes && NotesStandInPlace());

const NoteWords& WordsOf(const Note& note) {
  return kNoteWords[static_cast<size_t>(note.code)];
}
