#include "report/debug_rows.h"

#include <cstdio>

#include "report/number_format.h"
#include "report/search_report.h"

static void PrintBytesRow(const char* label, const Limits& limits, int64_t bytes) {
  char figure[kFigureSize];
  FormatWithCommas(figure, sizeof figure, WrappedSize(limits, static_cast<uint64_t>(bytes)), 0, 0);
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

static void PrintMemoryFigures(const Limits& limits, const MemoryFigures& memory, SuperLong bytes_read) {
  PrintBytesRow("Current Bytes Allocated", limits, memory.current);
  PrintBytesRow("Total Bytes Allocated", limits, memory.total);
  PrintBytesRow("Maximum Bytes Allocated", limits, memory.maximum);
  PrintBytesRow("Total Bytes Freed", limits, memory.freed);
  if (memory.total != 0) {
    const auto read = static_cast<float>(SuperLongToDouble(bytes_read));
    const float ratio = static_cast<float>(memory.total) * 100.0F / read;
    printf("<tr><td>Memory used to Log bytes read ratio:</td><td>%.2f%%</td></tr>\n",
           static_cast<double>(ratio));
  }
}

void PrintDebugRows(const Settings& settings, const Analysis& analysis) {
  if (settings.debug == 0) {
    return;
  }
  if (settings.SmartMemoryEnabled != 0) {
    PrintMemorySettings(settings);
    PrintMemoryFigures(analysis.counting.limits, analysis.memory, analysis.logs.bytes_read);
  }
  printf("</table></center><p>\n");
  OutputSearchDebugInfo(analysis.search.engines);
}
