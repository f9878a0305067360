// The sections of a page, each with its title, what it shows in words, and its rows.
#pragma once

#include <span>

#include "analysis/analysis.h"
#include "cgi/settings.h"
#include "output/sink.h"
#include "sections/section_list.h"

// All sections as they stand on a page, and in the form that asks for one.
std::span<const SectionId> PageOrder();

// Rows of a section on a page, unless the request says how many.
inline constexpr int64_t kMostRows = 1000;

// Those that are on, in the order of a page; before, links to them, each in a <li>.
void PutSectionLinks(Sink& sink, const Settings& settings);
void PutSections(Sink& sink, const Settings& settings, Analysis& analysis);
