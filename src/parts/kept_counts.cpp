#include "parts/kept_counts.h"

#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cinttypes>
#include <cstdio>
#include <cstring>
#include <string>
#include <string_view>

#include "base/own_files.h"
#include "base/part_bytes.h"
#include "base/text.h"
#include "dates/clock.h"
#include "parts/counts.h"

static constexpr ContentKey kNameKey = {
    {0xa458fea3f4933d7e, 0x0d95748f728eb658, 0x718bcd5882154aee, 0x7b54a41dc25a59b5}};  // digits of pi

static constexpr std::string_view kEnding = ".counts";
static constexpr std::string_view kEndingOfNew = ".counts.new";
static constexpr size_t kNameLength = 32;
using CountsPath = char[kPathSize + 64];

// ---- Names ----

template <class T>
static ContentHash AddValue(const ContentHash& before, const T& value) {
  return AddBlock(kNameKey, before, reinterpret_cast<const char*>(&value), sizeof value);
}

static ContentHash HashOfCounting(const Fingerprint& fingerprint, const Rules& rules) {
  ContentHash hash{};
  for (size_t i = 0; i < fingerprint.count; ++i) {
    const std::string_view value = fingerprint.fields[i].value;
    hash = AddBlock(kNameKey, hash, value.data(), value.size());
  }
  return AddValue(AddValue(hash, KindsOf(rules)), uint64_t{rules.url_total});
}

bool OpenKeptCounts(const char* folder, const Rules& rules, const Analysis& analysis, KeptCounts& kept) {
  if (!IsOwnFolder(folder)) {
    return false;
  }
  kept.folder = folder;
  kept.fingerprint = FingerprintOfAnyDays("", rules, analysis);
  kept.counting = HashOfCounting(kept.fingerprint, rules);
  return true;
}

std::vector<ContentHash> NamesOfCounts(const KeptCounts& kept, std::span<const BlockName> blocks) {
  std::vector<ContentHash> names;
  ContentHash name = kept.counting;
  for (const BlockName& block : blocks) {
    name = AddValue(name, block);
    names.push_back(name);
  }
  return names;
}

static void MakePath(CountsPath& path, const KeptCounts& kept, const ContentHash& name) {
  snprintf(path, sizeof path, "%s/%016" PRIx64 "%016" PRIx64 "%s", kept.folder, name.high, name.low,
           kEnding.data());
}

bool AreKept(const KeptCounts& kept, const ContentHash& name) {
  CountsPath path;
  MakePath(path, kept, name);
  return faccessat(AT_FDCWD, path, R_OK, 0) == 0;
}

// ---- Writing ----

struct CountsToKeep {
  const KeptCounts& kept;
  std::span<const BlockName> blocks;
  const Analysis& analysis;
};

static void WriteCounts(void* context, PartWriter& part) {
  const CountsToKeep& counts = *static_cast<CountsToKeep*>(context);
  SaveFingerprint(part, counts.kept.fingerprint);
  PutFigure(part, counts.blocks.size());
  for (const BlockName& block : counts.blocks) {
    PutFigure(part, block.words[0]);
    PutFigure(part, block.words[1]);
  }
  SaveCounts(part, counts.kept.rules, counts.analysis);
}

bool KeepCounts(const KeptCounts& kept, std::span<const BlockName> blocks, const Analysis& analysis) {
  CountsPath path;
  MakePath(path, kept, NamesOfCounts(kept, blocks).back());
  CountsToKeep counts{kept, blocks, analysis};
  return WriteOwnPartFile(path, &counts, WriteCounts);
}

// ---- Adding ----

static bool ReadCounts(const CountsPath& path, PartBytes& room) {
  struct stat info;
  const int descriptor = OpenOwnFile(path, info);
  FILE* const file = descriptor < 0 ? nullptr : fdopen(descriptor, "r");
  if (file == nullptr) {
    return false;
  }
  const bool read = ReadPart(file, room) == PartRead::kPart;
  futimens(descriptor, nullptr);  // used now
  fclose(file);
  return read;
}

