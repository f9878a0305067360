#include "superlog/summary_file.h"
void MakeDirWithSlash(char*, size_t, const char*) {}
void CreateDefaultSummaryName(char*, size_t, const char*) {}
void CreateSummaryFileName(char*, size_t, const char*, const char*) {}
void ReadSummaryFile(const char*) {}
void WriteSummaryFile(const char*) {}
