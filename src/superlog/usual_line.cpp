#include "superlog/usual_line.h"

#include <algorithm>
#include <bit>

#include "superlog/byte_scan.h"
#include "superlog/digits.h"
#include "superlog/log_dates.h"
#include "superlog/log_limits.h"

UsualLayout UsualLayoutOf(std::string_view letters) {
  constexpr std::string_view kLetters = "hmw1qrcfa";
  static constexpr std::string_view kNeeded = "1qrc";
  const auto fits = [](char letter, char usual) {
    return letter == usual || (letter == '?' && kNeeded.find(usual) == std::string_view::npos);
  };
  if (letters.size() < 7 || letters.size() > kLetters.size() ||
      !std::equal(letters.begin(), letters.end(), kLetters.begin(), fits)) {
    return {};
  }
  const auto asked = [&](char letter) { return letters.find(letter) != std::string_view::npos; };
  return {true, letters.size() > 7, asked('h'), asked('m'), asked('w'), asked('f'), asked('a')};
}

// Whether a field that begins so ends at the next blank.
static bool IsPlain(char first) {
  return first != '[' && first != '\'' && first != '"';
}

template <bool kEscapes>
static bool MayEnd(std::string_view field) {
  const char* const end = field.data() + field.size();
  return field.size() <= mLogLimits.item && (!kEscapes || end[-1] != '\\');
}

// A text that somebody asks for, and that says something.
static std::string_view Asked(bool asked, std::string_view text) {
  const bool says = text.size() > 1 || (text.size() == 1 && text[0] != '-');
  return asked && says ? text : std::string_view{};
}

static std::string_view Between(const char* begin, const char* end) {
  return {begin, static_cast<size_t>(end - begin)};
}

// "realm user", of which nearly all lines have neither.
static bool ReadNames(std::string_view names, const UsualLayout& layout, SuperLogRecord& record) {
  record.realm = record.user = {};
  if (names == "- -") {
    return true;
  }
  const size_t blank = names.find(' ');
  if (blank == std::string_view::npos) {
    return false;
  }
  const std::string_view realm = names.substr(0, blank);
  const std::string_view user = names.substr(blank + 1);
  record.realm = Asked(layout.realm, realm);
  record.user = Asked(layout.user, user);
  return IsPlain(*realm.data()) && IsPlain(*user.data()) && user.find(' ') == std::string_view::npos;
}

// host realm user [date] "
static bool ReadBegin(const char* line, const char* quote, const UsualLayout& layout,
                      SuperLogRecord& record) {
  constexpr ptrdiff_t kDate = std::string_view(" [05/Mar/2000:07:06:11 +0000] ").size();
  const char* const blank = FindEither(line, quote, ' ', ' ');
  const char* const date = quote - kDate;
  if (date - blank < 2 || static_cast<size_t>(date - line) > mLogLimits.item || date[0] != ' ' ||
      date[1] != '[' || quote[-2] != ']' || quote[-1] != ' ' || !IsPlain(line[0])) {
    return false;
  }
  record.host = layout.host ? Between(line, blank) : std::string_view{};
  return ReadNames(Between(blank + 1, date), layout, record) &&
         ReadInLastHour(Between(date + 2, quote - 2), record.local, record.time);
}

// " 200 17" or " 200 17 "
static bool ReadFigures(const char* begin, const char* end, SuperLogRecord& record) {
  constexpr size_t kStatus = 3;
  const char* const bytes = begin + kStatus + 2;
  const auto length = static_cast<size_t>(end - bytes);
  if (length - 1 >= 8 || begin[0] != ' ' || bytes[-1] != ' ') {
    return false;
  }
  const uint64_t status_word = DigitWord(begin + 1, kStatus);
  const uint64_t bytes_word = DigitWord(bytes, length);
  record.status = NumberOfDigits(status_word);
  record.bytes = NumberOfDigits(bytes_word);
  return AreDigits(status_word) && AreDigits(bytes_word);
}

//  "referrer" "agent"
template <bool kEscapes>
static bool ReadLonger(const LineQuotes& quotes, const char* end, const UsualLayout& layout,
                       SuperLogRecord& record) {
  const char* const buffer = quotes.buffer;
  const char* const referrer = buffer + quotes.begin[2];
  const char* const behind = buffer + quotes.begin[3];
  const char* const agent = buffer + quotes.begin[4];
  const char* const last = buffer + quotes.begin[5];
  const std::string_view texts[] = {Between(referrer + 1, behind), Between(agent + 1, last)};
  record.referrer = Asked(layout.referrer, texts[0]);
  record.agent = Asked(layout.agent, texts[1]);
  return last == end - 1 && agent == behind + 2 && referrer[-1] == ' ' && behind[1] == ' ' &&
         MayEnd<kEscapes>(texts[0]) && MayEnd<kEscapes>(texts[1]);
}

template <bool kEscapes>
bool ReadUsualLine(const char* line, const char* end, const LineQuotes& quotes, const UsualLayout& layout,
                   SuperLogRecord& record) {
  const ptrdiff_t count = quotes.end - quotes.begin;
  const bool longer = count == 6;
  if (!longer && (count != 2 || layout.longer)) {
    return false;
  }
  const char* const request = quotes.buffer + quotes.begin[0];
  const char* const behind = quotes.buffer + quotes.begin[1];
  const char* const figures_end = longer ? quotes.buffer + quotes.begin[2] - 1 : end;
  record.url = Between(request + 1, behind);
  if (!longer) {
    record.referrer = record.agent = {};
  } else if (!ReadLonger<kEscapes>(quotes, end, layout, record)) {
    return false;
  }
  return MayEnd<kEscapes>(record.url) && ReadFigures(behind + 1, figures_end, record) &&
         ReadBegin(line, request, layout, record);
}

template bool ReadUsualLine<false>(const char* line, const char* end, const LineQuotes& quotes,
                                   const UsualLayout& layout, SuperLogRecord& record);
template bool ReadUsualLine<true>(const char* line, const char* end, const LineQuotes& quotes,
                                  const UsualLayout& layout, SuperLogRecord& record);
