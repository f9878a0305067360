#include "superlog/log_format.h"
#include "superlog/superlog.h"
char mKnownFormatBuf[244];
bool mFormatKnown = false;
int mCurLogFormat = 0;
void ResetFileFormat() {}
void ResetLogFormat() {}
void SetFormatDebug(bool) {}
void TrimLogFormat(char*) {}
bool GrokLineFormat() { return false; }
void GrokW3cLine() {}
void GrokWebStarLine() {}
void GrokNetscapeLine() {}
void SuperLog_SetLogFormat(const char*, int) {}
