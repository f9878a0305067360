// How the log list merges an entry, as one walk over a plain list.
#pragma once

#include <cstring>
#include <vector>

#include "superlog/log_list.h"

inline void PlainAppend(std::vector<LogFile>& list, const LogFile& file) {
  for (LogFile& entry : list) {
    if (strcmp(entry.name, file.name) == 0) {
      entry.size = file.size;
      entry.first = file.first;
      entry.last = file.last;
      entry.state = file.state;
      return;
    }
    if (entry.size == file.size && entry.first == file.first && entry.last == file.last) {
      return;
    }
  }
  list.push_back(file);
}
