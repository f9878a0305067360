#include "config/server_layouts.h"

#include <glob.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <span>

#include "base/text.h"
#include "base/text_file.h"

// How a server writes its configuration.
struct Grammar {
  std::string_view folder;  // under /etc, to which included names are relative
  std::string_view main;
  std::string_view ends;        // the characters that end a directive
  std::string_view definition;  // the directive that defines a layout
  size_t name;                  // which of its words is the layout's name
  std::string_view include;     // how directives that include files begin
  bool names_as_written;
};

static constexpr Grammar kServers[] = {
    {"nginx", "nginx.conf", ";{}", "log_format", 1, "include", true},
    {"apache2", "apache2.conf", "\n", "LogFormat", 2, "Include", false},
    {"httpd", "conf/httpd.conf", "\n", "LogFormat", 2, "Include", false},
};

static constexpr size_t kMostFiles = 128;
static constexpr size_t kLongestFile = size_t{256} * 1024;

using Path = std::array<char, 512>;

// The files that are still to be read, and the text of the one at hand.
struct Reading {
  std::array<Path, kMostFiles> paths;
  size_t count;
  size_t next;
  std::array<char, kLongestFile> text;
};

struct Search {
  std::string_view etc;
  std::string_view name;
  ServerLayout& layout;
  ServerLayout& other;
  LayoutSearch found = LayoutSearch::kNotFound;
};

// ---- Files ----

// Files may include each other.
static void AddFile(Reading& reading, std::string_view path) {
  const bool known = std::any_of(reading.paths.begin(), reading.paths.begin() + reading.count,
                                 [path](const Path& other) { return path == other.data(); });
  if (!known && reading.count < kMostFiles && path.size() < sizeof(Path)) {
    CopyText(reading.paths[reading.count++].data(), sizeof(Path), path);
  }
}

static void AddMatches(Reading& reading, const char* pattern) {
  glob_t matches = {};
  if (glob(pattern, 0, nullptr, &matches) == 0) {
    for (size_t i = 0; i < matches.gl_pathc; ++i) {
      AddFile(reading, matches.gl_pathv[i]);
    }
  }
  globfree(&matches);
}

// A name without a folder is one of the server's own, a folder means what is in it.
static void AddIncluded(Reading& reading, const Grammar& server, std::string_view etc,
                        std::string_view name) {
  constexpr std::string_view kEtc = "/etc/";
  char pattern[sizeof(Path)];
  const auto length = [](std::string_view text) {
    return static_cast<int>(std::min(text.size(), sizeof pattern));
  };
  int size = 0;
  if (name.starts_with(kEtc)) {
    name.remove_prefix(kEtc.size() - 1);
    size = snprintf(pattern, sizeof pattern, "%.*s%.*s", length(etc), etc.data(), length(name), name.data());
  } else if (name.starts_with('/')) {
    size = snprintf(pattern, sizeof pattern, "%.*s", length(name), name.data());
  } else {
    size = snprintf(pattern, sizeof pattern, "%.*s/%.*s/%.*s", length(etc), etc.data(), length(server.folder),
                    server.folder.data(), length(name), name.data());
  }
  if (size > 0 && static_cast<size_t>(size) + 1 < sizeof pattern) {
    if (pattern[size - 1] == '/') {
      CopyText(pattern + size, sizeof pattern - static_cast<size_t>(size), "*");
    }
    AddMatches(reading, pattern);
  }
}

static std::string_view ReadFile(const char* path, std::span<char> text) {
  const OpenedFile opened = OpenToRead(path);
  size_t size = 0;
  if (opened.kind == FileKind::kRegular) {
    for (ssize_t got = 1; got > 0 && size < text.size();
         size += static_cast<size_t>(std::max<ssize_t>(got, 0))) {
      got = read(opened.file, text.data() + size, text.size() - size);
    }
  }
  if (opened.file >= 0) {
    close(opened.file);
  }
  return {text.data(), size};
}

// ---- Directives ----

struct Directive {
  std::string_view whole;
  std::array<std::string_view, 3> words;
};

static bool IsBlank(char c) {
  return c == ' ' || c == '\t' || c == '\r' || c == '\n';
}

static bool EndsDirective(const Grammar& server, char c) {
  return server.ends.find(c) != std::string_view::npos;
}

// A line that ends with a backslash goes on in the next one.
static bool GoesOn(std::string_view text) {
  return text.starts_with("\\\n") || text.starts_with("\\\r\n");
}

// What stands before the next word, comments too; up to what ends the directive.
static void SkipBlanks(const Grammar& server, std::string_view& text) {
  while (!text.empty() && !EndsDirective(server, text[0])) {
    if (text[0] == '#') {
      text.remove_prefix(std::min(text.find('\n'), text.size()));
    } else if (IsBlank(text[0]) || GoesOn(text)) {
      text.remove_prefix(1);
    } else {
      return;
    }
  }
}

