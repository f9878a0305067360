// What outputs call the sections and the notes of a report.
#pragma once

#include "analysis/dimensions.h"
#include "base/literal.h"
#include "sections/notes.h"
#include "sections/section_list.h"

// Those of a section that is none of the table of dimensions.
struct NamedWords {
  SectionId id;
  SectionWords words;
};

const SectionWords& WordsOf(const Section& section);

struct NoteWords {
  NoteCode code;
  Literal name;    // for programs
  Literal before;  // the sentence before its subject, and
  Literal behind;  // behind it
};

const NoteWords& WordsOf(const Note& note);
