// The decision whether a visitor may see an account.
#pragma once

#include "cgi/settings.h"
#include "report/errors.h"

// Decides about the account settings.username, which the configuration has when
// account_found says so. Admitted are, without more ado, visitors out of the networks
// of InternalIp, users whom the web server has authenticated and whom the account's
// signon names, and everybody to an account with password=*; then whoever types
// the password whose hash the account's line or the password file holds. An account
// without a hash admits nobody else.
//
// Adds a line to the error log for each refusal, and for what is wrong with the
// configuration of all this. The answer to a refused one tells nothing about the reason:
// an account that does not exist takes the way of one that does, and a refusal comes a
// second after the request. While another refusal waits, or after too many
// (login_limits.h), the answer is kErrorLimited, with the seconds, and comes at once.
// REMOTE_ADDR is taken for the visitor's address: MeetVisitor has seen to it.
// A run from a shell, whose user can read the configuration, is neither kept waiting
// nor counted.
Refusal Admit(bool account_found, const Environment& env, const Settings& settings);

// Whether Admit would ask for a password: an account that does not exist has one, too. Writes nothing,
// counts nothing and does not wait.
bool NeedsPassword(bool account_found, const Environment& env, const Settings& settings);
