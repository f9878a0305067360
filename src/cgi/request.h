// What the run was asked for: its kind, its page and its parameters.
#pragma once

#include <cstdio>

#include "cgi/parameters.h"
#include "cgi/settings.h"
#include "report/errors.h"

// True when neither a query string nor a request method is there: no web server
// started this process, but somebody at a shell.
bool IsCommandLineRun(const Environment& env);

// Sets the command-line flag. With at most one argument also copies the
// program's own path into the SCRIPT_NAME slot, and lets a single argument
// select the page.
void EnterCommandLine(int argc, char* const* argv, Environment& env, Settings& settings);

// Selects the about, credits or remote debugging page when the whole word,
// ignoring case, is its name; any other word changes nothing.
void SelectPage(const char* word, Settings& settings);

// True when a form is posted, which CONTENT_LENGTH announces. Also from a shell:
// the variable may have been inherited.
bool IsFormPosted(const Environment& env);

// Applies the form posted on stream, or else the arguments, as they stand: those of
// a shell as its own, those of a web server as a form's. What a form may set is told
// by its source. A form shorter than announced counts as far as it came. Returns
// false, having applied nothing, when there is no memory for the form; a length
// below -1 is such a case, one of -1 is an empty form.
bool ReadParameters(int argc, char* const* argv, std::FILE* stream, const Environment& env, ParamSource form,
                    Settings& settings);

// True when the request is one that only fetches: GET or HEAD, ignoring case.
bool IsFetched(const Environment& env);

// Applies the fields of an address, which are what stands behind its "?", as those of a form: the whole
// variable QUERY_STRING and not its copy, which is cut. Returns kErrorLongQuery, having applied nothing, for
// one of more than 64 KiB, and kErrorPasswordInQuery when one of its fields is a password, set by it or
// not: addresses are kept in logs and histories.
Error ReadQuery(const char* query, ParamSource form, Settings& settings);

// Tells the error log which known names the form could not set, when there are any.
void LogIgnoredNames(const Environment& env, const Settings& settings);

// Lowers the process priority by settings.priority when that lies in 1 to 19,
// and else leaves it alone.
void MakeNice(const Settings& settings);
