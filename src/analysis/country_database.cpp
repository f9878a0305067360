#include "analysis/country_database.h"

#include <fcntl.h>
#include <maxminddb.h>
#include <netinet/in.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cinttypes>
#include <cstdio>
#include <cstring>
#include <optional>

#include "base/library.h"

static decltype(&MMDB_open) mOpen;
static decltype(&MMDB_close) mClose;
static decltype(&MMDB_lookup_sockaddr) mLookUp;
static decltype(&MMDB_aget_value) mGetValue;

static std::optional<MMDB_s> mDatabase;

static bool Load() {
  const LibraryFunction functions[] = {
      {"MMDB_open", reinterpret_cast<void**>(&mOpen)},
      {"MMDB_close", reinterpret_cast<void**>(&mClose)},
      {"MMDB_lookup_sockaddr", reinterpret_cast<void**>(&mLookUp)},
      {"MMDB_aget_value", reinterpret_cast<void**>(&mGetValue)},
  };
  return LoadLibrary("libmaxminddb.so.0", functions);
}

// ---- Opening ----

// Nothing else may be opened: a pipe would wait for ever. False with errno.
static bool IsPlainFile(const char* path) {
  const int file = open(path, O_RDONLY | O_NONBLOCK | O_CLOEXEC);
  struct stat status;
  const bool plain = file >= 0 && fstat(file, &status) == 0 && S_ISREG(status.st_mode);
  if (file >= 0) {
    close(file);
    errno = EINVAL;
  }
  return plain;
}

DatabaseFault OpenCountryDatabase(const char* path) {
  CloseCountryDatabase();
  if (!IsPlainFile(path)) {
    return DatabaseFault::kNotOpened;
  }
  if (!Load()) {
    return DatabaseFault::kNoLibrary;
  }
  MMDB_s database;
  const int opened = mOpen(path, MMDB_MODE_MMAP, &database);
  if (opened != MMDB_SUCCESS) {
    return opened == MMDB_FILE_OPEN_ERROR ? DatabaseFault::kNotOpened : DatabaseFault::kNoDatabase;
  }
  mDatabase = database;
  return DatabaseFault::kNone;
}

void CloseCountryDatabase() {
  if (mDatabase) {
    mClose(&*mDatabase);
    mDatabase.reset();
  }
}

bool IsCountryDatabaseOpen() {
  return mDatabase.has_value();
}

// ---- Countries ----

// All codes there can be.
static constexpr int kLetters = 26;
using Codes = std::array<char, size_t{2} * kLetters * kLetters>;
static consteval Codes AllCodes() {
  Codes codes{};
  for (size_t i = 0; i < codes.size() / 2; ++i) {
    codes[2 * i] = static_cast<char>('A' + i / kLetters);
    codes[2 * i + 1] = static_cast<char>('A' + i % kLetters);
  }
  return codes;
}
static constexpr Codes kCodes = AllCodes();

// Empty for what is no code: the database may hold anything.
static std::string_view CodeOf(std::string_view text) {
  if (text.size() != 2 || !IsLetterAscii(text[0]) || !IsLetterAscii(text[1])) {
    return {};
  }
  const size_t place = static_cast<size_t>(ToLowerAscii(text[0]) - 'a') * kLetters +
                       static_cast<size_t>(ToLowerAscii(text[1]) - 'a');
  return {kCodes.data() + 2 * place, 2};
}

// Where databases have the code, by their makers; the country of the visitors comes before that of whom the
// network is registered for.
static constexpr const char* kPaths[][3] = {
    {"country", "iso_code"},
    {"registered_country", "iso_code"},
    {"country_code"},
    {"country"},
};

static std::string_view CodeIn(MMDB_entry_s& entry) {
  for (const auto& path : kPaths) {
    MMDB_entry_data_s data;
    if (mGetValue(&entry, &data, path) == MMDB_SUCCESS && data.has_data &&
        data.type == MMDB_DATA_TYPE_UTF8_STRING) {
      const std::string_view code = CodeOf({data.utf8_string, data.data_size});
      if (!code.empty()) {
        return code;
      }
    }
  }
  return {};
}

static MMDB_lookup_result_s Find(const Address& address) {
  int error = MMDB_SUCCESS;
  MMDB_lookup_result_s found;
  if (IsIpv4(address)) {
    sockaddr_in ipv4{};
    ipv4.sin_family = AF_INET;
    memcpy(&ipv4.sin_addr, address.bytes.data() + address.bytes.size() - sizeof ipv4.sin_addr,
           sizeof ipv4.sin_addr);
    found = mLookUp(&*mDatabase, reinterpret_cast<const sockaddr*>(&ipv4), &error);
  } else {
    sockaddr_in6 ipv6{};
    ipv6.sin6_family = AF_INET6;
    memcpy(&ipv6.sin6_addr, address.bytes.data(), sizeof ipv6.sin6_addr);
    found = mLookUp(&*mDatabase, reinterpret_cast<const sockaddr*>(&ipv6), &error);
  }
  return error == MMDB_SUCCESS ? found : MMDB_lookup_result_s{};
}

std::string_view CountryIn(const Address& address) {
  if (!mDatabase) {
    return {};
  }
  MMDB_lookup_result_s found = Find(address);
  return found.found_entry ? CodeIn(found.entry) : std::string_view{};
}

CountryDatabaseName::CountryDatabaseName() {
  if (mDatabase) {
    const MMDB_metadata_s& about = mDatabase->metadata;
    snprintf(text, sizeof text, "%.100s %" PRIu64 " %" PRIu32 " %jd",
             about.database_type == nullptr ? "" : about.database_type, about.build_epoch, about.node_count,
             static_cast<intmax_t>(mDatabase->file_size));
  }
}
