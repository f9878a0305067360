// Visits of parts that anybody may have written. The first byte says where the input is cut into two parts,
// which are added; what was added has the same figures when it is saved and added again, or passed over to
// the end, and in the other order.
#include "analysis/visits.h"

#include <map>
#include <memory>
#include <tuple>
#include <vector>

#include "support.h"
#include "support/part_text.h"

struct Release {
  void operator()(VisitCounts* visits) const { ReleaseVisits(visits); }
};
using Counts = std::unique_ptr<VisitCounts, Release>;
using Figures = std::tuple<std::vector<int64_t>, std::map<std::string, std::vector<int64_t>>>;

static Figures FiguresOf(VisitCounts& visits) {
  const VisitSums sums = SumUpVisits(visits);
  const VisitFigures& all = sums.figures;
  Figures figures{{all.visitors, all.visits, all.pages, all.single_page, all.seconds}, {}};
  for (const DayVisits& day : sums.days) {
    REQUIRE(day.visitors > 0 && day.visitors <= all.visitors);
    std::get<0>(figures).insert(std::get<0>(figures).end(), {day.day, day.visitors, day.visits});
  }
  for (const PageVisits& page : sums.pages) {
    REQUIRE(page.single_page <= page.entries && page.entries <= all.visits && page.exits <= all.visits);
    if (page.entries + page.exits > 0) {  // a damaged part may name URLs of visits that it does not tell
      std::get<1>(figures)[std::string(page.url)] = {page.entries, page.single_page, page.exits};
    }
  }
  return figures;
}

static bool Add(const std::string& bytes, VisitCounts& visits) {
  const PartText text(bytes);
  PartReader part = text.reader();
  return AddSavedVisits(part, visits);
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  if (size == 0) {
    return 0;
  }
  const std::string input(reinterpret_cast<const char*>(data) + 1, size - 1);
  const size_t cut = input.size() * data[0] / 255;
  const std::string parts[] = {input.substr(0, cut), input.substr(cut)};
  const Counts sum(NewVisits());
  const Counts backwards(NewVisits());
  const bool first = Add(parts[0], *sum);
  const bool both = Add(parts[1], *sum) && first;
  const Figures figures = FiguresOf(*sum);
  if (both) {
    REQUIRE(Add(parts[1], *backwards) && Add(parts[0], *backwards));
    REQUIRE(FiguresOf(*backwards) == figures);
  }
  const std::string saved = WrittenPart([&](PartWriter& part) { SaveVisits(part, *sum); });
  const Counts again(NewVisits());
  REQUIRE(Add(saved, *again));
  REQUIRE(FiguresOf(*again) == figures);
  const PartText text(saved);
  PartReader part = text.reader();
  REQUIRE(PassSavedVisits(part) && part.next == part.end);
  return 0;
}
