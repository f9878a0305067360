// The end of a run for which there is not enough memory.
#pragma once

// Ends the process with status 1. What was printed and not yet sent is dropped: no
// page is better than the head of one.
[[noreturn]] void EndWithoutMemory();
