// What functions of the outputs write.
#pragma once

#include <cstdio>
#include <cstdlib>
#include <string>

#include "output/sink.h"

template <typename Write>
std::string Written(Write write) {
  char* text = nullptr;
  size_t length = 0;
  Sink sink;
  sink.stream = open_memstream(&text, &length);
  write(sink);
  FlushSink(sink);
  fclose(sink.stream);
  std::string written(text, length);
  free(text);
  return written;
}
