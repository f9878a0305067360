#include "analysis/resolve_item.h"
void ResolveItem(char (&)[kTextSize], const char*) {}
