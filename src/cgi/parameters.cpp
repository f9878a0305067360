#include "cgi/parameters.h"
void initialize(Settings& settings, const Environment& env) { settings = {}; settings.program_path = env.SCRIPT_NAME; }
void CompareParam(const char*, Settings&, ParamSource, int) {}
void ParseFieldValue(const char*, char (&)[kTextSize], char (&)[kTextSize]) {}
void ReturnValue(char*, size_t, const char*, int) {}
int NumValues(const char*) { return 0; }
