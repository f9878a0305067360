#include "report/extra_texts.h"
void log_SetExtraHeader(Settings&, const char*, int) {}
void log_SetExtraFooter(Settings&, const char*, int) {}
void EndOrvellisCleanup(Settings&) {}
