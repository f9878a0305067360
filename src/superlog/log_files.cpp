#include "superlog/log_files.h"
#include "superlog/superlog.h"
LogFile* mpLogsRoot = nullptr;
void LogsListAppend(const LogFile&) {}
void ResetSuperLog() {}
void SuperLog_Init(Settings&, time_t, time_t) {}
bool SuperLog_LogFilesFound() { return false; }
bool SuperLog_NextLogFile() { return false; }
void SuperLog_NextLogFile_Done() {}
bool SuperLog_LogsInRange() { return false; }
SuperLong SuperLog_GetTotalLogBytesRead() { return {}; }
void SuperLog_Uninit() {}
