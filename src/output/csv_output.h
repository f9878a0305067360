// The report as CSV (RFC 4180), for spreadsheets and databases: UTF-8, lines that end in
// CR LF, names of columns in the first one.
#pragma once

#include "analysis/analysis.h"
#include "cgi/settings.h"
#include "report/page_writer.h"

// Refuses, by one line of plain text, a settings.section that the report does not have.
extern const PageWriter kCsvOutput;

// Writes the report to standard output, row by row: all sections in one table or, where
// settings.section names one, that one with columns of its own. Without
// settings.csv_formulas nothing in it is a formula to a spreadsheet (PutCsv).
void WriteCsv(const Settings& settings, Analysis& analysis);
