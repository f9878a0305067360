// Look-ups of names by a process that has given up files.
#pragma once

// What the C library reads for a look-up, each time or once; null ends it.
extern const char* const kNameServiceFiles[];

// Loads the libraries that the system's configuration names for look-ups of hosts, which otherwise happens at
// the first look-up. One that cannot be loaded is left to the C library, which does without.
void LoadNameServices();
