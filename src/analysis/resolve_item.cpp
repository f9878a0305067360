#include "analysis/resolve_item.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>

namespace {

struct Name {
  char code[20];
  char description[100];
  size_t record;  // its place in the file
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

static void DropLast(char* text, char unwanted) {
  const size_t length = strlen(text);
  if (length > 0 && text[length - 1] == unwanted) {
    text[length - 1] = '\0';
  }
}

// False at the end of the file. A line that ends there without a line break is
// deliberately no record.
static bool ReadName(FILE* file, Name& name) {
  if (fscanf(file, "%19s ", name.code) != 1 ||
      fgets(name.description, sizeof name.description, file) == nullptr || feof(file) != 0) {
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
      exit(1);
    }
    names.names = grown;
  }
  names.names[names.count++] = name;
}

// Makes the file at path the one whose names are held.
static void ReadNamesOnce(const char* path) {
  if (mNames.read && strcmp(mNames.path, path) == 0) {
    return;
  }
  mNames.read = true;
  mNames.count = 0;
  CopyText(mNames.path, path);
  FILE* const file = fopen(path, "r");
  if (file == nullptr) {
    return;
  }
  for (Name name = {}; ReadName(file, name); ++name.record) {
    AppendName(mNames, name);
  }
  fclose(file);
  std::sort(mNames.names, mNames.names + mNames.count, [](const Name& a, const Name& b) {
    const int order = strcmp(a.code, b.code);
    return order != 0 ? order < 0 : a.record < b.record;
  });
}

// The first record of that code at or behind the given place of the file.
static const Name* FindName(const char* code, size_t from) {
  Name* const end = mNames.names + mNames.count;
  const Name* const found =
      std::lower_bound(mNames.names, end, from, [code](const Name& name, size_t record) {
        const int order = strcmp(name.code, code);
        return order != 0 ? order < 0 : name.record < record;
      });
  return found != end && strcmp(found->code, code) == 0 ? found : nullptr;
}

void ResolveItem(char (&item)[kTextSize], const char* path) {
  for (char* c = item; *c != '\0'; ++c) {
    *c = *c >= 'a' && *c <= 'z' ? static_cast<char>(*c - ('a' - 'A')) : *c;
  }
  ReadNamesOnce(path == nullptr ? "" : path);
  for (const Name* name = FindName(item, 0); name != nullptr; name = FindName(item, name->record + 1)) {
    CopyText(item, name->description);
  }
}
