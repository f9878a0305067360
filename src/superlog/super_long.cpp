#include "superlog/super_long.h"
void SuperLongAdd(SuperLong&, uint32_t) {}
double SuperLongToDouble(SuperLong) { return 0; }
