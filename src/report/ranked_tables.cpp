#include "report/ranked_tables.h"

#include <cinttypes>
#include <cstdio>

static constexpr int kColumns = 3;

// ---- Summary row ----

static void PrintCutOff(const CutOff& cut_off, const char* noun) {
  printf("This report shows");
  if (cut_off.top > 0) {
    printf(" the top %d%s", cut_off.top, cut_off.percent ? "% of" : "");
  } else {
    printf(" all");
  }
  printf(" %s", noun);
  if (cut_off.greater < 2) {
    printf(" requested.");
  } else {
    printf(" with at least %d requests.", cut_off.greater);
  }
  printf("<br>\n");
}

static void PrintBrands(const ItemSummary& summary) {
  for (const BrandShare& brand : summary.brands) {
    if (brand.name != nullptr) {
      const double percentage = brand.share * 100.0;
      // deliberate: 0.6 does not round up to 1
      printf("<br>\n<b>%" PRId64 "</b> of the requests (<b>%0.0f%%</b>) were from versions of %s.",
             brand.count, percentage < 1.0 ? 0.0 : percentage, brand.name);
    }
  }
}

void ReportSummary(const SectionLook& look, const ItemSummary& summary, int columns) {
  if (summary.distinct == 0) {
    return;
  }
  const bool unset = IsUnset(summary.cut_off);
  printf("<tr>\n<td bgcolor=\"%s\" align=\"center\" width=\"10%%\"><b>Summary:</b></td>\n", look.colour);
  printf("<td colspan=%d bgcolor=\"%s\">", columns, look.colour);
  if (!unset && !summary.all_shown) {
    PrintCutOff(summary.cut_off, look.noun);
  }
  printf("<b>%" PRId64 "</b> distinct %s were found.", summary.distinct, look.noun);
  if (!unset && summary.all_shown) {
    printf("  All are shown in the report.");
  }
  PrintBrands(summary);
  printf("</td>\n</tr>\n");
}

// ---- Rows ----

static void PrintItem(const RankedRow& row, bool plain) {
  if (plain) {
    printf("%s", row.item);
  } else if (row.site != nullptr) {
    printf("<a href=\"%s%s\" target=\"_blank\">%s</a>", row.site, row.item, row.item);
  } else {
    printf("%s", row.description != nullptr ? row.description : row.item);
  }
}

static void PrintReferrers(RankedRow& row) {
  if (!HasReferrers(row)) {
    return;
  }
  printf("\n<font size=\"-1\" face=\"Arial,Helv\">");
  for (ReferrerRow referrer; NextReferrer(row, referrer);) {
    printf("<br>\n&nbsp;&nbsp;<i>%" PRId64
           "&nbsp;referrer%s&nbsp;from:&nbsp;"
           "<a href=\"%s\" target=\"_blank\">%s</a></i>",
           referrer.count, referrer.count > 1 ? "s" : "", referrer.address, referrer.address);
  }
  printf("\n</font>\n");
}

static void PrintRow(RankedRow& row, bool plain) {
  printf("<tr><td align=center>%" PRId64 "</td><td align=center>%0.2f%%</td><td>", row.count,
         row.share * 100.0);
  PrintItem(row, plain);
  if (!plain) {
    PrintReferrers(row);
  }
  printf("</td></tr>\n");
}

void display_list(RankedRows& rows, bool plain) {
  if (rows.summary.distinct == 0) {
    printf("<tr>\n<td colspan=\"3\"><i><b>No items found</b></i></td>\n</tr>\n");
    return;
  }
  printf(
      "<tr><td align=\"center\" width=\"10%%\"><b>Quantity</b></td>"
      "<td align=\"center\" width=\"10%%\"><b>%% of Total</b></td>"
      "<td><b>Item</b></td></tr>\n");
  for (RankedRow row; NextRanked(rows, row);) {
    PrintRow(row, plain);
  }
}

// ---- Sections ----

void PrintRankedSection(const Settings& settings, const Section& section, Analysis& analysis) {
  const SectionLook& look = LookOf(section);
  RankedRows rows = OpenRanked(settings, section, analysis);
  const bool plain = settings.cgi == 0;
  if (plain) {
    PrintPlainTitle(look);
  } else {
    BeginSectionHead(look, kColumns);
    EndSectionHead();
    ReportSummary(look, rows.summary, kColumns - 1);
  }
  display_list(rows, plain);
  EndSection();
}
