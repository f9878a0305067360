#include "analysis/page_requests.h"

#include <algorithm>
#include <iterator>

#include "analysis/dimensions.h"

// In order, in small letters.
static constexpr std::string_view kNoPages[] = {
    ".aac", ".apng", ".atom", ".avi",  ".avif", ".bmp",         ".css",  ".cur", ".eot",  ".flac",  ".flv",
    ".gif", ".heic", ".ico",  ".jpeg", ".jpg",  ".js",          ".json", ".jxl", ".m3u8", ".m4a",   ".m4s",
    ".m4v", ".map",  ".mid",  ".mjs",  ".mkv",  ".mov",         ".mp3",  ".mp4", ".mpeg", ".mpg",   ".oga",
    ".ogg", ".ogv",  ".opus", ".otf",  ".png",  ".rss",         ".svg",  ".swf", ".tif",  ".tiff",  ".ts",
    ".ttf", ".vtt",  ".wasm", ".wav",  ".webm", ".webmanifest", ".webp", ".wmv", ".woff", ".woff2", ".xml",
};
static_assert(std::is_sorted(std::begin(kNoPages), std::end(kNoPages)));

// What programs look for on every site.
static constexpr std::string_view kOfPrograms[] = {"/robots.txt", "/ads.txt", "/app-ads.txt"};
static constexpr std::string_view kFolderOfPrograms = "/.well-known/";

static bool IsOfPrograms(std::string_view path) {
  return path.starts_with(kFolderOfPrograms) || std::ranges::find(kOfPrograms, path) != std::end(kOfPrograms);
}

// A redirection leads to another request, which is the page.
bool IsPageAnswer(int64_t status) {
  constexpr int64_t kNoContent = 204;
  constexpr int64_t kNotModified = 304;
  return status == 0 || (status >= 200 && status < kNoContent) || status == kNotModified;
}

bool IsPartOfPages(std::string_view url) {
  ItemRoom room;
  const std::string_view type = TypeOfPath(PathOf(url), room);
  return std::binary_search(std::begin(kNoPages), std::end(kNoPages), type);
}

bool IsPageUrl(std::string_view url) {
  const std::string_view path = PathOf(url);
  return path.starts_with('/') && !IsOfPrograms(path) && !IsPartOfPages(path);
}

void LeaveOutPartsOfPages(const Settings& settings, Analysis& analysis) {
  if (settings.pages_only != 0 && settings.requests.on != 0) {
    analysis.parts_of_pages = drop_items(analysis.urls.list, *analysis.urls.info, IsPartOfPages).count;
  }
}
