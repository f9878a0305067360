// The answer to a refused request where a report is plain text: one line.
#pragma once

#include "cgi/settings.h"
#include "report/errors.h"

// A PageWriter's refuse.
void RefuseInOneLine(const Refusal& refusal, const Environment& env, const Settings& settings);
