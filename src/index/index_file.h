// The file of the index, which is replaced in one step: whoever reads it meanwhile has the
// old one or the new one, and the old one stays when the new one cannot be written whole.
#pragma once

#include <cstdio>

// Waits until no other process makes an index of this open folder, ten seconds at most:
// what is found from then on is in the index that is the last to be written. Held until
// the folder is closed.
void WaitForTurn(int folder);

// Whether the index may be written: there is none yet, or a plain file that this program
// has made. What somebody else calls so is left alone.
bool IsIndexOurs(int folder);

// Opens the new index, under a name that is hidden. Null when it cannot be made: errno tells.
std::FILE* BeginIndex(int folder);

// Closes it and puts it in the old one's place. False when it could not be written whole,
// and has been removed: errno tells.
bool FinishIndex(int folder, std::FILE* index);
