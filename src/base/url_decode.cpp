#include "base/url_decode.h"
#include <cstring>
size_t decode(char* text) { return text == nullptr ? 0 : strlen(text); }
