#include "parts/part_pipe.h"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>

#include "superlog/byte_scan.h"

// Few turns from one process to the other, and what is written still lies in a cache when it is taken.
static constexpr size_t kRoom = 256 << 10;

bool OpenPartPipe(PartPipe& pipe) {
  int ends[2];
  if (pipe2(ends, O_CLOEXEC) != 0) {
    return false;
  }
  fcntl(ends[1], F_SETPIPE_SZ, static_cast<int>(kRoom));  // a smaller one does, too
  pipe = {ends[0], ends[1]};
  return true;
}

void CloseEnd(int& end) {
  if (end >= 0) {
    close(end);
    end = -1;
  }
}

// 0 at the end of the part, or when it cannot be read.
static size_t ReadSome(int from, char* bytes, size_t size) {
  ssize_t n = 0;
  do {
    n = read(from, bytes, size);
  } while (n < 0 && errno == EINTR);
  return n < 0 ? 0 : static_cast<size_t>(n);
}

static void Fetch(void* context, PartReader& part, size_t size) {
  PartInlet& inlet = *static_cast<PartInlet*>(context);
  auto there = static_cast<size_t>(part.end - part.next);
  std::vector<char> larger(size + kScanOverread > inlet.room.size() ? 2 * size + kRoom : 0);
  char* const room = larger.empty() ? inlet.room.data() : larger.data();
  memmove(room, part.next, there);
  if (!larger.empty()) {
    inlet.room.swap(larger);
  }
  while (there < size && part.source.fetch != nullptr) {
    const size_t more = ReadSome(inlet.from, room + there, inlet.room.size() - kScanOverread - there);
    part.source = more == 0 ? PartSource{} : part.source;
    there += more;
  }
  part.next = room;
  part.end = room + there;
}

PartReader ReaderOf(PartInlet& inlet) {
  inlet.room.resize(kRoom);
  return {inlet.room.data(), inlet.room.data(), false, {&inlet, Fetch}};
}

static void WriteAll(void* context, const char* bytes, size_t size) {
  PartOutlet& outlet = *static_cast<PartOutlet*>(context);
  while (outlet.written && size > 0) {
    const ssize_t n = write(outlet.to, bytes, size);
    outlet.written = n > 0 || (n < 0 && errno == EINTR);
    bytes += n > 0 ? n : 0;
    size -= static_cast<size_t>(n > 0 ? n : 0);
  }
}

PartSink SinkOf(PartOutlet& outlet) {
  return {&outlet, WriteAll};
}
