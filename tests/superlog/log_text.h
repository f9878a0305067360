// Log files for the tests of this folder.
#pragma once

#include <gtest/gtest.h>

#include <cstdio>
#include <string>

#include "superlog/line_reader.h"
#include "support/text_file.h"

// Writes a file of this process's own and returns its path.
inline std::string WriteLog(const std::string& bytes, const std::string& name = "log") {
  return WriteFile(name, bytes);
}

// Writes such a file, opens it for the line reader, and leaves no trace of it in
// the file system.
inline void OpenLogText(const std::string& bytes) {
  const std::string path = WriteLog(bytes);
  EXPECT_TRUE(OpenLog(path.c_str()));
  remove(path.c_str());
}

inline std::string CurrentLine() {
  return {mpLine, mLineLen};
}
