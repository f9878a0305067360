// Files for tests: each in the temporary folder under a name of its own.
#pragma once

#include <gtest/gtest.h>
#include <unistd.h>

#include <fstream>
#include <sstream>
#include <string>

// A path that no other case or process uses; nothing is there yet.
inline std::string NewPath(const std::string& name) {
  static int count = 0;
  return testing::TempDir() + "orvellis_" + std::to_string(getpid()) + "_" + std::to_string(++count) + "_" +
         name;
}

inline std::string WriteFile(const std::string& name, const std::string& content) {
  std::string path = NewPath(name);
  std::ofstream(path, std::ios::binary) << content;
  return path;
}

inline std::string ReadFile(const std::string& path) {
  std::ostringstream content;
  content << std::ifstream(path, std::ios::binary).rdbuf();
  return content.str();
}
