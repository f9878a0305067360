#include "output/sink.h"

#include <charconv>
#include <cmath>
#include <cstring>

void FlushSink(Sink& sink) {
  fwrite(sink.piece, 1, sink.used, sink.stream);
  sink.used = 0;
}

void PutChecked(Sink& sink, std::string_view text) {
  while (text.size() > sizeof sink.piece - sink.used) {
    const size_t room = sizeof sink.piece - sink.used;
    memcpy(sink.piece + sink.used, text.data(), room);
    sink.used += room;
    text.remove_prefix(room);
    FlushSink(sink);
  }
  if (!text.empty()) {
    memcpy(sink.piece + sink.used, text.data(), text.size());
    sink.used += text.size();
  }
}

void Put(Sink& sink, const Literal& text) {
  PutChecked(sink, text.text());
}

// Room for the 20 characters of the least number.
static constexpr size_t kNumberSize = 24;

template <typename Number>
static std::string_view Digits(Number number, char (&text)[kNumberSize]) {
  return {text, std::to_chars(text, text + kNumberSize, number).ptr};
}

void PutNumber(Sink& sink, int64_t number) {
  char text[kNumberSize];
  PutChecked(sink, Digits(number, text));
}

void PutSize(Sink& sink, uint64_t number) {
  char text[kNumberSize];
  PutChecked(sink, Digits(number, text));
}

void PutGrouped(Sink& sink, int64_t number) {
  char text[kNumberSize];
  std::string_view digits = Digits(number, text);
  if (number < 0) {
    PutChecked(sink, digits.substr(0, 1));
    digits.remove_prefix(1);
  }
  size_t first = (digits.size() - 1) % 3 + 1;
  PutChecked(sink, digits.substr(0, first));
  for (; first < digits.size(); first += 3) {
    PutChecked(sink, ",");
    PutChecked(sink, digits.substr(first, 3));
  }
}

// snprintf, because std::to_chars of a fraction needs the mathematical library.
void PutDecimal(Sink& sink, double number, int digits) {
  char text[kNumberSize + 16];
  const double shown = std::isfinite(number) && std::fabs(number) < 1e15 ? number : 0.0;
  const int length = snprintf(text, sizeof text, "%.*f", digits, shown);
  PutChecked(sink, {text, static_cast<size_t>(length)});
}

bool PutChange(Sink& sink, int64_t now, int64_t before) {
  if (now == before || before == 0) {
    PutChecked(sink, now == before ? "as before" : "none before");
    return false;
  }
  const double times = static_cast<double>(now) / static_cast<double>(before);
  if (times >= 10) {
    PutDecimal(sink, times, 1);
    PutChecked(sink, " times");
  } else {
    PutChecked(sink, now > before ? "+" : "-");
    PutDecimal(sink, std::fabs(times - 1) * 100, 1);
    PutChecked(sink, " %");
  }
  return true;
}

void PutPadded(Sink& sink, int number, int digits) {
  char text[kNumberSize];
  const std::string_view written = Digits(number, text);
  for (int missing = digits - static_cast<int>(written.size()); missing > 0; --missing) {
    PutChecked(sink, "0");
  }
  PutChecked(sink, written);
}
