#include "superlog/superlog.h"
bool SuperLog_ParseNextLine(SuperLogRecord&) { return false; }
