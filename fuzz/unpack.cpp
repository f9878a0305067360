// The unpacking of files, whatever they hold. The first byte tells the codec; the rest is the file. The
// libraries themselves are not watched, only what calls them.
#include <sys/resource.h>

#include <csignal>

#include "support.h"
#include "unpack/unpack_file.h"

// A small input may become a very large text: nobody takes more of it than that.
static constexpr rlim_t kMostUnpacked = 4 << 20;

struct Unpacked {
  UnpackEnd end;
  std::string text;
};

static int NewFile() {
  const int file = memfd_create("unpack", MFD_CLOEXEC);
  REQUIRE(file >= 0);
  return file;
}

static std::string ContentOf(int file) {
  std::string text(static_cast<size_t>(lseek(file, 0, SEEK_END)), '\0');
  REQUIRE(pread(file, text.data(), text.size(), 0) == static_cast<ssize_t>(text.size()));
  return text;
}

static Unpacked Unpack(const Codec& codec, std::string_view packed) {
  const int from = NewFile();
  const int to = NewFile();
  REQUIRE(write(from, packed.data(), packed.size()) == static_cast<ssize_t>(packed.size()));
  lseek(from, 0, SEEK_SET);
  const UnpackEnd end = UnpackFile(codec, from, to);
  Unpacked unpacked{end, ContentOf(to)};
  close(from);
  close(to);
  return unpacked;
}

static void BoundFiles() {
  const rlimit limit{kMostUnpacked, kMostUnpacked};
  signal(SIGXFSZ, SIG_IGN);
  setrlimit(RLIMIT_FSIZE, &limit);
}

static void CheckTwice(const Codec& codec, const std::string& packed, const Unpacked& once) {
  const Unpacked padded = Unpack(codec, packed + std::string(300, '\0'));
  REQUIRE(padded.end == UnpackEnd::kWhole && padded.text == once.text);
  const Unpacked twice = Unpack(codec, packed + packed);
  REQUIRE(twice.end == UnpackEnd::kWhole ? twice.text == once.text + once.text
                                         : twice.end == UnpackEnd::kUnwanted);
}

static void CheckTheOthers(const Codec& codec, const std::string& packed, const Unpacked& unpacked) {
  for (const Codec* const other : Codecs()) {
    if (other->format == codec.format && other != &codec && other->load()) {
      const Unpacked second = Unpack(*other, packed);
      REQUIRE(second.end != UnpackEnd::kWhole || second.text == unpacked.text);
    }
  }
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  std::string_view input = AsText(data, size);
  const uint8_t which = TakeByte(input);
  if (Codecs().empty()) {
    return 0;
  }
  const Codec& codec = *Codecs()[which % Codecs().size()];
  if (!codec.load()) {
    return 0;
  }
  static const bool bounded = (BoundFiles(), true);
  REQUIRE(bounded && FormatOf(input) <= PackFormat::kBzip2);
  const std::string packed(input);
  const Unpacked unpacked = Unpack(codec, packed);
  REQUIRE(unpacked.end <= UnpackEnd::kUnwanted && unpacked.text.size() <= kMostUnpacked);
  if (unpacked.end == UnpackEnd::kWhole) {
    CheckTwice(codec, packed, unpacked);
    CheckTheOthers(codec, packed, unpacked);
  }
  return 0;
}
