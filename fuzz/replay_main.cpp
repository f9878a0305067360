// Runs a target over stored inputs, without a fuzzer: every file of the folders
// that the arguments name. The first of them must hold one.
#include <dirent.h>

#include <cstdio>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

#include "support.h"

static std::vector<std::string> FilesIn(const std::string& folder) {
  std::vector<std::string> files;
  DIR* const listing = opendir(folder.c_str());
  if (listing == nullptr) {
    return files;
  }
  while (const dirent* const entry = readdir(listing)) {
    if (entry->d_name[0] != '.') {
      files.push_back(folder + "/" + entry->d_name);
    }
  }
  closedir(listing);
  std::sort(files.begin(), files.end());
  return files;
}

static void RunFile(const std::string& path) {
  fprintf(stderr, "%s\n", path.c_str());
  std::ostringstream content;
  content << std::ifstream(path, std::ios::binary).rdbuf();
  // A block of the input's own size, so that reading beyond it shows.
  const std::string text = content.str();
  const std::vector<uint8_t> bytes(text.begin(), text.end());
  LLVMFuzzerTestOneInput(bytes.data(), bytes.size());
}

int main(int argc, char** argv) {
  for (int i = 1; i < argc; ++i) {
    const std::vector<std::string> files = FilesIn(argv[i]);
    if (i == 1 && files.empty()) {
      fprintf(stderr, "%s holds no input\n", argv[i]);
      return 1;
    }
    for (const std::string& file : files) {
      RunFile(file);
    }
  }
  return 0;
}
