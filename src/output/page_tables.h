// Tables of rows: the first ones open, the others folded, in blocks that a browser lays
// out only when somebody looks at them.
#pragma once

#include <cstdint>

#include "output/sink.h"
#include "sections/section_rows.h"

// What stands before the item. A table without ranks is chronological and stands
// beside a drawing: no row is more than another, and all are folded.
enum class Lead { kRank, kWeekday, kNone };

struct Columns {
  Literal lead;
  Literal item;
  Literal count;
};

struct Table {
  Sink& sink;
  Columns columns;
  Lead lead;
  bool shares;            // there is a total
  bool bytes = false;     // rows have bytes
  bool by_bytes = false;  // and shares are of these
  Literal second = "";    // heading of the second figure that rows have; empty: they have none
  Literal mark = "";      // heading of the mark that rows have or not; empty: they have none
  bool seen = false;      // rows tell when they were seen first and last
  bool times = false;     // rows have times
  int64_t rows;           // that will come
  bool alone = false;     // chronological, but beside no drawing: the first rows are open
  const SubItemWords* below = &kLeadingPages;  // what stands below rows
  const char* name = "";                       // a text of the program or of the configuration
  int64_t next = 0;                            // number of the next row
  int64_t end = 0;                             // of the block that is open
};

// Around all rows of a table, which has at least one.
void BeginTable(Table& table, const char* name);
void PutTableRow(Table& table, SectionRow& row);
void EndTable(Table& table);

// The hours of the week, folded, with a column for each weekday from Monday on. The rows are those
// of hours of the week, none taken yet.
void PutWeekTable(Sink& sink, const Literal& name, SectionRows& rows);
