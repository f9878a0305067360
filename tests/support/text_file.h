// Files for tests: each in a folder that only this process uses and that is
// removed when it ends.
#pragma once

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>

class TestFolder {
 public:
  TestFolder() {
    // Cases that act as another user get through it.
    if (mkdtemp(path_.data()) == nullptr || chmod(path_.c_str(), 0711) != 0) {
      abort();
    }
  }
  TestFolder(const TestFolder&) = delete;
  TestFolder& operator=(const TestFolder&) = delete;
  // A case that ends its process does so in a child, which leaves the folder to its parent.
  ~TestFolder() {
    std::error_code ignored;
    if (getpid() == owner_) {
      std::filesystem::remove_all(path_, ignored);
    }
  }
  const std::string& path() const { return path_; }

 private:
  std::string path_ = testing::TempDir() + "orvellis_tests_XXXXXX";
  pid_t owner_ = getpid();
};

// A path that no other case or process uses; nothing is there yet.
inline std::string NewPath(const std::string& name) {
  static const TestFolder folder;
  static int count = 0;
  return folder.path() + "/" + std::to_string(++count) + "_" + name;
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
