#include "report/ranked_tables.h"

#include <cstdio>
#include <cstring>

#include "analysis/normalise.h"
#include "analysis/resolve_item.h"

// ---- Summary row ----

static double Percentage(long count, long total) {
  return total == 0 ? 0.0 : static_cast<double>(count) / static_cast<double>(total) * 100.0;
}

static bool AllShown(long distinct, int top, int top_is_percent, int greater) {
  const bool has_cut_off = top > 0 || greater >= 2;
  const bool reaches_cut_off = distinct > top || top_is_percent != 0;
  const bool cuts = top_is_percent == 0 || top < 100;
  return !(has_cut_off && reaches_cut_off && cuts);
}

static void PrintCutOff(int top, int top_is_percent, int greater, const char* noun) {
  printf("This report shows");
  if (top > 0) {
    printf(" the top %d%s", top, top_is_percent != 0 ? "% of" : "");
  } else {
    printf(" all");
  }
  printf(" %s", noun);
  if (greater < 2) {
    printf(" requested.");
  } else {
    printf(" with at least %d requests.", greater);
  }
  printf("<br>\n");
}

static void PrintBrand(int64_t count, const char* brand) {
  double share = Percentage(count, gHits_Browsers);
  if (share < 1.0) {
    share = 0.0;  // deliberate: 0.6 does not round up to 1
  }
  printf("<br>\n<b>%ld</b> of the requests (<b>%0.0f%%</b>) were from versions of %s.",
         static_cast<long>(count), share, brand);
}

void ReportSummary(long distinct, int top, int top_is_percent, int greater, const char* colour,
                   const char* noun) {
  if (distinct == 0) {
    return;
  }
  const bool all_default = top == -1 && greater == -1;
  const bool all_shown = AllShown(distinct, top, top_is_percent, greater);
  printf("<tr>\n<td bgcolor=\"%s\" align=\"center\" width=\"10%%\"><b>Summary:</b></td>\n", colour);
  printf("<td colspan=%c bgcolor=\"%s\">", strcmp(noun, "phrases") == 0 ? '1' : '2', colour);
  if (!all_default && !all_shown) {
    PrintCutOff(top, top_is_percent, greater, noun);
  }
  printf("<b>%ld</b> distinct %s were found.", distinct, noun);
  if (!all_default && all_shown) {
    printf("  All are shown in the report.");
  }
  if (strcmp(noun, "browsers") == 0) {
    PrintBrand(NavCount, "Netscape Navigator-brand browsers");
    PrintBrand(MsieCount, "Microsoft Internet Explorer");
  }
  printf("</td>\n</tr>\n");
}

// ---- Rows ----

namespace {
using PrintRow = void (*)(const Settings& settings, const ListItem& item, double percentage);
struct RowKind {
  const char* kind;
  PrintRow print;
};
}  // namespace

static void PrintTextRow(const char* text, int64_t count, double percentage) {
  printf("<tr><td align=center>%ld</td><td align=center>%0.2f%%</td><td>%s</td></tr>\n",
         static_cast<long>(count), percentage, text);
}

static void PrintPlainRow(const Settings& /*settings*/, const ListItem& item, double percentage) {
  PrintTextRow(item.name, item.count, percentage);
}

static void PrintNetworkRow(const Settings& settings, const ListItem& item, double percentage) {
  char name[kLongestItem + 1];
  CopyText(name, item.key());
  ResolveItem(name, settings.Networks);
  PrintTextRow(name, item.count, percentage);
}

static void PrintReferralRow(const Settings& /*settings*/, const ListItem& item, double percentage) {
  printf(
      "<tr><td align=center>%ld</td><td align=center>%0.2f%%</td>"
      "<td><a href=\"%s\" target=\"_blank\">%s</a></td></tr>\n",
      static_cast<long>(item.count), percentage, item.name, item.name);
}

// True when the item names its own site: "://" behind a scheme of 3 to 5
// characters. deliberate: items of 8 characters or fewer never do.
static bool IsAbsoluteUrl(std::string_view item) {
  if (item.size() < 9) {
    return false;
  }
  return item.substr(3, 3) == "://" || item.substr(4, 3) == "://" || item.substr(5, 3) == "://";
}

// The cut-off of the section does not hold for sub-lists.
static void PrintReferrersOf(const ListItem& item) {
  const ListItem* referrer = item.sublist() == nullptr ? nullptr : SortList(*item.sublist());
  if (referrer == nullptr) {
    return;
  }
  printf("\n<font size=\"-1\" face=\"Arial,Helv\">");
  for (; referrer != nullptr; referrer = referrer->next) {
    printf(
        "<br>\n&nbsp;&nbsp;<i>%ld&nbsp;referrer%s&nbsp;from:&nbsp;"
        "<a href=\"%s\" target=\"_blank\">%s</a></i>",
        static_cast<long>(referrer->count), referrer->count > 1 ? "s" : "", referrer->name, referrer->name);
  }
  printf("\n</font>\n");
}

static void PrintRequestRow(const Settings& settings, const ListItem& item, double percentage) {
  const char* site = IsAbsoluteUrl(item.key()) ? "" : settings.url;
  printf(
      "<tr><td align=center>%ld</td><td align=center>%0.2f%%</td>"
      "<td><a href=\"%s%s\" target=\"_blank\">%s</a>",
      static_cast<long>(item.count), percentage, site, item.name, item.name);
  PrintReferrersOf(item);
  printf("</td></tr>\n");
}

