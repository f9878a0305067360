#include "parts/piece_token.h"

#include <algorithm>
#include <charconv>
#include <cinttypes>
#include <cstdio>

#include "base/crc64.h"
#include "base/text.h"
#include "superlog/line_reader.h"

// ---- Writing ----

static void BeginField(std::string& token, std::string_view name) {
  token += ' ';
  token += name;
  token += '=';
}

static void AddPath(std::string& token, std::string_view name, std::string_view path) {
  static constexpr char kDigits[] = "0123456789ABCDEF";
  BeginField(token, name);
  for (const char c : path) {
    const auto byte = static_cast<unsigned char>(c);
    if (byte > ' ' && byte < 0x7f && c != '%') {
      token += c;
    } else {
      token += {'%', kDigits[byte >> 4], kDigits[byte & 15]};
    }
  }
}

static std::string WithPlace(const LogCopy& copy) {
  return std::to_string(copy.place) + ":" + copy.path;
}

template <class Figure>
static void AddFigure(std::string& token, std::string_view name, Figure figure) {
  BeginField(token, name);
  token += std::to_string(figure);
}

static void AddHash(std::string& token, std::string_view name, uint64_t hash) {
  char digits[17];
  snprintf(digits, sizeof digits, "%016" PRIx64, hash);
  BeginField(token, name);
  token += digits;
}

static constexpr std::string_view kCheck = " check=";

void AddCheck(std::string& token) {
  AddHash(token, kCheck.substr(1, kCheck.size() - 2), AddToCrc64(0, token.data(), token.size()));
}

std::string TokenOf(const LogPiece& piece) {
  std::string token = std::to_string(piece.number + 1) + "/" + std::to_string(piece.count);
  AddHash(token, "plan", piece.plan);
  if (piece.of != 0) {
    AddHash(token, "of", piece.of);
  }
  AddFigure(token, "place", piece.place);
  AddPath(token, "log", piece.path);
  AddFigure(token, "size", piece.size);
  AddFigure(token, "first", piece.first);
  AddFigure(token, "last", piece.last);
  AddHash(token, "proof", piece.proof);
  AddFigure(token, "before", piece.before);
  AddFigure(token, "from", piece.from);
  AddFigure(token, "lead", piece.lead);
  if (piece.to != kNoStop) {
    AddFigure(token, "to", piece.to);
  }
  for (const LogCopy& copy : piece.copies) {
    AddPath(token, "copy", WithPlace(copy));
  }
  for (const std::string& path : piece.unopened) {
    AddPath(token, "unopened", path);
  }
  AddCheck(token);
  return token;
}

// ---- Reading ----

static bool ReadFigure(std::string_view text, int64_t& figure) {
  const char* const end = text.data() + text.size();
  const auto read = std::from_chars(text.data(), end, figure);
  return read.ec == std::errc{} && read.ptr == end;
}

static bool ReadDigits(std::string_view text, int base, uint64_t& figure) {
  const char* const end = text.data() + text.size();
  const auto read = std::from_chars(text.data(), end, figure, base);
  return read.ec == std::errc{} && read.ptr == end;
}

static bool ReadPath(std::string_view text, std::string& path) {
  path.clear();
  for (size_t i = 0; i < text.size(); ++i) {
    uint64_t byte = static_cast<unsigned char>(text[i]);
    if (text[i] == '%') {
      if (!ReadDigits(text.substr(i + 1, 2), 16, byte) || i + 2 >= text.size()) {
        return false;
      }
      i += 2;
    }
    if (byte == 0) {
      return false;
    }
    path += static_cast<char>(byte);
  }
  return path.size() < kPathSize;
}

static bool ReadNumbers(std::string_view text, LogPiece& piece) {
  const size_t slash = text.find('/');
  const bool read = slash != std::string_view::npos && ReadDigits(text.substr(0, slash), 10, piece.number) &&
                    ReadDigits(text.substr(slash + 1), 10, piece.count);
  return read && piece.number-- > 0 && piece.number < piece.count;
}

template <auto kFigure>
static bool Read(std::string_view text, LogPiece& piece) {
  return ReadFigure(text, piece.*kFigure);
}

static bool ReadSize(std::string_view text, LogPiece& piece) {
  return ReadDigits(text, 10, piece.size);
}

template <auto kHash>
static bool ReadHash(std::string_view text, LogPiece& piece) {
  return ReadDigits(text, 16, piece.*kHash);
}

static bool ReadLog(std::string_view text, LogPiece& piece) {
  return ReadPath(text, piece.path);
}

static bool ReadCopy(std::string_view text, LogPiece& piece) {
  const size_t colon = std::min(text.find(':'), text.size());
  LogCopy& copy = piece.copies.emplace_back();
  return colon < text.size() && ReadDigits(text.substr(0, colon), 10, copy.place) &&
         ReadPath(text.substr(colon + 1), copy.path);
}

static bool ReadPlace(std::string_view text, LogPiece& piece) {
  return ReadDigits(text, 10, piece.place);
}

static bool ReadUnopened(std::string_view text, LogPiece& piece) {
  return ReadPath(text, piece.unopened.emplace_back());
}

static constexpr struct {
  std::string_view name;
  bool (*read)(std::string_view text, LogPiece& piece);
} kFields[] = {
    {"plan", ReadHash<&LogPiece::plan>},
    {"of", ReadHash<&LogPiece::of>},
    {"place", ReadPlace},
    {"log", ReadLog},
    {"size", ReadSize},
    {"first", Read<&LogPiece::first>},
    {"last", Read<&LogPiece::last>},
    {"proof", ReadHash<&LogPiece::proof>},
    {"before", Read<&LogPiece::before>},
    {"from", Read<&LogPiece::from>},
    {"lead", Read<&LogPiece::lead>},
    {"to", Read<&LogPiece::to>},
    {"copy", ReadCopy},
    {"unopened", ReadUnopened},
};

static bool ReadField(std::string_view field, LogPiece& piece) {
  const size_t equals = field.find('=');
  for (const auto& known : kFields) {
    if (equals != std::string_view::npos && field.substr(0, equals) == known.name) {
      return known.read(field.substr(equals + 1), piece);
    }
  }
  return false;
}

static constexpr int64_t kFarthest = int64_t{1} << 62;  // no log is as large

// Takes the checksum off the end; false when there is none that holds.
static bool TakeCheck(std::string_view& token) {
  const size_t begin = std::min(token.rfind(kCheck), token.size());
  std::string checked(token.substr(0, begin));
  AddCheck(checked);
  const bool holds = checked == token;
  token = token.substr(0, begin);
  return holds;
}

bool ReadToken(std::string_view token, LogPiece& piece) {
  piece = {};
  if (token.size() > kLongestToken || !TakeCheck(token)) {
    return false;
  }
  const size_t numbers = std::min(token.find(' '), token.size());
  bool read = ReadNumbers(token.substr(0, numbers), piece);
  for (size_t begin = numbers + 1; read && begin <= token.size();) {
    const size_t end = std::min(token.find(' ', begin), token.size());
    read = ReadField(token.substr(begin, end - begin), piece);
    begin = end + 1;
  }
  return read && piece.size < kFarthest && piece.lead >= 0 && piece.lead <= piece.from &&
         piece.from < std::min(piece.to, kFarthest);
}
