#include "config/account.h"
void ValidateSession(const Environment&, Settings&) {}
bool LocalIP(const Settings&, const char*, const char*) { return false; }
bool VerifyPassword(Settings&, const Environment&) { return true; }
