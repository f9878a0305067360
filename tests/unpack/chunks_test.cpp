#include "unpack/chunks.h"

#include <gtest/gtest.h>
#include <sys/ioctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <cstdint>
#include <cstring>
#include <string>

namespace {

class ChunksTest : public testing::Test {
 protected:
  void SetUp() override {
    memory = MapChunks();
    ASSERT_NE(memory, nullptr);
    ASSERT_TRUE(OpenNotes(ends));
    reader = {.memory = memory, .notes = ends[0]};
  }
  void TearDown() override {
    close(ends[0]);
    CloseWriting();
    UnmapChunks(memory);
  }
  void CloseWriting() {
    if (ends[1] >= 0) {
      close(ends[1]);
    }
    ends[1] = -1;
  }
  ChunkWriter Writer() const { return {memory, ends[1], 0}; }

  // Runs what writes, as a process of its own, and leaves it alone to write.
  template <typename Write>
  void Start(Write write) {
    writer = fork();
    if (writer == 0) {
      close(ends[0]);
      signal(SIGPIPE, SIG_IGN);
      _exit(write());
    }
    CloseWriting();
  }
  int StatusOfWriter() const {
    int status = 0;
    return waitpid(writer, &status, 0) == writer && WIFEXITED(status) ? WEXITSTATUS(status) : -1;
  }
  // A note as somebody may write it, of a chunk full of "x".
  void WriteNote(size_t filled, size_t size = kNoteSize) {
    std::string note(size, '\0');
    memcpy(note.data(), &filled, std::min(size, sizeof filled));
    memset(memory, 'x', kChunks * kChunkSize);
    ASSERT_EQ(write(ends[1], note.data(), size), static_cast<ssize_t>(size));
  }
  std::string Read(size_t size) {
    std::string text(size, '\0');
    text.resize(ReadChunks(reader, text.data(), size));
    return text;
  }

  unsigned char* memory = nullptr;
  int ends[2] = {-1, -1};
  ChunkReader reader;
  pid_t writer = -1;
};

// How the chunk of each turn is filled: more and less, and now and then to its end.
size_t FilledOf(unsigned turn) {
  return turn % 5 == 0 ? kChunkSize : 1 + turn * 7919 % kChunkSize;
}

char ByteOf(unsigned turn) {
  return static_cast<char>('A' + turn % 61);
}

int WriteTurns(ChunkWriter writer, unsigned turns) {
  for (unsigned turn = 0; turn < turns; ++turn) {
    memset(RoomOf(writer).data(), ByteOf(turn), FilledOf(turn));
    if (!Tell(writer, FilledOf(turn))) {
      return 1;
    }
  }
  return 0;
}

std::string TextOfTurns(unsigned turns) {
  std::string text;
  for (unsigned turn = 0; turn < turns; ++turn) {
    text += std::string(FilledOf(turn), ByteOf(turn));
  }
  return text;
}

constexpr unsigned kTurns = 5 * kChunks;

TEST_F(ChunksTest, BytesComeInTheirOrder) {
  Start([this] { return WriteTurns(Writer(), kTurns); });
  std::string text;
  for (size_t size = 1; text.empty() || size > 0;) {
    const std::string piece = Read(1 + text.size() % 70'001);
    text += piece;
    size = piece.size();
  }
  EXPECT_TRUE(text == TextOfTurns(kTurns));
  EXPECT_FALSE(reader.broken);
  EXPECT_EQ(StatusOfWriter(), 0);
}

TEST_F(ChunksTest, WhoWritesWaitsForWhoReads) {
  Start([this] { return WriteTurns(Writer(), kTurns); });
  int unread = 0;
  while (unread < static_cast<int>(kNotes * kNoteSize)) {
    ASSERT_EQ(ioctl(ends[0], FIONREAD, &unread), 0);
    usleep(1000);
  }
  usleep(20'000);  // in which it would write over what is not read
  const std::string text = TextOfTurns(kTurns);
  const size_t first = FilledOf(0) + 1;  // the second chunk is being read
  EXPECT_TRUE(Read(first) == text.substr(0, first));
  usleep(20'000);
  EXPECT_TRUE(Read(text.size()) == text.substr(first));
  EXPECT_EQ(StatusOfWriter(), 0);
}

TEST_F(ChunksTest, NothingIsNothingToTell) {
  ChunkWriter writer_here = Writer();
  memset(RoomOf(writer_here).data(), 'a', 2);
  EXPECT_TRUE(Tell(writer_here, 0));
  EXPECT_TRUE(Tell(writer_here, 2));
  CloseWriting();
  EXPECT_EQ(Read(10), "aa");
  EXPECT_EQ(Read(10), "");
  EXPECT_FALSE(reader.broken);
}

TEST_F(ChunksTest, AWriterThatDiesLeavesWhatItTold) {
  Start([this] {
    WriteTurns(Writer(), 3);
    return raise(SIGKILL);
  });
  EXPECT_TRUE(Read(10 * kChunkSize) == TextOfTurns(3));
  EXPECT_EQ(Read(1), "");
  EXPECT_FALSE(reader.broken);
  StatusOfWriter();
}

TEST_F(ChunksTest, AWriterEndsWhenNobodyReads) {
  Start([this] { return WriteTurns(Writer(), kTurns); });
  EXPECT_EQ(Read(1).size(), 1U);
  close(ends[0]);
  EXPECT_EQ(StatusOfWriter(), 1);
  ends[0] = dup(0);
}

TEST_F(ChunksTest, NothingIsReadBehindANoteThatCannotBe) {
  for (const size_t filled : {kChunkSize + 1, size_t{0}, SIZE_MAX, kChunks * kChunkSize}) {
    reader = {.memory = memory, .notes = ends[0]};
    WriteNote(3);
    WriteNote(filled);
    EXPECT_EQ(Read(10), "xxx") << filled;
    EXPECT_TRUE(reader.broken) << filled;
    WriteNote(4);
    EXPECT_EQ(Read(10), "") << filled;
    WriteNote(1);
    reader = {.memory = memory, .notes = ends[0]};
    EXPECT_EQ(Read(5), "xxxxx") << "the pipe goes on where it was";
  }
}

TEST_F(ChunksTest, ACutNoteIsNone) {
  WriteNote(3);
  WriteNote(5, kNoteSize - 1);
  CloseWriting();
  EXPECT_EQ(Read(10), "xxx");
  EXPECT_TRUE(reader.broken);
}

TEST_F(ChunksTest, LaterProcessesHaveNoneOfWhatIsKept) {
  const auto touches = [this] {
    const pid_t other = fork();
    if (other == 0) {
      signal(SIGSEGV, SIG_DFL);
      memory[0] = 'y';
      _exit(0);
    }
    int status = 0;
    waitpid(other, &status, 0);
    return WIFEXITED(status) && WEXITSTATUS(status) == 0;
  };
  EXPECT_TRUE(touches());
  EXPECT_EQ(memory[0], 'y');
  KeepChunks(memory);
  memory[0] = 'x';
  EXPECT_FALSE(touches());
  EXPECT_EQ(memory[0], 'x');
}

}  // namespace