// Where a directive is a line, its quotes end with it, too.
static bool EndsQuoted(const Grammar& server, char c, char quote) {
  return c == quote || (c == '\n' && EndsDirective(server, c));
}

static size_t FindWordEnd(const Grammar& server, std::string_view text, size_t from, char quote) {
  const auto ends = [&server, quote](char c) {
    return quote != '\0' ? EndsQuoted(server, c, quote) : IsBlank(c) || EndsDirective(server, c);
  };
  while (from < text.size() && !ends(text[from])) {
    from += text[from] == '\\' ? 2 : 1;
  }
  return std::min(from, text.size());
}

// A word, or a text between quotes, in which a backslash masks what follows it.
static std::string_view TakeWord(const Grammar& server, std::string_view& text) {
  const bool quoted = text[0] == '"' || text[0] == '\'';
  const size_t begin = quoted ? 1 : 0;
  const size_t end = FindWordEnd(server, text, begin, quoted ? text[0] : '\0');
  const std::string_view word = text.substr(begin, end - begin);
  const bool closed = quoted && end < text.size() && text[end] == text[0];
  text.remove_prefix(end + (closed ? 1 : 0));
  return word;
}

// Takes the next directive off the text. False at its end.
static bool TakeDirective(const Grammar& server, std::string_view& text, Directive& directive) {
  directive = {};
  const char* begin = nullptr;
  const char* end = nullptr;
  size_t words = 0;
  for (SkipBlanks(server, text); !text.empty() && !EndsDirective(server, text[0]); SkipBlanks(server, text)) {
    begin = begin == nullptr ? text.data() : begin;
    const std::string_view word = TakeWord(server, text);
    end = text.data();
    if (words < directive.words.size()) {
      directive.words[words++] = word;
    }
  }
  directive.whole = {begin, end};
  const bool more = !text.empty();
  text.remove_prefix(more ? 1 : 0);
  return more || words > 0;
}

// ---- Looking for the name ----

static bool IsName(const Grammar& server, std::string_view a, std::string_view b) {
  return server.names_as_written ? a == b : EqualIgnoreCase(a, b);
}

// Blanks count for one, however many they are; one with a line end among them, which may end a comment, is
// one.
static void CopyWords(std::array<char, kLongestLayoutText + 1>& words, std::string_view text) {
  size_t size = 0;
  for (size_t i = 0; i < text.size() && size + 1 < words.size(); ++i) {
    const char blank = text[i] == '\n' ? '\n' : ' ';
    const bool again = IsBlank(text[i]) && size > 0 && IsBlank(words[size - 1]);
    if (again) {
      words[size - 1] = blank == '\n' ? blank : words[size - 1];
    } else if (GoesOn(text.substr(i))) {
      i += text[i + 1] == '\r' ? 2 : 1;
    } else {
      words[size++] = IsBlank(text[i]) ? blank : text[i];
    }
  }
  words[size] = '\0';
}

static void TakeDefinition(Search& search, const char* path, std::string_view words) {
  ServerLayout& layout = search.found == LayoutSearch::kNotFound ? search.layout : search.other;
  if (search.found == LayoutSearch::kDiffers) {
    return;
  }
  CopyText(layout.path.data(), layout.path.size(), path);
  CopyWords(layout.words, words);
  const std::string_view first = search.layout.words.data();
  const bool differs = search.found == LayoutSearch::kFound && first != search.other.words.data();
  search.found = differs ? LayoutSearch::kDiffers : LayoutSearch::kFound;
}

static void ReadConfiguration(const Grammar& server, const char* path, Reading& reading, Search& search) {
  std::string_view text = ReadFile(path, reading.text);
  for (Directive directive; TakeDirective(server, text, directive);) {
    if (IsName(server, directive.words[0], server.definition) &&
        IsName(server, directive.words[server.name], search.name)) {
      TakeDefinition(search, path, directive.whole);
    } else if (BeginsWithIgnoreCase(directive.words[0], server.include)) {
      AddIncluded(reading, server, search.etc, directive.words[1]);
    }
  }
}

LayoutSearch FindServerLayout(std::string_view etc, std::string_view name, ServerLayout& layout,
                              ServerLayout& other) {
  static Reading reading;
  Search search = {etc, name, layout, other};
  for (const Grammar& server : kServers) {
    reading.count = reading.next = 0;
    AddIncluded(reading, server, etc, server.main);
    while (reading.next < reading.count) {
      const Path& path = reading.paths[reading.next++];
      ReadConfiguration(server, path.data(), reading, search);
    }
  }
  return search.found;
}
