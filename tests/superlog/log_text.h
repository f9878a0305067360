// Log files for the tests of this folder.
#pragma once

#include <gtest/gtest.h>
#include <unistd.h>

#include <cstdio>
#include <string>

#include "superlog/line_reader.h"

// Writes a file of this process's own and returns its path.
inline std::string WriteLog(const std::string& bytes, const std::string& name = "log") {
  const std::string path = testing::TempDir() + "orvellis_" + std::to_string(getpid()) + "_" + name;
  FILE* file = fopen(path.c_str(), "wb");
  EXPECT_NE(file, nullptr) << path;
  if (file != nullptr) {
    EXPECT_EQ(fwrite(bytes.data(), 1, bytes.size(), file), bytes.size());
    fclose(file);
  }
  return path;
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
