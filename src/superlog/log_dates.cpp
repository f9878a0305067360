#include "superlog/log_dates.h"
#include "superlog/superlog.h"
int mDateFormat = 3;
bool mFixGmt = false;
time_t mGmtOffset = 0;
void ResetLogDates() {}
void InitLogDates() {}
void GuessDateBestEffort(int, int, int, tm&) {}
void ParseEpoch(const char*, tm&) {}
void ParseDateTime1(const char*, tm&) {}
void ParseDate2(const char*, tm&) {}
void ParseDate3(const char*, tm&) {}
void ParseDateTime4(const char*, tm&) {}
void ParseDate5(const char*, tm&) {}
void ParseTime9(const char*, tm&) {}
void ParseDateOrTimeTriplet(const char*, int (&)[3]) {}
void SuperLog_SetDateFormat(const char*, int) {}
void SuperLog_SetFixGmt(const char*, int) {}
int SuperLog_GetDateFormat() { return mDateFormat; }
