#include "report/page_frame.h"
void PrintHead(const Settings&) {}
void DisplayHeader(const Settings&, int32_t, SuperLong) {}
void OutputJumpBar(const Settings&) {}
void PrintFooter(const Settings&) {}
void OutputBaseTag(const Settings&, const Environment&) {}
