#include "report/section_look.h"

#include <algorithm>
#include <cstdio>
#include <iterator>

// deliberate: the nouns of the bad sections begin with a space
static constexpr SectionLook kLooks[] = {
    {SectionId::kUrls, "urls", "#FFDD00", "Top URLs Requested", "Top URLs Accessed", "URLs", "URLs",
     "This report shows the most-requested pages for the days analyzed."},
    {SectionId::kReferrers, "referrers", "#00E8E8", "Top Referrers To Your Site",
     "Top Referrers To Your Site", "Referrers", "referrers",
     "This report shows the pages that visitors to your site came from."},
    {SectionId::kPhrases, "search", "#40C080", "Search Phrases", "Search Engine Phrases", "Search Phrases",
     "phrases",
     "This report shows the phrases submitted to the popular search engines by users looking for your site's "
     "content."},
    {SectionId::kBrowsers, "browsers", "#00A0A0", "Most Common Browsers", "Most Common Browsers", "Browsers",
     "browsers", "This report shows which browsers are being used to view your site."},
    {SectionId::kBadUrls, "badurls", "#D00000", "Bad URLs", "Server Summary", "Bad URLs", " bad URLs",
     "This report lists the requests that generated <i>404 Not Found</i> error messages (because the "
     "requested files didn't exist)."},
    {SectionId::kBadReferrers, "badreferrers", "#C048A8", "Bad Referrers", "Server Summary", "Bad Referrers",
     " bad referrers",
     "This report lists pages with invalid links to your site. Click on each link to visit the page to look "
     "for the invalid link."},
    {SectionId::kDomains, "domains", "#A0A048", "User Domain Analysis", "User Domain Analysis", "Domains",
     "domains", "This report shows the domain of users viewing your site."},
    {SectionId::kDomainTypes, "networks", "#3399CC", "Types Of Domains", "Origin of Users", "Domain Types",
     "origins",
     "This report shows the most common country or institution type of the users viewing your site.  (This "
     "is the top-level domain of the user.)"},
    {SectionId::kDays, "daily", "#CC9966", "Daily Totals", "Daily Totals", "Daily Totals", "Day",
     "This report shows how many hits your site received on each day."},
    {SectionId::kWeekdays, "weekly", "#FFCC99", "Hits Per Day of Week", "Hits Per Day of Week",
     "Hits Per Day of Week", "Day",
     "This report shows how hits to your site are distributed throughout the week."},
    {SectionId::kHours, "hourly", "#CC6666", "Hits Per Hour", "Hits Per Hour", "Hits Per Hour", "Hour",
     "This report shows how hits to your site are distributed throughout the day."},
};

bool IsShown(const Section& section, const Settings& settings) {
  return section.classic && IsOn(section, settings);
}

const SectionLook& LookOf(const Section& section) {
  return *std::find_if(std::begin(kLooks), std::prev(std::end(kLooks)),
                       [&section](const SectionLook& look) { return look.id == section.id; });
}

static void OpenCell(int columns) {
  printf("<tr>\n<td ");
  if (columns != 0) {
    printf("colspan=%d ", columns);
  }
}

void BeginSectionHead(const SectionLook& look, int columns) {
  printf("\n<p><a name=\"%s\"></a><hr noshade><p>\n", look.anchor);
  printf("<center><table border=1 width=\"80%%\" cellspacing=0>\n");
  OpenCell(columns);
  printf("bgcolor=\"%s\" align=\"center\"><font size=\"+1\"><b>%s</b></font></td>\n</tr>\n", look.colour,
         look.title);
  OpenCell(columns);
  printf("bgcolor=\"%s\">%s", look.colour, look.explanation);
}

void EndSectionHead() {
  printf("</td>\n</tr>\n");
}

void EndSection() {
  printf("</table></center><p>");
}

void PrintPlainTitle(const SectionLook& look) {
  printf("\n%s\n\n", look.plain_title);
}
