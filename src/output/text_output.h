// The report as plain text, for a terminal or a mail.
#pragma once

#include "analysis/analysis.h"
#include "cgi/settings.h"
#include "output/terminal.h"
#include "report/page_writer.h"

// As wide as the terminal is; a refusal is one line.
extern const PageWriter kTextOutput;

// Writes the report to standard output, row by row: figures in columns, then as much of
// the item as fits. Nothing of a log is passed on that a terminal might take for a
// command.
void WriteText(const Settings& settings, Analysis& analysis, const Terminal& terminal);