static bool IsOf(PartReader& part, std::span<const BlockName> blocks) {
  bool same = TakeFigure(part) == blocks.size();
  for (size_t i = 0; same && i < blocks.size(); ++i) {
    same = TakeFigure(part) == blocks[i].words[0] && TakeFigure(part) == blocks[i].words[1];
  }
  return same && !part.damaged;
}

static bool AddPart(const KeptCounts& kept, std::span<const BlockName> blocks, const PartBytes& bytes,
                    Analysis& analysis) {
  PartReader part{bytes.bytes, bytes.bytes + bytes.size};
  unsigned missing = 0;
  return CompareFingerprint(part, kept.fingerprint).other == nullptr && IsOf(part, blocks) &&
         AddSavedCounts(part, kept.rules, analysis, missing) && part.next == part.end;
}

bool AddKept(const KeptCounts& kept, std::span<const BlockName> blocks, PartBytes& room, Analysis& analysis) {
  CountsPath path;
  MakePath(path, kept, NamesOfCounts(kept, blocks).back());
  const bool added = ReadCounts(path, room) && AddPart(kept, blocks, room, analysis);
  if (!added) {
    unlink(path);
  }
  return added;
}

// ---- How much there is ----

struct CountsFile {
  std::string name;
  timespec used;
  int64_t size;
};

static bool IsHexadecimal(std::string_view text) {
  return text.find_first_not_of("0123456789abcdef") == std::string_view::npos;
}

static bool IsNameOfCounts(std::string_view name) {
  return name.size() == kNameLength + kEnding.size() && name.ends_with(kEnding) &&
         IsHexadecimal(name.substr(0, kNameLength));
}

// A file that is being written has the name of the one that it will be, hidden.
static bool IsNameOfNew(std::string_view name) {
  return name.size() == 1 + kNameLength + kEndingOfNew.size() && name.ends_with(kEndingOfNew) &&
         name[0] == '.' && IsHexadecimal(name.substr(1, kNameLength));
}

static bool IsOlder(const CountsFile& a, const CountsFile& b) {
  return a.used.tv_sec != b.used.tv_sec ? a.used.tv_sec < b.used.tv_sec : a.used.tv_nsec < b.used.tv_nsec;
}

// Nobody writes a file for so long.
static constexpr time_t kLeftBehind = 3600;

static std::vector<CountsFile> FilesIn(DIR* folder, int descriptor) {
  std::vector<CountsFile> files;
  while (const dirent* const entry = readdir(folder)) {
    struct stat info;
    const std::string_view name = entry->d_name;
    const bool is_new = IsNameOfNew(name);
    if ((!is_new && !IsNameOfCounts(name)) ||
        fstatat(descriptor, entry->d_name, &info, AT_SYMLINK_NOFOLLOW) != 0 || !S_ISREG(info.st_mode)) {
      continue;
    }
    if (is_new && info.st_mtim.tv_sec < CurrentTime() - kLeftBehind) {
      unlinkat(descriptor, entry->d_name, 0);
    } else if (!is_new) {
      files.push_back({std::string(name), info.st_mtim, info.st_size});
    }
  }
  return files;
}

void BoundKeptCounts(const char* folder, int64_t most) {
  DIR* const listing = opendir(folder);
  if (listing == nullptr) {
    return;
  }
  std::vector<CountsFile> files = FilesIn(listing, dirfd(listing));
  int64_t size = 0;
  for (const CountsFile& file : files) {
    size += file.size;
  }
  if (size > most) {
    std::sort(files.begin(), files.end(), IsOlder);
  }
  for (auto file = files.cbegin(); size > most && file != files.cend(); ++file) {
    unlinkat(dirfd(listing), file->name.c_str(), 0);
    size -= file->size;
  }
  closedir(listing);
}
