// The report as a page of today: one file of HTML that needs nothing beside it.
#pragma once

#include "report/page_writer.h"

// A web server gets the policy of the page as a header, too. There is no remote
// debugging. What the administrator has written for the
// head and the foot of reports stands in the page as it is, where the policy of the page
// holds for it: text, markup and links. Debugging rows are not part of it.
extern const PageWriter kModernPage;
