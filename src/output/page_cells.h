// The parts of pages that hold texts of logs and figures.
#pragma once

#include <cstdint>

#include "output/sink.h"

// A text without its middle when it is long, linked when its address is one of the web.
// site: before the text in its address; "": the text is an address; null: neither. What
// was left out stands behind it, folded. Addresses and their paths are shown as they are read
// (readable.h), and linked as they stand.
void PutItemText(Sink& sink, const char* text, const char* site);

// The same, but whole and with as little markup as can be, for rows of which there are
// very many.
void PutPlainItem(Sink& sink, const char* text, const char* site);

// "12.3 %", "< 0.1 %"
void PutShare(Sink& sink, double share);

// "1.2 GB" in powers of 1000; below 1000 "999 bytes".
void PutByteSize(Sink& sink, uint64_t bytes);
void PutGroupedSize(Sink& sink, uint64_t number);

// "1 row", "12 rows": the noun of many, and that of one.
void PutCounted(Sink& sink, int64_t count, Literal one, Literal many);
