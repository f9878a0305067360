// Reports for tests, as files and as found.
#pragma once

#include <fcntl.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <string>

#include "index/report_folder.h"
#include "output/page_frame.h"
#include "output/written.h"
#include "support/text_file.h"

inline constexpr int64_t kDay = 20778;  // 2026-11-21, a Saturday

inline FoundReport Made(const std::string& folder, const std::string& file, int64_t first_day,
                        int64_t last_day, int64_t requests = 1) {
  return {.folder = folder,
          .file = file,
          .summary = {.first_day = first_day,
                      .last_day = last_day,
                      .requests = requests,
                      .bytes = 10 * requests,
                      .spark = {1, 2},
                      .title = "Shop",
                      .site = "https://shop.example"}};
}

inline std::string PageOf(const FoundReport& report) {
  return std::string(kPageTop.text()) + Written([&](Sink& sink) { PutSummary(sink, report.summary); }) +
         "<title>";
}

inline std::string NewFolder() {
  std::string path = NewPath("folder");
  std::filesystem::create_directory(path);
  return path;
}

inline void Write(const std::string& path, const std::string& content) {
  std::ofstream(path, std::ios::binary) << content;
}

inline int OpenFolder(const std::string& path) {
  return open(path.c_str(), O_RDONLY | O_DIRECTORY);
}
