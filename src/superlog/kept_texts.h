// Texts of records that do not stand in the log as they are. They stay as those do that stand in it.
#pragma once

#include <cstddef>
#include <string_view>

// To be called before texts of records that were delivered are overwritten: tells mLogEvents.texts_go.
void TellThatTextsGo();

// Where a text of so many characters, at most kLongestLine, can be written, beside the texts that
// the current record has already. Tells that texts go when the room begins anew. Without
// KeepText, the next call gives the same place again.
char* RoomForText(size_t size);

// Keeps what was written there, followed by a NUL; kScanOverread bytes from its end on can be read.
std::string_view KeepText(char* text, size_t size);
