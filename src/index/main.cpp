// orvellis-index FOLDER: makes the index of a folder of reports. orvellis-report calls it,
// and says what it says: one line, on standard output what was made, on standard error
// why nothing was.
#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstring>
#include <ctime>
#include <new>

#include "base/memory_end.h"
#include "dates/clock.h"
#include "index/index_file.h"
#include "index/index_page.h"
#include "index/report_folder.h"

enum ExitStatus { kDone = 0, kFailed = 2 };

// The path is told as it is: who shows it makes it harmless.
static ExitStatus FailWith(const char* what, const char* folder, const char* reason) {
  fprintf(stderr, "%s %s: %s\n", what, folder, reason);
  return kFailed;
}

static ExitStatus WriteIndex(int folder, const char* path) {
  FoundReports found;
  if (!FindReports(folder, found)) {
    return FailWith("cannot read the folder", path, strerror(errno));
  }
  std::FILE* const index = BeginIndex(folder);
  if (index == nullptr) {
    return FailWith("cannot write in the folder", path, strerror(errno));
  }
  Sink sink;
  sink.stream = index;
  PutIndexPage(sink, found, MomentMade(time(nullptr)));
  if (!FinishIndex(folder, index)) {
    return FailWith("cannot write the index of the folder", path, strerror(errno));
  }
  const size_t count = found.reports.size();
  printf("%s/%s: %zu %s\n", path, kIndexName, count, count == 1 ? "report" : "reports");
  return kDone;
}

static ExitStatus MakeIndex(const char* path) {
  const int folder = open(path, O_RDONLY | O_DIRECTORY | O_CLOEXEC);
  if (folder < 0) {
    return FailWith("cannot open the folder", path, strerror(errno));
  }
  WaitForTurn(folder);
  if (!IsIndexOurs(folder)) {
    return FailWith("cannot make the index of the folder", path,
                    "index.html is there and no index of reports; take it away, or name another folder");
  }
  const ExitStatus status = WriteIndex(folder, path);
  close(folder);
  return status;
}

int main(int argc, char** argv) {
  // A file that may not grow any more is a full disk, not a reason to die.
  signal(SIGXFSZ, SIG_IGN);
  std::set_new_handler(EndWithoutMemory);
  if (argc != 2) {
    fputs("orvellis-index takes a folder of reports, and is called by orvellis-report --index\n", stderr);
    return kFailed;
  }
  return MakeIndex(argv[1]);
}
