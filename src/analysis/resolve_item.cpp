#include "analysis/resolve_item.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>

#include "base/memory_end.h"
#include "base/text_file.h"

namespace {

struct Name {
  char code[20];
  char description[100];
  size_t record;  // its place in the file
  Name* last;     // the record that a search which finds this one ends at; null until it is known
};

struct NameFile {
  bool read;
  char path[kPathSize];
  Name* names;  // by code, those of one code in file order
  size_t count;
  size_t capacity;
};

}  // namespace

static NameFile mNames;

static bool IsBlank(int c) {
  return c == ' ' || (c >= '\t' && c <= '\r');
}

static void SkipBlanks(TextFile& file) {
  while (IsBlank(PeekByte(file))) {
    ++file.next;
  }
}

static void DropLast(char* text, char unwanted) {
  const size_t length = strlen(text);
  if (length > 0 && text[length - 1] == unwanted) {
    text[length - 1] = '\0';
  }
}

// Reads a record as the format "%19s " and a line of 99 characters would. False
// at the end of the file; a line that ends there without a line break is
// deliberately no record.
static bool ReadName(TextFile& file, Name& name) {
  SkipBlanks(file);
  size_t length = 0;
  for (int c = PeekByte(file); length < sizeof name.code - 1 && c != -1 && !IsBlank(c); c = PeekByte(file)) {
    name.code[length++] = static_cast<char>(c);
    ++file.next;
  }
  name.code[length] = '\0';
  SkipBlanks(file);
  const size_t end = NextLine(file, name.description, kPieces);
  if (end == 0 || (end < sizeof name.description - 1 && name.description[end - 1] != '\n')) {
    return false;
  }
  DropLast(name.description, '\n');
  DropLast(name.description, '\r');
  return true;
}

static void AppendName(NameFile& names, const Name& name) {
  if (names.count == names.capacity) {
    names.capacity = names.capacity == 0 ? 512 : names.capacity * 2;
    Name* const grown = static_cast<Name*>(realloc(names.names, names.capacity * sizeof(Name)));
    if (grown == nullptr) {
      EndWithoutMemory();
    }
    names.names = grown;
  }
  names.names[names.count++] = name;
}

static void SortNames() {
  const auto before = [](const Name& a, const Name& b) {
    const int order = strcmp(a.code, b.code);
    return order != 0 ? order < 0 : a.record < b.record;
  };
  Name* const end = mNames.names + mNames.count;
  if (!std::is_sorted(mNames.names, end, before)) {  // the installed file is in order
    std::sort(mNames.names, end, before);
  }
}

void ReadNamesOnce(const char* path) {
  if (mNames.read && strcmp(mNames.path, path) == 0) {
    return;
  }
  mNames.read = true;
  mNames.count = 0;
  CopyText(mNames.path, path);
  TextFile file;
  if (!OpenTextFile(file, path)) {
    return;
  }
  for (Name name = {}; ReadName(file, name); ++name.record) {
    AppendName(mNames, name);
  }
  CloseTextFile(file);
  SortNames();
}

// The first record of that code at or behind the given place of the file.
static Name* FindName(const char* code, size_t from) {
  Name* const end = mNames.names + mNames.count;
  Name* const found = std::lower_bound(mNames.names, end, from, [code](const Name& name, size_t record) {
    const int order = strcmp(name.code, code);
    return order != 0 ? order < 0 : name.record < record;
  });
  return found != end && strcmp(found->code, code) == 0 ? found : nullptr;
}

// A description may be the code of a later record.
static Name* NextName(const Name& name) {
  return FindName(name.description, name.record + 1);
}

// The record that a search which finds this one ends at. All records on the way
// keep the answer: no way, however long, is gone twice.
static const Name& LastName(Name& first) {
  Name* last = &first;
  while (last->last == nullptr) {
    Name* const next = NextName(*last);
    if (next == nullptr) {
      last->last = last;
    } else {
      last = next;
    }
  }
  last = last->last;
  for (Name* name = &first; name->last == nullptr;) {
    Name* const next = NextName(*name);
    name->last = last;
    name = next;
  }
  return *last;
}

void ResolveItem(char* item, size_t capacity, const char* path) {
  for (char* c = item; *c != '\0'; ++c) {
    *c = *c >= 'a' && *c <= 'z' ? static_cast<char>(*c - ('a' - 'A')) : *c;
  }
  ReadNamesOnce(path == nullptr ? "" : path);
  Name* const name = FindName(item, 0);
  if (name != nullptr) {
    CopyText(item, capacity, LastName(*name).description);
  }
}

void ForgetNames() {
  free(mNames.names);
  mNames = {};
}
