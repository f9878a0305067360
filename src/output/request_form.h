// The form by which a visitor asks for a report: the program's, which is filled in, and
// the installation's own page, which is made when Orvellis is built.
#pragma once

#include "cgi/settings.h"
#include "output/sink.h"

// Prints the form to standard output, filled in with what the settings say of a request;
// never with a password. What nothing was asked of holds what the form suggests: the last
// seven days, the whole site, all sections. An account's line may not have added to the
// settings: it would be shown to everybody. A web server gets head and policy of the page,
// which is posted to where it came from.
void AnswerForm(const Environment& env, const Settings& settings);

// Writes the page of the installation's site: the form as it is suggested, with style and
// script as files beside it.
void PutSiteForm(Sink& sink);
