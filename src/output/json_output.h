// The report as JSON (RFC 8259), for programs.
#pragma once

#include "analysis/analysis.h"
#include "cgi/settings.h"
#include "report/page_writer.h"

// A refusal is one object with one member, "error", beside "format".
extern const PageWriter kJsonOutput;

// Writes the whole report to standard output, row by row: docs/report.schema.json
// tells its members. An item that is no UTF-8 has U+FFFD for each such byte, and
// beside it, in "item_base64", its bytes.
void WriteJson(const Settings& settings, Analysis& analysis);
