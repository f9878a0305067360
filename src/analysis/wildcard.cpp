#include "analysis/wildcard.h"
int super_wildmat(const char*, const char*) { return 0; }
int super_wildmati(const char*, const char*) { return 0; }
int super_wildmat_tilde(const char*, const char*) { return 0; }
int DoMatch(const char*, const char*) { return 0; }
