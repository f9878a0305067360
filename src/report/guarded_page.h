// Pages that are safe by themselves.
#pragma once

#include "report/page_writer.h"

// A web server gets a status that says what became of the request, and the headers that
// make harmless what a page holds of logs and requests. The report is the classic one.
// What is said of a refusal, and of the program, holds nothing of the request and nothing
// of the machine; there is no remote debugging. The error log gets one line of a refusal
// (refusal_log.h), but for kErrorRejected and kErrorLimited, whose line is written where
// they are decided. A shell gets the same without headers, and the classic about and
// credits pages.
extern const PageWriter kGuardedPage;
