// A run of the program: one request, one page on standard output.
#pragma once

#include <cstdio>

#include "cgi/settings.h"

struct RunInput {
  int argc;
  char* const* argv;
  std::FILE* form;  // where a posted form is read from
  // Called once all parameters are known and before they are used; null in the program.
  void (*settled)(Settings& settings) = nullptr;
  // Called where the edition says so, when the requester has been let in and before any log is looked at.
  // Null in what makes more than one run, as there is no way back.
  void (*shut_in)(const Settings& settings) = nullptr;
};

// Makes the run that the CGI variables and the arguments ask for. Returns the status
// for the process to end with: 0, also when the page tells an error; 1 when there is
// no memory for the form; 2 when the page could not be written; 3, with nothing
// printed but a sentence on standard error, when the edition or the configuration
// asked for cannot be, or a shell has named a layout of logs that there is none of; 4, likewise, when a part
// cannot be written or added. Where memory is refused on the way the process ends.
int Run(const RunInput& input);
