// What the layout is that the logs were said to have.
#pragma once

// Takes the last logformat= argument of a shell whole where it is longer than parameters are kept: words of a
// server often are.
void TakeLongLayout(int argc, char* const* argv);

// Makes sure that what the run was told of the layout of the logs is letters, the name of a known layout, or
// words of a server. From a shell any other name is looked for in the configurations of this machine's web
// servers (config/server_layouts.h), in /etc or the folder that the variable ORVELLIS_ETC names, and means
// what it says there. False where the layout stays unknown: of a shell with a sentence on standard error.
bool SettleLayout(bool from_shell);