static PrintRow RowPrinter(const Settings& settings, const char* kind) {
  static constexpr RowKind kRowKinds[] = {
      {"network", PrintNetworkRow},
      {"referrals", PrintReferralRow},
      {"requests", PrintRequestRow},
  };
  if (settings.cgi == 0) {
    return PrintPlainRow;
  }
  for (const RowKind& row : kRowKinds) {
    if (strcmp(row.kind, kind) == 0) {
      return row.print;
    }
  }
  return PrintPlainRow;
}

// The most rows that top allows for a list of so many items.
static size_t RowsShown(size_t length, int top, int top_is_percent) {
  if (top == 0) {
    return length;
  }
  if (top < 0) {
    return 0;
  }
  const auto limit = static_cast<size_t>(top);
  return top_is_percent != 0 ? length * limit / 100 : limit;
}

void display_list(const Settings& settings, List& list, int top, int top_is_percent, int greater,
                  const char* kind, long total) {
  const size_t length = list_length(list);
  if (length == 0) {
    printf("<tr>\n<td colspan=\"3\"><i><b>No items found</b></i></td>\n</tr>\n");
    return;
  }
  printf(
      "<tr><td align=\"center\" width=\"10%%\"><b>Quantity</b></td>"
      "<td align=\"center\" width=\"10%%\"><b>%% of Total</b></td>"
      "<td><b>Item</b></td></tr>\n");
  const size_t shown = RowsShown(length, top, top_is_percent);
  const PrintRow print = RowPrinter(settings, kind);
  const ListItem* item = SortList(list, shown);
  for (size_t rank = 1; item != nullptr && rank <= shown && item->count >= greater; ++rank) {
    print(settings, *item, Percentage(item->count, total));
    item = item->next;
  }
}

// ---- Sections ----

namespace {
struct SectionText {
  RankedReport Settings::*report;
  CountedReport Analysis::*counted;
  CountedReport Analysis::*base;  // its total is the base of the percentages
  const char* anchor;
  const char* colour;
  const char* title;
  const char* explanation;
  const char* noun;
  const char* kind;
  const char* plain_title;
};
}  // namespace

// In the order of RankedSection. deliberate: the nouns of the bad sections begin
// with a space, and domains are drawn plain.
static const SectionText kSections[] = {
    {&Settings::requests, &Analysis::urls, &Analysis::urls, "urls", "#FFDD00", "Top URLs Requested",
     "This report shows the most-requested pages for the days analyzed.", "URLs", "requests",
     "Top URLs Accessed"},
    {&Settings::referrers, &Analysis::referrers, &Analysis::referrers, "referrers", "#00E8E8",
     "Top Referrers To Your Site", "This report shows the pages that visitors to your site came from.",
     "referrers", "referrals", "Top Referrers To Your Site"},
    {&Settings::browsers, &Analysis::browsers, &Analysis::browsers, "browsers", "#00A0A0",
     "Most Common Browsers", "This report shows which browsers are being used to view your site.", "browsers",
     "browser", "Most Common Browsers"},
    {&Settings::badurls, &Analysis::badurls, &Analysis::urls, "badurls", "#D00000", "Bad URLs",
     "This report lists the requests that generated <i>404 Not Found</i> error messages (because the "
     "requested files didn't exist).",
     " bad URLs", "requests", "Server Summary"},
    {&Settings::badreferrers, &Analysis::badreferrers, &Analysis::referrers, "badreferrers", "#C048A8",
     "Bad Referrers",
     "This report lists pages with invalid links to your site. Click on each link to visit the page to look "
     "for the invalid link.",
     " bad referrers", "referrals", "Server Summary"},
    {&Settings::domains, &Analysis::domains, &Analysis::domains, "domains", "#A0A048", "User Domain Analysis",
     "This report shows the domain of users viewing your site.", "domains", "", "User Domain Analysis"},
    {&Settings::domaintypes, &Analysis::domaintypes, &Analysis::domaintypes, "networks", "#3399CC",
     "Types Of Domains",
     "This report shows the most common country or institution type of the users viewing your site.  (This "
     "is the top-level domain of the user.)",
     "origins", "network", "Origin of Users"},
};

static void PrintSectionFrame(const SectionText& section) {
  printf("\n<p><a name=\"%s\"></a><hr noshade><p>\n", section.anchor);
  printf("<center><table border=1 width=\"80%%\" cellspacing=0>\n<tr>\n");
  printf("<td colspan=3 bgcolor=\"%s\" align=\"center\"><font size=\"+1\"><b>%s</b></font></td>\n",
         section.colour, section.title);
  printf("</tr>\n<tr>\n<td colspan=3 bgcolor=\"%s\">%s</td>\n</tr>\n", section.colour, section.explanation);
}

void PrintRankedSection(const Settings& settings, RankedSection which, Analysis& analysis) {
  const SectionText& section = kSections[static_cast<size_t>(which)];
  const RankedReport& report = settings.*section.report;
  List& list = (analysis.*section.counted).list;
  if (which == RankedSection::kBrowsers) {
    gHits_Browsers = static_cast<int32_t>(analysis.browsers.total);
  }
  if (settings.cgi != 0) {
    PrintSectionFrame(section);
    ReportSummary(static_cast<long>(list_length(list)), report.top, report.top_is_percent, report.greater,
                  section.colour, section.noun);
  } else {
    printf("\n%s\n\n", section.plain_title);
  }
  display_list(settings, list, report.top, report.top_is_percent, report.greater, section.kind,
               (analysis.*section.base).total);
  printf("</table></center><p>");
}
