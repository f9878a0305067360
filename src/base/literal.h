// Texts that stand in the program itself.
#pragma once

#include <cstddef>
#include <string_view>

// Only a literal makes one, so that no text of a log, a request or a file can take its place.
class Literal {
 public:
  template <size_t N>
  consteval Literal(const char (&text)[N]) : mText(text, N - 1) {}

  constexpr std::string_view text() const { return mText; }

 private:
  std::string_view mText;
};
