// Which requests are pages to a visitor, and not what belongs to one.
#pragma once

#include <cstdint>
#include <string_view>

// Whether a request that was answered so has shown somebody what it asked for: all of it, or 304, which says
// that the visitor has it already; or the log does not tell the answer (0).
bool IsPageAnswer(int64_t status);

// Whether a URL is one of a page: it has a path that does not end like an image, a style, a script, a font, a
// sound, a film, or data that scripts and programs fetch, and is none that programs look for on every site.
// Any other type, and none, may be one: people open documents, too.
bool IsPageUrl(std::string_view url);
