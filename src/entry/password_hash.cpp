#include "entry/password_hash.h"

#include <crypt.h>

#include <algorithm>

// How the hashes of a kind begin, and how many characters follow the last "$".
struct KindRow {
  std::string_view prefix;
  size_t characters;
};

static constexpr KindRow kKinds[] = {
    {"$y$", 43}, {"$gy$", 43}, {"$7$", 43}, {"$2b$", 53}, {"$2y$", 53}, {"$6$", 86}, {"$5$", 43}, {"$1$", 22},
};

static bool IsHashCharacter(char c) {
  return IsLetterAscii(c) || IsDigitAscii(c) || c == '.' || c == '/';
}

static bool IsOfKind(std::string_view stored, const KindRow& kind) {
  const std::string_view end = stored.substr(stored.rfind('$') + 1);
  return stored.starts_with(kind.prefix) && end.size() == kind.characters &&
         std::all_of(end.begin(), end.end(), IsHashCharacter);
}

HashKind KindOfHash(std::string_view stored) {
  if (stored.empty() || stored == "*" || stored == "!") {
    return HashKind::kNone;
  }
  const bool hash = std::any_of(std::begin(kKinds), std::end(kKinds),
                                [stored](const KindRow& kind) { return IsOfKind(stored, kind); });
  return hash ? HashKind::kHash : HashKind::kPlain;
}

// How long they are is no secret, the kind tells it.
static bool EqualInConstantTime(std::string_view a, std::string_view b) {
  if (a.size() != b.size()) {
    return false;
  }
  unsigned difference = 0;
  for (size_t i = 0; i < a.size(); ++i) {
    difference |= static_cast<unsigned char>(a[i]) ^ static_cast<unsigned char>(b[i]);
  }
  return difference == 0;
}

bool PasswordMatches(const char* typed, const char* stored) {
  if (KindOfHash(stored) != HashKind::kHash) {
    return false;
  }
  const char* const hashed = crypt(typed, stored);
  return hashed != nullptr && EqualInConstantTime(hashed, stored);
}

void SpendHashTime(const char* typed) {
  static constexpr char kSalt[] = "as long as any kind of hash may ask for";
  const char* const setting = crypt_gensalt(nullptr, 0, kSalt, sizeof kSalt - 1);
  if (setting != nullptr) {
    crypt(typed, setting);
  }
}

bool MakeHash(const char* password, char (&hash)[kHashSize]) {
  const char* const setting = crypt_gensalt(nullptr, 0, nullptr, 0);
  const char* const hashed = setting == nullptr ? nullptr : crypt(password, setting);
  if (hashed == nullptr || KindOfHash(hashed) != HashKind::kHash) {
    return false;
  }
  return CopyText(hash, hashed) == std::string_view(hashed).size();
}
