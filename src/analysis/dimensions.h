// What requests are summed up by, beside the sections that came first: one table, each row of which is a
// section of the report with all that belongs to it. A further section is one more row.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>

#include "analysis/analysis.h"
#include "analysis/visits.h"
#include "base/limits.h"
#include "base/literal.h"
#include "cgi/settings.h"
#include "superlog/byte_scan.h"
#include "superlog/superlog.h"

// What outputs call a section.
struct SectionWords {
  Literal title;
  Literal item;          // heading of its items: one of them
  Literal items;         // several
  Literal item_of_many;  // one, within a sentence
  Literal whole_of_one;  // what the shares are of, where it is 1, and
  Literal whole;         // where it is not
  Literal explanation;   // a sentence
};

// Where the items of a dimension come from: each request has one, or they are made of the items of another
// table when all requests are counted, so that nothing is paid for a request.
enum class SummedFrom : uint8_t {
  kRequests,
  kStatusCodes,
  kUrls,
  kReferrers,
  kBrowsers,
  kHosts,
  kVisits,
  kLogs
};

// A request that is counted.
struct Request {
  const SuperLogRecord& record;
  std::string_view url;  // of the record, as the requested URLs have it: without its query, or with it
};

using ItemRoom = char[kLongestItem + 1 + kScanOverread];

// A second figure that each item has.
struct SecondFigure {
  Literal title = "";  // heading of its column; empty: there is none
  Literal name = "";   // for programs
  Literal words = "";  // before the figure, within brackets
};

// What outputs call what stands below an item, which is as often shown as there is some.
struct SubItemWords {
  Literal name;     // for programs
  Literal several;  // behind their number
  Literal between;  // between the count and one of them
  Literal arrow;    // before one of them, in texts
  bool are_pages;   // which may be links
};
inline constexpr SubItemWords kLeadingPages = {"referrers", " pages link here", " from ", "<- ", true};

// What is told of each item beside its figures: whether there was such a request.
struct Mark {
  Literal title = "";  // heading of its column; empty: there is none
  Literal name = "";   // for programs
};

struct Dimension {
  const char* parameter;  // switches the section on
  const char* behind;     // parameter of the section that it stands behind in a page
  SectionWords words;
  Literal columns;  // of the section as a table of its own
  SummedFrom from;
  // The item of a request, a text of the record or made in the room; absent or empty: it has none. Where it
  // is made of hosts, it is used where these are cut; where items have a mark, it is what they are made of,
  // and marks them.
  std::string_view (*of_request)(const Request& request, ItemRoom& room) = nullptr;
  AskedTexts asks = {};  // what it needs of the record
  // What led to the item of a request, a text of the record; null: nobody wants to know.
  std::string_view (*led_by)(const SuperLogRecord& record) = nullptr;
  // The item of another table's item: a view of that, or made in the room; empty: there is none.
  std::string_view (*of_item)(std::string_view item, ItemRoom& room) = nullptr;
  // The same of an item with levels, of which so many count: a view of it.
  std::string_view (*of_levels)(std::string_view item, int levels) = nullptr;
  // What is told of that other item below this one, likewise; null: nothing is.
  std::string_view (*divided_by)(std::string_view item, ItemRoom& room) = nullptr;
  SubItemWords below = kLeadingPages;  // what led to items, or divides them, and
  const char* below_table = nullptr;   // its name and columns as a table of its own
  Literal below_columns = "";
  const char* (*name_of)(std::string_view item) = nullptr;  // what an item is called; null: nothing else
  bool name_is_read = false;                                // people know that, and the item is a code for it
  bool of_site = false;                                     // items are paths of the analysed site
  // The items that visits have.
  void (*of_visits)(const VisitSums& sums, CountedReport& report) = nullptr;
  // The items that logs have.
  void (*of_logs)(const Settings& settings, CountedReport& report) = nullptr;
  Literal counted = "Requests";  // heading of what is counted
  SecondFigure second = {};
  Mark mark = {};             // of items that are made of others
  bool seen = false;          // when each item was seen first and last is told
  bool of_days = false;       // items are days, which stand in their own order
  bool with_figures = false;  // of all visits, before the items
  bool in_classes = false;    // status codes, whose sums by class stand before them
  bool timed = false;         // times of requests are counted (url_times.h), and the total is their sum
};

// Whether requests are counted, so that items can have their bytes.
constexpr bool IsOfRequests(const Dimension& dimension) {
  return dimension.from != SummedFrom::kVisits && dimension.from != SummedFrom::kLogs;
}

// Whether something stands below its items.
inline bool HasSubItems(const Dimension& dimension) {
  return dimension.led_by != nullptr || dimension.divided_by != nullptr;
}

extern const Dimension kDimensions[];
extern const size_t kDimensionCount;  // up to kMostDimensions of settings.h

// How many levels of directories the settings tell apart: 1 where they name no number from 1 on, and no more
// than there may be.
inline constexpr long kMostDirectoryDepth = 20;
int DirectoryDepthOf(const Settings& settings);

// The path of an address, without what is asked of it; what a proxy is asked for has the site before it.
std::string_view PathOf(std::string_view url);

// Behind the last dot of the last name of a path: letters and digits, as few as types have, in small letters;
// or words in brackets.
std::string_view TypeOfPath(std::string_view path, ItemRoom& room);

// The texts of records that the dimensions need which the settings ask for, on top of those.
AskedTexts WithTextsOfDimensions(const Settings& settings, AskedTexts asked);

// Those that each request counts in: bit n is row n.
uint32_t DimensionsOfRequests(const Settings& settings);

// Whether any is asked for, and whether one is made of that.
bool AreDimensionsAsked(const Settings& settings);
bool IsSummedFrom(const Settings& settings, SummedFrom from);

// Whether countries are to be shown; where no database is named, they are not, and the settings tell it.
bool AreCountriesAsked(const Settings& settings);
void LeaveOutCountries(Settings& settings);

// Creates the tables of those that are asked for.
void CreateDimensions(const Settings& settings, Analysis& analysis);

// Counts a request in these dimensions.
void CountDimensions(uint32_t dimensions, const Request& request, Analysis& analysis);

// When all requests are counted: counts the others, from what was counted. The memory budget takes nothing
// meanwhile: no table has more items than the one it is made of.
void SumUpDimensions(const Settings& settings, Analysis& analysis);
