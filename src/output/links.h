// Which rows may lead somewhere.
#pragma once

#include "sections/section_rows.h"

// Whether a row's item may be a link, to its site + item: a web address, and of a path a
// part of its site: what is no path there could name another host.
bool HasLink(const SectionRow& row);
