// Which requests are pages to a visitor, and not what belongs to one.
#pragma once

#include <cstdint>
#include <string_view>

#include "analysis/analysis.h"
#include "cgi/settings.h"

// Whether a request that was answered so has shown somebody what it asked for: all of it, or 304, which says
// that the visitor has it already; or the log does not tell the answer (0).
bool IsPageAnswer(int64_t status);

// Whether a URL is one of what belongs to pages: it ends like an image, a style, a script, a font, a sound, a
// film, or data that scripts and programs fetch.
bool IsPartOfPages(std::string_view url);

// Whether a URL is one of a page: it has a path that does not end so, and is none that programs look for on
// every site. Any other type, and none, may be one: people open documents, too.
bool IsPageUrl(std::string_view url);

// When all is counted, and all that is made of the requested URLs: where the settings ask for pages alone,
// takes what belongs to them out of the table, and has its requests in parts_of_pages. The total stays.
void LeaveOutPartsOfPages(const Settings& settings, Analysis& analysis);
