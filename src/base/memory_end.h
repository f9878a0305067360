// Ends of a process that print nothing more.
#pragma once

// Ends the process with status 1. What was printed and not yet sent is dropped: no
// page is better than the head of one.
[[noreturn]] void EndWithoutMemory();

// Ends a process with that status when what was printed and not yet sent is another one's to send. Nothing is
// called on the way.
[[noreturn]] void EndWithoutOutput(int status);
