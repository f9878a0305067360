#include "report/debug_rows.h"

#include <cstdio>

#include "analysis/smart_memory.h"
#include "report/number_format.h"
#include "report/search_report.h"
#include "superlog/superlog.h"

static void PrintBytesRow(const char* label, int32_t bytes) {
  char figure[kFigureSize];
  FormatWithCommas(figure, sizeof figure, static_cast<uint32_t>(bytes), 0, 0);
  printf("<tr><td>%s</td><td>%s</td></tr>\n", label, figure);
}

// The cells of the settings are left open: "<td>" stands where "</td>" would close them.
static void PrintMemorySettings(const Settings& settings) {
  printf(
      "<tr><td colspan=6>&nbsp;</td></tr>\n"
      "<tr><td colspan=2 align=center><b>Memory Usage</b></td></tr>\n"
      "<tr><td>Smart Memory: Enabled</td><td>%s<td></tr>\n"
      "<tr><td>Smart Memory: minimum list entries to keep</td><td>%d<td></tr>\n"
      "<tr><td>Smart Memory: size of memory to reclaim</td><td>%dK<td></tr>\n",
      settings.SmartMemoryEnabled != 0 ? "True" : "False", settings.SmartMemoryKeepEntries,
      settings.SmartMemoryReclaimSize);
  if (settings.SmartMemoryMaxMemoryToAllocate > 0) {
    printf("<tr><td>Smart Memory: maximum memory to allocate</td><td>%dK<td></tr>\n",
           settings.SmartMemoryMaxMemoryToAllocate);
  }
}

static void PrintMemoryFigures() {
  PrintBytesRow("Current Bytes Allocated", gSM_CurrentBytesAllocated);
  PrintBytesRow("Total Bytes Allocated", gSM_TotalBytesAllocated);
  PrintBytesRow("Maximum Bytes Allocated", gSM_MaximumBytesAllocated);
  PrintBytesRow("Total Bytes Freed", gSM_TotalBytesFreed);
  if (gSM_TotalBytesAllocated != 0) {
    const auto read = static_cast<float>(SuperLongToDouble(SuperLog_GetTotalLogBytesRead()));
    const float ratio = static_cast<float>(gSM_TotalBytesAllocated) * 100.0F / read;
    printf("<tr><td>Memory used to Log bytes read ratio:</td><td>%.2f%%</td></tr>\n",
           static_cast<double>(ratio));
  }
}

void PrintDebugRows(const Settings& settings) {
  if (settings.debug == 0) {
    return;
  }
  if (settings.SmartMemoryEnabled != 0) {
    PrintMemorySettings(settings);
    PrintMemoryFigures();
  }
  printf("</table></center><p>\n");
  OutputSearchDebugInfo(mpEngineHead);
}
