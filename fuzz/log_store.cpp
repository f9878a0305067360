// What is kept of a log. The input is the whole entry of a log, or, where its first byte is odd, what is put
// into a sound one behind three times as many bytes as the second says: nothing but what was written is
// believed.
#include "superlog/log_store.h"

#include <fcntl.h>

#include "support.h"

static constexpr LogStamp kStamp{.device = 1,
                                 .inode = 2,
                                 .size = 300,
                                 .changed = 952000000,
                                 .changed_ns = 4,
                                 .described = 952000000,
                                 .described_ns = 5};

static KnownLog Known() {
  KnownLog log{.stamp = kStamp,
               .settled = true,
               .packed = false,
               .size = 300,
               .key = {{1, 2, 3, 4}},
               .hash = {5, 6},
               .bytes = 300,
               .first = {.lines = 0, .first = 3, .line = "no request", .nearest = {}, .reasons = {}},
               .blocks = {}};
  log.blocks.push_back({{7, 8}, 0, 1, 1, 10, 952000000, 952100000, {1}});
  log.blocks.push_back({{7, 9}, 200, 2, 1, 0, INT64_MAX, INT64_MIN, {}});
  return log;
}

static const std::string& Folder() {
  static const std::string folder = [] {
    char name[] = "/tmp/orvellis_store_XXXXXX";
    REQUIRE(mkdtemp(name) != nullptr);
    return std::string(name);
  }();
  return folder;
}

static std::string EntryPath() {
  return Folder() + "/00000000000000010000000000000002";
}

static void RemoveStore() {
  unlink(EntryPath().c_str());
  rmdir(Folder().c_str());
}

static void Fill(std::string_view content) {
  const int file = open(EntryPath().c_str(), O_WRONLY | O_TRUNC | O_CREAT, 0600);
  REQUIRE(file >= 0 && write(file, content.data(), content.size()) == static_cast<ssize_t>(content.size()));
  close(file);
}

static std::string SoundEntry() {
  unlink(EntryPath().c_str());
  Keep(Known());
  std::string content(4000, '\0');
  const int file = open(EntryPath().c_str(), O_RDONLY);
  const ssize_t size = read(file, content.data(), content.size());
  close(file);
  REQUIRE(size > 0);
  content.resize(static_cast<size_t>(size));
  return content;
}

int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  static const int registered = (Folder(), atexit(RemoveStore));  // the folder's name must live until then
  REQUIRE(registered == 0);
  OpenStore(Folder().c_str(), 77);
  const std::string sound = SoundEntry();
  std::string entry(AsText(data, size));
  if (size >= 2 && data[0] % 2 == 1) {
    const size_t place = std::min<size_t>(size_t{data[1]} * 3, sound.size());
    const size_t length = std::min(size - 2, sound.size() - place);
    entry = sound;
    entry.replace(place, length, AsText(data + 2, length));
  }
  Fill(entry);
  KnownLog log;
  const bool known = Recall(kStamp, log);
  REQUIRE(known == (entry == sound));
  REQUIRE(!known || log.blocks == Known().blocks);
  return 0;
}
