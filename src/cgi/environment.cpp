#include "cgi/environment.h"
void GetEnv(Environment& env) { env = {}; }
