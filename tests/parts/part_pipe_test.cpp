#include "parts/part_pipe.h"

#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <string>
#include <thread>

namespace {

constexpr size_t kTexts = 40000;

// Each of another length, so that they end anywhere in what is read at once.
std::string TextOf(size_t number) {
  return std::string(number * 7919 % 97, static_cast<char>('a' + number % 26)) + std::to_string(number);
}

class PartPipeTest : public testing::Test {
 protected:
  PartPipeTest() { EXPECT_TRUE(OpenPartPipe(pipe_)); }
  ~PartPipeTest() override {
    CloseEnd(pipe_.from);
    CloseEnd(pipe_.to);
  }

  // Has what write writes come through the pipe while take takes it.
  template <typename Write, typename Take>
  void Send(Write write, Take take) {
    std::thread writer([&] {
      PartOutlet outlet{pipe_.to};
      PartWriter part;
      part.sink = SinkOf(outlet);
      write(part);
      FlushPart(part);
      EXPECT_TRUE(outlet.written);
      CloseEnd(pipe_.to);
    });
    PartInlet inlet{pipe_.from};
    PartReader part = ReaderOf(inlet);
    take(part);
    writer.join();
  }

  PartPipe pipe_;
};

}  // namespace

TEST_F(PartPipeTest, HandsOverMoreThanItHolds) {
  const auto write = [](PartWriter& part) {
    for (size_t i = 0; i < kTexts; ++i) {
      PutFigure(part, i);
      PutText(part, TextOf(i));
    }
  };
  Send(write, [](PartReader& part) {
    size_t same = 0;
    for (size_t i = 0; i < kTexts; ++i) {
      same += TakeFigure(part) == i && TakeText(part, 200) == TextOf(i);
    }
    EXPECT_EQ(same, kTexts);
    EXPECT_FALSE(part.damaged);
    EXPECT_EQ(TakeFigure(part), 0U);
    EXPECT_TRUE(part.damaged);  // there is no more
  });
}

TEST_F(PartPipeTest, HandsOverATextOfAnyLength) {
  const std::string text(3000001, 'x');
  Send([&](PartWriter& part) { PutText(part, text); },
       [&](PartReader& part) {
         EXPECT_EQ(TakeText(part, SIZE_MAX), text);
         EXPECT_FALSE(part.damaged);
       });
}

TEST_F(PartPipeTest, KeepsBytesInTheirPlaceThatWereAskedFor) {
  const auto write = [](PartWriter& part) {
    for (size_t i = 0; i < kTexts; ++i) {
      PutText(part, TextOf(i));
    }
  };
  Send(write, [](PartReader& part) {
    size_t same = 0;
    for (size_t i = 0; i < kTexts; i += 2) {
      FetchBytes(part, 220);
      const std::string_view first = TakeText(part, 200);
      const std::string_view second = TakeText(part, 200);
      same += first == TextOf(i) && second == TextOf(i + 1);
    }
    EXPECT_EQ(same, kTexts / 2);
  });
}

TEST_F(PartPipeTest, TellsWhatIsThere) {
  const auto write = [](PartWriter& part) { PutText(part, "some"); };
  Send(write, [](PartReader& part) {
    EXPECT_FALSE(AreBytesThere(part, 1));
    FetchBytes(part, 1);
    EXPECT_TRUE(AreBytesThere(part, 1));
    FetchBytes(part, 1000);
    EXPECT_TRUE(AreBytesThere(part, 1000));  // there are no others
    EXPECT_EQ(TakeText(part, 4), "some");
  });
}

TEST_F(PartPipeTest, EndsWithTheProcessThatWrites) {
  const pid_t writer = fork();
  if (writer == 0) {
    (void)!write(pipe_.to, "\x05so", 3);
    _exit(0);
  }
  CloseEnd(pipe_.to);
  PartInlet inlet{pipe_.from};
  PartReader part = ReaderOf(inlet);
  EXPECT_EQ(TakeText(part, 100), "");
  EXPECT_TRUE(part.damaged);
  EXPECT_EQ(waitpid(writer, nullptr, 0), writer);
}

TEST_F(PartPipeTest, TellsThatNobodyTakesIt) {
  const auto before = signal(SIGPIPE, SIG_IGN);
  CloseEnd(pipe_.from);
  PartOutlet outlet{pipe_.to};
  PartWriter part;
  part.sink = SinkOf(outlet);
  PutFigure(part, 1);
  FlushPart(part);
  EXPECT_FALSE(outlet.written);
  signal(SIGPIPE, before);
}

TEST(PartPipe, OfNoEndBringsNothing) {
  PartInlet inlet{-1};
  PartReader part = ReaderOf(inlet);
  EXPECT_EQ(TakeFigure(part), 0U);
  EXPECT_TRUE(part.damaged);
}
