// The unpacking of files, whatever they hold. The first byte tells the codec; the rest is the file. The
// libraries themselves are not watched, only what calls them.
#include "support.h"
#include "unpack/unpack_file.h"

// A small input may become a very large text: nobody takes more of it than that.
static constexpr size_t kMostUnpacked = 4 << 20;

struct Unpacked {
  UnpackEnd end;
  std::string text;
};

static int NewFile() {
  const int file = memfd_create("unpack", MFD_CLOEXEC);
  REQUIRE(file >= 0);
  return file;
}

static unsigned char mRoom[size_t{64} * 1024];

static std::span<unsigned char> RoomOf(void* /*text*/) {
  return mRoom;
}

static bool Take(void* context, size_t filled) {
  std::string& text = *static_cast<std::string*>(context);
  REQUIRE(filled <= sizeof mRoom);
  text.append(mRoom, mRoom + std::min(filled, kMostUnpacked - text.size()));
  return filled == 0 || text.size() < kMostUnpacked;
}

static Unpacked Unpack(const Codec& codec, std::string_view packed) {
  const int from = NewFile();
  REQUIRE(write(from, packed.data(), packed.size()) == static_cast<ssize_t>(packed.size()));
  lseek(from, 0, SEEK_SET);
  Unpacked unpacked{};
  unpacked.end = UnpackFile(codec, from, {&unpacked.text, RoomOf, Take});
  close(from);
  return unpacked;
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
  REQUIRE(FormatOf(input) <= PackFormat::kBzip2);
  const std::string packed(input);
  const Unpacked unpacked = Unpack(codec, packed);
  REQUIRE(unpacked.end <= UnpackEnd::kUnwanted && unpacked.text.size() <= kMostUnpacked);
  if (unpacked.end == UnpackEnd::kWhole) {
    CheckTwice(codec, packed, unpacked);
    CheckTheOthers(codec, packed, unpacked);
  }
  return 0;
}
