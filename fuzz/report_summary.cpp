// The beginning of a page in a folder of reports, which anybody may have written: what is
// taken for a report is what the program would have written, byte for byte.
#include "output/report_summary.h"

#include "output/page_frame.h"
#include "output/written.h"
#include "support.h"

static void RequireSameWhenWritten(std::string_view page) {
  ReportSummary summary;
  if (ReadSummary(page, summary)) {
    const std::string lines = Written([&](Sink& sink) { PutSummary(sink, summary); });
    REQUIRE(page.substr(kPageTop.text().size()).starts_with(lines));
    REQUIRE(summary.spark.size() <= 60 && summary.first_day <= summary.last_day);
  }
}

// An input is a page, and a page's lines without its top.
extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  const std::string_view input = AsText(data, size);
  RequireSameWhenWritten(input);
  RequireSameWhenWritten(std::string(kPageTop.text()) + std::string(input));
  return 0;
}
