#include "superlog/log_names.h"

#include <unistd.h>

#include <climits>
#include <string_view>

#include "base/text.h"

static std::string_view NameOf(std::string_view path) {
  return path.substr(path.rfind('/') + 1);
}

void NameLog(char (&name)[kLogNameSize], const char* path, bool linked_names) {
  char target[PATH_MAX];
  const ssize_t length = linked_names ? readlink(path, target, sizeof target) : -1;
  CopyText(name, NameOf(length > 0 ? std::string_view(target, static_cast<size_t>(length)) : path));
}

const char* WordFor(Field field) {
  switch (field) {
    case Field::kMoment:
    case Field::kDate:
    case Field::kTime:
      return "time";
    case Field::kHost:
      return "client";
    case Field::kRequest:
      return "request";
    case Field::kUrl:
    case Field::kQuery:
      return "URL";
    case Field::kStatus:
      return "status";
    case Field::kBytes:
      return "size";
    default:
      return "next field";
  }
}
