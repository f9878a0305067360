#include "superlog/line_reader.h"
char* mpLine = nullptr;
uint32_t mLineLen = 0;
bool OpenLog(const char*) { return false; }
void CloseLog() {}
bool IsLogOpen() { return false; }
void ReadLineFromBigBuf() {}
void ReadLine() {}
int ReadRestOfLine() { return -1; }
bool SeekLog(int64_t) { return false; }
int64_t TellLog() { return 0; }
void TrimEolChars(char*) {}
SuperLong TotalLogBytesRead() { return {}; }
void ResetLineReader() {}
