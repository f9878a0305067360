// How the classic page draws its sections, as data, and the frame that all of
// them have.
#pragma once

#include "sections/section_list.h"

struct SectionLook {
  SectionId id;
  const char* anchor;
  const char* colour;
  const char* title;
  const char* plain_title;  // in runs without HTML
  const char* jump;         // the section's name in the jump bar
  const char* noun;         // what it shows: in the summary, or above the labels
  const char* explanation;
};

// Whether the classic page shows the section: one that it has, and that is switched on.
bool IsShown(const Section& section, const Settings& settings);

// Of a section that the classic page has.
const SectionLook& LookOf(const Section& section);

// Prints anchor, title and the beginning of the explanation's cell, whose rows
// span so many columns (0: says nothing about it); the end of that cell; the end
// of the section.
void BeginSectionHead(const SectionLook& look, int columns);
void EndSectionHead();
void EndSection();

// Prints what stands in place of the head in runs without HTML.
void PrintPlainTitle(const SectionLook& look);
