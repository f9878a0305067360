// A program of the build: writes the page of the request form that an installation serves.
//
//   make_request_form FILE
#include "output/request_form.h"

int main(int argc, char** argv) {
  std::FILE* const file = argc == 2 ? std::fopen(argv[1], "w") : nullptr;
  if (file == nullptr) {
    return 1;
  }
  Sink sink;
  sink.stream = file;
  PutSiteForm(sink);
  FlushSink(sink);
  const bool failed = std::ferror(file) != 0;
  return std::fclose(file) != 0 || failed ? 1 : 0;
}
