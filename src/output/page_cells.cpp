#include "output/page_cells.h"

#include <algorithm>
#include <limits>
#include <string_view>

#include "output/escape.h"
#include "output/links.h"
#include "output/readable.h"

// Characters of a text that a row shows.
static constexpr size_t kShownCharacters = 90;

// ---- Texts ---------------------------------------------------------------------------

// A link is isolated by its style, other texts by their element.
static bool BeginText(Sink& sink, const char* text, const char* site) {
  const bool linked = IsLink(site, text);
  if (linked) {
    Put(sink, "<a rel=\"noopener noreferrer nofollow\" href=\"");
    PutAddress(sink, site, text);
    Put(sink, "\">");
  } else {
    Put(sink, "<bdi>");
  }
  return linked;
}

static void EndText(Sink& sink, bool linked) {
  Put(sink, linked ? Literal("</a>") : Literal("</bdi>"));
}

static std::string_view AsRead(const char* text, const char* site, ReadableText& room) {
  return site == nullptr ? text : Readable(text, room);
}

void PutPlainItem(Sink& sink, const char* text, const char* site) {
  ReadableText room;
  const bool linked = BeginText(sink, text, site);
  PutHtml(sink, AsRead(text, site, room));
  EndText(sink, linked);
}

static void PutWhole(Sink& sink, std::string_view text) {
  Put(sink, "<details class=\"in\"><summary>in full</summary><bdi class=\"whole\">");
  PutHtml(sink, text);
  Put(sink, "</bdi></details>");
}

void PutItemText(Sink& sink, const char* text, const char* site) {
  ReadableText room;
  const std::string_view whole = AsRead(text, site, room);
  const Shortened shortened = WithoutMiddle(whole, kShownCharacters);
  const bool linked = BeginText(sink, text, site);
  PutHtml(sink, shortened.begin);
  if (!shortened.end.empty()) {
    Put(sink, "\u2026");
    PutHtml(sink, shortened.end);
  }
  EndText(sink, linked);
  if (!shortened.end.empty()) {
    PutWhole(sink, whole);
  }
}

// ---- Figures -------------------------------------------------------------------------

void PutShare(Sink& sink, double share) {
  const double percent = share * 100;
  if (percent > 0 && percent < 0.05) {
    Put(sink, "&lt; 0.1 %");
    return;
  }
  PutDecimal(sink, percent, 1);
  Put(sink, " %");
}

void PutGroupedSize(Sink& sink, uint64_t number) {
  constexpr auto kMost = static_cast<uint64_t>(std::numeric_limits<int64_t>::max());
  PutGrouped(sink, static_cast<int64_t>(std::min(number, kMost)));
}

void PutByteSize(Sink& sink, uint64_t bytes) {
  static constexpr Literal kUnits[] = {" kB", " MB", " GB", " TB", " PB", " EB"};
  if (bytes < 1000) {
    PutGroupedSize(sink, bytes);
    Put(sink, bytes == 1 ? Literal(" byte") : Literal(" bytes"));
    return;
  }
  size_t unit = 0;
  double shown = static_cast<double>(bytes) / 1000;
  while (shown >= 999.95) {  // which would be written as 1000.0
    shown /= 1000;
    ++unit;
  }
  PutDecimal(sink, shown, 1);
  Put(sink, kUnits[unit]);
}

void PutCounted(Sink& sink, int64_t count, Literal one, Literal many) {
  PutGrouped(sink, count);
  Put(sink, " ");
  Put(sink, count == 1 ? one : many);
}
