// Captures the CGI environment of the run.
#pragma once

#include "cgi/settings.h"

// Zeroes the record, then copies every CGI variable that is set into its slot,
// cut to the slot's capacity (a list of proxies at its beginning), and fills the current date ("%B %d, %Y
// (%A)") and time ("%X") from one reading of the clock.
void GetEnv(Environment& env);
