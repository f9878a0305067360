// Completes and checks the settings once form and configuration are read.
#pragma once

#include "cgi/settings.h"

// Fills the date range, title and combined find path, then checks them; a
// missing or contradictory value ends the run with its error page.
void CheckParams(const Environment& env, Settings& settings);
