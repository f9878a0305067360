#include "passwd/say.h"

#include <cstdarg>
#include <cstdio>

#include "base/text.h"

void Complain(const char* format, ...) {
  va_list arguments;
  va_start(arguments, format);
  fputs("orvellis-passwd: ", stderr);
  vfprintf(stderr, format, arguments);
  fputc('\n', stderr);
  va_end(arguments);
}

std::string Quoted(std::string_view text) {
  std::string visible(text);
  MakePrintable(visible.data());
  return "\"" + visible + "\"";
}
