// What outputs call the sections and the notes of a report.
#pragma once

#include "output/sink.h"
#include "sections/notes.h"
#include "sections/section_list.h"

struct SectionWords {
  SectionId id;
  Literal title;
  Literal item;          // heading of its items: one of them
  Literal items;         // several
  Literal item_of_many;  // one, within a sentence
  Literal whole_of_one;  // what the shares are of, where it is 1, and
  Literal whole;         // where it is not
  Literal explanation;   // a sentence
};

const SectionWords& WordsOf(const Section& section);

struct NoteWords {
  NoteCode code;
  Literal name;    // for programs
  Literal before;  // the sentence before its subject, and
  Literal behind;  // behind it
};

const NoteWords& WordsOf(const Note& note);
