// The form by which a visitor asks for a report.
#pragma once

#include "cgi/settings.h"

// Prints the form, filled in with what the settings say of a request; never with a password.
// It is posted to where it came from.
void AnswerForm(const Environment& env, const Settings& settings);
