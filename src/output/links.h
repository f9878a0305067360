// Which rows may lead somewhere.
#pragma once

#include <string_view>

#include "sections/section_rows.h"

// Whether a row's item may be a link, to its site + item: a web address, and of a path a
// part of its site: what is no path there could name another host.
bool HasLink(const SectionRow& row);

// The same of a site and an item; null: no site, hence no link.
bool IsLink(const char* site, std::string_view item);
