// Decides whether the requester may see the account.
#pragma once

#include "cgi/settings.h"

// Returns when the requester is accepted; otherwise ends the run with error
// page 2 (rejected) or 10 (password file cannot be opened).
void ValidateSession(const Environment& env, Settings& settings);

// True when the requester belongs to the installation's own network: a fragment
// of InternalIp occurs in the requester's host name or address. An address given
// as the name is looked up first, unless InternalIp holds only numbers. Neither
// text may be null; empty ones hold no fragment but the empty one.
bool LocalIP(const Settings& settings, const char* remote_host, const char* remote_addr);

// Checks the typed password against the first line of the user in the password
// file, as it stands or as a hash of the system's crypt, ignoring case. True
// without such a file; false for an unknown user. Lines are taken in pieces of 243
// characters. A file that cannot be opened ends the run with error page 10.
bool VerifyPassword(Settings& settings, const Environment& env);
