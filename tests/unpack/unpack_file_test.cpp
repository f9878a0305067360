#include "unpack/unpack_file.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include "unpack/packed.h"

namespace {

struct Unpacked {
  UnpackEnd end;
  std::string text;
};

// Takes all, or so many times.
struct TextTaker {
  std::vector<unsigned char> room;
  std::string text;
  int times = INT_MAX;
};

std::span<unsigned char> RoomOf(void* taker) {
  return static_cast<TextTaker*>(taker)->room;
}

bool Take(void* context, size_t filled) {
  TextTaker& taker = *static_cast<TextTaker*>(context);
  taker.text.append(taker.room.begin(), taker.room.begin() + static_cast<ptrdiff_t>(filled));
  std::fill(taker.room.begin(), taker.room.end(), '?');  // the room is another each time
  return --taker.times >= 0;
}

UnpackEnd UnpackTo(TextTaker& taker, const Codec& codec, const std::string& packed) {
  const int from = open(WriteFile("packed", packed).c_str(), O_RDONLY);
  const UnpackEnd end = UnpackFile(codec, from, {&taker, RoomOf, Take});
  close(from);
  return end;
}

Unpacked Unpack(const Codec& codec, const std::string& packed, size_t room = 65536) {
  TextTaker taker{.room = std::vector<unsigned char>(room), .text = {}};
  const UnpackEnd end = UnpackTo(taker, codec, packed);
  return {end, std::move(taker.text)};
}

// Each codec of the build whose library and tool are here.
class UnpackFileTest : public testing::TestWithParam<const Codec*> {
 protected:
  void SetUp() override {
    if (!HasTool(codec.format) || !codec.load()) {
      GTEST_SKIP() << "no tool or no library";
    }
  }
  std::string Packed(const std::string& text, const std::string& options = "") const {
    return Pack(codec.format, text, options);
  }
  void Expect(const std::string& packed, UnpackEnd end, const std::string& text) const {
    const Unpacked unpacked = Unpack(codec, packed);
    EXPECT_EQ(unpacked.end, end);
    EXPECT_TRUE(unpacked.text == text) << unpacked.text.size() << " bytes, not " << text.size();
  }
  const Codec& codec = *GetParam();
};

INSTANTIATE_TEST_SUITE_P(EachCodec, UnpackFileTest, testing::ValuesIn(Codecs().begin(), Codecs().end()),
                         [](const auto& tested) {
                           std::string name = tested.param->library;
                           return name.substr(0, name.find('.'));
                         });

TEST_P(UnpackFileTest, GivesBackWhatWasPacked) {
  const std::string text = RecordLines(30000);  // several buffers
  Expect(Packed(text), UnpackEnd::kWhole, text);
  Expect(Packed("a"), UnpackEnd::kWhole, "a");
  Expect(Packed(""), UnpackEnd::kWhole, "");
}

TEST_P(UnpackFileTest, IntoRoomOfAnySize) {
  const std::string text = RecordLines(1000);
  const std::string packed = Packed(text) + Packed("") + Packed("end\n");
  for (const size_t room : {1, 2, 7, 4095, 1 << 20}) {
    const Unpacked unpacked = Unpack(codec, packed, room);
    EXPECT_EQ(unpacked.end, UnpackEnd::kWhole) << room;
    EXPECT_TRUE(unpacked.text == text + "end\n") << room;
  }
}

TEST_P(UnpackFileTest, MembersFollowEachOther) {
  const std::string large = RecordLines(9000);
  Expect(Packed("one\n") + Packed("") + Packed(large) + Packed("") + Packed("three\n"), UnpackEnd::kWhole,
         "one\n" + large + "three\n");
}

// However the members lie to the buffers.
TEST_P(UnpackFileTest, ManySmallMembers) {
  std::string packed;
  std::string text;
  const std::string members[] = {Packed("a\n"), Packed(""), Packed(RecordLines(30)), Packed("zz\n")};
  const std::string texts[] = {"a\n", "", RecordLines(30), "zz\n"};
  for (size_t i = 0; packed.size() < 700'000; i = (i + 1) % 4) {
    packed += members[i];
    text += texts[i];
  }
  Expect(packed, UnpackEnd::kWhole, text);
}

TEST_P(UnpackFileTest, NulsMayFollow) {
  Expect(Packed("text\n") + std::string(1024, '\0'), UnpackEnd::kWhole, "text\n");
  Expect(Packed("text\n") + std::string(1024, '\0') + Packed("more\n"), UnpackEnd::kWhole, "text\nmore\n");
}

TEST_P(UnpackFileTest, GarbageBehindIsDamageBehindTheWholeText) {
  const std::string text = RecordLines(5000);
  Expect(Packed(text) + "garbage that is no member\n", UnpackEnd::kDamaged, text);
}

TEST_P(UnpackFileTest, WhatIsCutYieldsItsBeginning) {
  const std::string text = RecordLines(400);
  const std::string packed = Packed("first\n") + Packed(text);
  const size_t first = Packed("first\n").size();
  for (size_t size = 1; size < packed.size(); size += size < 200 || size + 60 > packed.size() ? 1 : 97) {
    const Unpacked cut = Unpack(codec, packed.substr(0, size));
    EXPECT_EQ(cut.end, size == first ? UnpackEnd::kWhole : UnpackEnd::kDamaged) << size;
    EXPECT_TRUE(("first\n" + text).starts_with(cut.text)) << size;
    EXPECT_TRUE(size < first || cut.text.starts_with("first\n")) << size;
  }
}

TEST_P(UnpackFileTest, WhatCameBeforeTheCutIsThere) {
  const std::string text = RecordLines(60000);
  const std::string packed = Packed(text);
  const Unpacked cut = Unpack(codec, packed.substr(0, packed.size() / 2));
  EXPECT_EQ(cut.end, UnpackEnd::kDamaged);
  EXPECT_TRUE(text.starts_with(cut.text));
  EXPECT_GT(cut.text.size(), text.size() / 4);
}

TEST_P(UnpackFileTest, DamageIsNoticed) {
  const std::string text = RecordLines(300);
  const std::string packed = Packed(text);
  int unnoticed = 0;
  for (size_t at = 0; at < packed.size(); at += 3) {
    std::string damaged = packed;
    damaged[at] = static_cast<char>(damaged[at] ^ (1 << at % 8));
    const Unpacked unpacked = Unpack(codec, damaged);
    // A time or a flag of the head that changes nothing may be another one.
    EXPECT_TRUE(unpacked.end != UnpackEnd::kWhole || unpacked.text == text) << "byte " << at;
    unnoticed += unpacked.end == UnpackEnd::kWhole ? 1 : 0;
  }
  EXPECT_LE(unnoticed, 10);
}

TEST_P(UnpackFileTest, SomethingElseIsDamage) {
  Expect("no packed file at all", UnpackEnd::kDamaged, "");
  Expect("", UnpackEnd::kWhole, "");
}

TEST_P(UnpackFileTest, EndsWhenNobodyTakesTheRest) {
  const std::string text = RecordLines(30000);
  TextTaker taker{.room = std::vector<unsigned char>(4096), .text = {}, .times = 2};
  EXPECT_EQ(UnpackTo(taker, codec, Packed(text)), UnpackEnd::kUnwanted);
  EXPECT_TRUE(text.starts_with(taker.text));
  EXPECT_EQ(taker.text.size(), 3 * 4096U);
}

TEST_P(UnpackFileTest, WhatCannotBeReadIsDamaged) {
  TextTaker taker{.room = std::vector<unsigned char>(1), .text = {}};
  EXPECT_EQ(UnpackFile(codec, open("/", O_RDONLY), {&taker, RoomOf, Take}), UnpackEnd::kDamaged);
}

// More than the 128 MiB that a format may look back takes memory that the file's author chooses.
TEST(UnpackFile, LimitsTheMemoryThatAFileAsksFor) {
  for (const Codec* const codec : Codecs()) {
    const bool xz = codec->format == PackFormat::kXz;
    if ((xz || codec->format == PackFormat::kZstd) && HasTool(codec->format) && codec->load()) {
      // Through a pipe the packer does not know how little there is.
      const std::string packed = NewPath("packed");
      const std::string options = xz ? " --lzma2=preset=0,dict=192MiB" : " -q --long=30";
      const std::string command = "head -c 10000000 /dev/zero | " + ToolOf(codec->format) + options + " -c >";
      ASSERT_EQ(system((command + packed).c_str()), 0);
      EXPECT_EQ(Unpack(*codec, ReadFile(packed)).end, UnpackEnd::kNoMemory) << codec->library;
    }
  }
}

}  // namespace
