// Records of logs whose layout is none of letters: those of the room of layouts. Inner header of
// this folder.
//
// A file may hold lines of several layouts. Which ones is found out as they come: a line that none
// of the layouts met so far explains is taken for one of another known layout when the lines ahead bear that
// out.
#pragma once

#include <cstdint>
#include <ctime>
#include <string_view>

#include "superlog/superlog.h"

// Whether lines of the current file are split by layouts of the room.
extern bool mLayoutsHold;

// Fills record from the current line of the line reader when one of the layouts explains it, be
// it one of those that hold or another that is recognised now, which holds from then on. False otherwise; the
// line is then as it was.
bool ParseByLayouts(std::string_view line, SuperLogRecord& record);

// Whether lines of the layout that explained a line last tell a status. One of JSON may leave it out, but
// cannot be cut off unnoticed.
bool LayoutTellsStatus();

// Of a line that none of the layouts explains: which one comes nearest.
NearLayout NearestLayout(std::string_view line);

// The same of one layout alone: what the line lacks by that known one, from 1, which nothing is around; and
// by the one that explained a line last or, while none holds, by the known one that came nearest to one of
// the first lines. Of all lines of the file, also those of a layout that does not hold, in the order of
// reading.
NearMiss MissOf(uint8_t known, std::string_view line);
NearLayout MissOfOwn(std::string_view line);

// What the second one has found in the first lines of a file.
struct FirstLooks {
  uint8_t taken = 0;    // lines, until one came near
  uint8_t nearest = 0;  // a known layout, from 1
  Wrapper wrapper = Wrapper::kNone;
};
extern FirstLooks mFirstLooks;  // forgotten with the layouts of the file

// The time of such a line without any GMT shift; 0 when none explains it.
time_t TimeByLayouts(std::string_view line);

// The layouts that hold, the order in which they are tried, and names that wait for a line of data, as a
// number.
uint64_t StateOfLayouts();

// Forgets the layouts of the current file, but not those that the user has named.
void ForgetFileLayouts();

// Forgets these, too.
void ResetLayouts();

// Takes the names of a "#Fields:" line: the lines that follow are split by them. False when they do not
// tell enough.
bool TakeNamesOfFields(std::string_view names);

// Takes the name of a known layout, or the words of a server, for all lines of all files. False, and nothing
// changes, when the text is neither.
bool TakeUserLayout(std::string_view text);

// Whether the text is such a name, or such words.
bool IsUserLayout(std::string_view text);
