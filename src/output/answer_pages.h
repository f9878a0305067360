// Pages that are no report, in the look of the reports.
//
// What is said of a refusal, and of the program, holds nothing of the request and nothing
// of the machine; but where a visitor may see the account and its days are what is wrong, links hold what was
// asked for.
#pragma once

#include "cgi/settings.h"
#include "report/errors.h"

// Says what happened and what to do. A web server gets a status that says what became of
// the request, and the policy of the page, which has no script. The error log gets one line
// of the refusal (refusal_texts.h).
void RefuseByPage(const Refusal& refusal, const Environment& env, const Settings& settings);

// About the program and who made it. A shell gets the classic pages, which tell of the
// machine, too.
void AnswerAbout(const Environment& env, const Settings& settings);
void AnswerCredits(const Environment& env, const Settings& settings);
