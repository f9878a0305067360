// The wildcard matcher in its plain form: recursion over NUL-terminated texts,
// without a bound on its work but a limit at which it gives up.
#pragma once

#include <cstdint>

class PlainMatcher {
 public:
  long limit = 300000;
  int64_t open = 0;
  long steps = 0;
  bool gave_up() const { return steps > limit; }

  int Match(const char* t, const char* p) {
    for (; !gave_up(); ++t, ++p) {
      ++steps;
      if (*p == '\0') {
        return *t == '\0';
      }
      if (*p == ')') {
        if (open == 0) {
          return -1;
        }
        while (*p == ')') {
          ++p;
        }
        if (*p == '\0') {
          return *t == '\0';
        }
      }
      if (*p == '|') {
        if (open == 0) {
          return -1;
        }
        p = SkipGroup(p);
        if (*p == '\0') {
          return *t == '\0';
        }
      }
      if (*t == '\0' && *p != '*' && *p != '(') {
        return -1;
      }
      switch (*p) {
        case '?':
          break;
        case '*':
          return Star(t, p);
        case '[':
          if (!Set(*t, p)) {
            return 0;
          }
          break;
        case '(':
          return Group(t, p);
        case '\\':
          ++p;
          [[fallthrough]];
        default:
          if (*p != *t) {
            return 0;
          }
      }
    }
    return 1;
  }

 private:
  static const char* SkipGroup(const char* p) {
    while (*p == '|') {
      int depth = 1;
      for (++p; *p != '\0' && depth > 0; ++p) {
        depth += (*p == '(') - (*p == ')');
      }
      while (*p == ')') {
        ++p;
      }
    }
    return p;
  }

  int Star(const char* t, const char* p) {
    while (*p == '*') {
      ++p;
    }
    if (*p == '\0') {
      return 1;
    }
    for (;; ++t) {
      if (const int result = Match(t, p); result != 0 || gave_up()) {
        return result;
      }
      if (*t == '\0') {
        return -1;
      }
    }
  }

  int Group(const char* t, const char* p) {
    ++open;
    for (++p; !gave_up(); ++p) {
      if (Match(t, p) == 1) {
        return 1;
      }
      for (int depth = 1; depth > 1 || *p != '|'; ++p) {
        if (*p == '\0') {
          return -1;
        }
        depth += (*p == '(') - (*p == ')');
        if (depth == 0) {
          --open;
          return 0;
        }
      }
    }
    return 1;
  }

  // Leaves p at the closing "]".
  static bool Set(char c, const char*& p) {
    bool member = false;
    const bool negated = p[1] == '^';
    p += negated;
    const char* const first = p + 1;
    for (++p; p == first || *p != ']'; ++p) {
      if (*p == '\0') {
        return false;
      }
      if (p > first && *p == '-' && p[1] != ']' && p[1] != '\0') {
        ++p;
        member = member || (static_cast<signed char>(p[-2]) <= static_cast<signed char>(c) &&
                            static_cast<signed char>(c) <= static_cast<signed char>(*p));
      } else {
        member = member || *p == c;
      }
    }
    return member != negated;
  }
};
