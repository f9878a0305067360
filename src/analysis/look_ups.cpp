#include "analysis/look_ups.h"

#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <ctime>

#include "sandbox/helper_process.h"

static constexpr std::int64_t kSecond = 1'000'000'000;
static constexpr std::int64_t kMillisecond = 1'000'000;

static HelperProcess mHelper;
static std::int64_t mTimeLeft = 0;  // nanoseconds

static std::int64_t Moment() {
  timespec now = {};
  clock_gettime(CLOCK_MONOTONIC, &now);
  return now.tv_sec * kSecond + now.tv_nsec;
}

void StartLookUps() {
  StartHelper(mHelper, ServeLookUps);
}

void LimitLookUps(int seconds) {
  mTimeLeft = seconds * kSecond;
}

bool LookUpsAreOver() {
  return mTimeLeft <= 0;
}

bool AskForName(const LookUpQuestion& question) {
  if (LookUpsAreOver() || !StartHelper(mHelper, ServeLookUps)) {
    return false;
  }
  iovec text{const_cast<LookUpQuestion*>(&question), sizeof question};
  msghdr message{};
  message.msg_iov = &text;
  message.msg_iovlen = 1;
  ssize_t sent = 0;
  do {
    sent = sendmsg(mHelper.socket, &message, MSG_NOSIGNAL);
  } while (sent < 0 && errno == EINTR);
  return sent == sizeof question;
}

static bool WaitForAnswer() {
  pollfd answer{mHelper.socket, POLLIN, 0};
  std::int64_t before = Moment();
  int ready = 0;
  do {
    ready = poll(&answer, 1, static_cast<int>(mTimeLeft / kMillisecond) + 1);
    const std::int64_t now = Moment();
    mTimeLeft -= now - before;
    before = now;
  } while (ready < 0 && errno == EINTR && !LookUpsAreOver());
  if (ready == 0) {
    mTimeLeft = 0;
  }
  return ready > 0;
}

bool NextAnswer(LookUpAnswer& answer) {
  if (LookUpsAreOver() || !WaitForAnswer()) {
    return false;
  }
  const ssize_t got = read(mHelper.socket, &answer, sizeof answer);
  return got == sizeof answer;
}

void StopLookUps() {
  StopHelper(mHelper);
}
