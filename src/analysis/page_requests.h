// Which requests are pages to a visitor, and not what belongs to one.
#pragma once

#include <cstdint>
#include <string_view>

// Whether a request of that URL, answered so, has shown somebody a page: one that was answered with all of
// it, or with 304, which says that the visitor has it already, or of which the log does not tell the answer;
// and whose URL has a path that does not end like an image, a style, a script, a font, a sound, a film, or
// data that scripts and programs fetch, and is none that programs look for on every site. Any other type, and
// none, may be one: people open documents, too.
bool IsPageRequest(std::string_view url, int64_t status);
