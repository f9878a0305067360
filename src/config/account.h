// Decides whether the requester may see the account.
#pragma once

#include "cgi/settings.h"
#include "report/errors.h"

// The whole decision: an account that the configuration does not have is refused.
Refusal AdmitByPlainRules(bool account_found, Environment& env, const Settings& settings);

// Returns kNoError when the requester is accepted, otherwise kErrorRejected or
// kErrorPasswordFile.
Error ValidateSession(const Environment& env, const Settings& settings);

// True when the requester belongs to the installation's own network: a fragment
// of InternalIp occurs in the requester's host name or address. An address given
// as the name is looked up first, unless InternalIp holds only numbers. Neither
// text may be null; empty ones hold no fragment but the empty one.
bool LocalIP(const Settings& settings, const char* remote_host, const char* remote_addr);

// Checks the typed password against the first line of the user in the password
// file, as it stands or as a hash of the system's crypt, ignoring case.
// Returns kNoError when it is the user's, and without such a file; kErrorRejected,
// for an unknown user too; kErrorPasswordFile when the file cannot be opened. Lines
// are taken in pieces of 243 characters, their ends included.
Error VerifyPassword(const Settings& settings);
