// The file that login limits are kept in: what stands in it, opening it, and its
// two locks.
//
// Inner header of this folder. The file has a fixed size (about 490 kB) and is
// read and written in place; the numbers in it are the machine's own:
//
//   LoginFileHeader                      what it is, and the key of its hashes
//   LoginRecord[kRememberedRefusals]     refusals, in no order
//   LoginRecord[kRememberedEntries]      who entered which account, in no order
//
// Visitors and accounts stand in it as keyed hashes. The key is made with the file,
// by the system's random numbers, and stands in it, too: the hashes keep names from
// whoever sees a part or an old copy of the file by chance, and keep collisions from
// whoever chooses the names of accounts.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>

#include "base/network.h"
#include "base/sip_hash.h"

inline constexpr std::uint32_t kRememberedRefusals = 16384;
inline constexpr std::uint32_t kRememberedEntries = 4096;

struct LoginFileHeader {
  std::uint8_t magic[8];
  std::uint32_t version;
  std::uint32_t refusals;  // kRememberedRefusals
  std::uint32_t entries;   // kRememberedEntries
  std::uint32_t record;    // bytes of one
  SipKey key;
  std::uint64_t check;  // of all before it
};

struct LoginRecord {
  std::int64_t time;  // seconds; a free record is 0 throughout
  std::uint64_t visitor;
  std::uint64_t account;

  bool operator==(const LoginRecord&) const = default;
};

inline constexpr std::size_t kRefusalsStart = sizeof(LoginFileHeader);
inline constexpr std::size_t kEntriesStart = kRefusalsStart + kRememberedRefusals * sizeof(LoginRecord);
inline constexpr std::size_t kLoginFileSize = kEntriesStart + kRememberedEntries * sizeof(LoginRecord);

enum class LoginLock : std::uint8_t { kData, kWaitingTurn };

// Opens the file, which is made (mode 0600; by root for the folder's owner) when it
// is missing and create says so. Never waits. Returns its descriptor; -1, and errno,
// when it cannot be opened or is no regular file: a link is not followed, and one of
// several names is none.
int OpenLoginFile(const char* path, bool create);

// Takes a lock of the opened file, for at most so many milliseconds. It is lost with
// the descriptor. False: somebody else has it (errno is EBUSY), or errno tells.
bool TakeLoginLock(int file, LoginLock lock, int milliseconds);
void DropLoginLock(int file, LoginLock lock);

// Reads the header of the file, whose data are locked. An empty file is begun, and
// one that bears the magic and is of another make, size or check is begun anew:
// what stood in it is forgotten. False: it is a file of something else (errno is
// EEXIST), or cannot be read or written.
bool ReadLoginHeader(int file, LoginFileHeader& header);

// The hash of a visitor, and of an account's name in lower case.
std::uint64_t HashOfVisitor(const SipKey& key, const Address& visitor);
std::uint64_t HashOfAccount(const SipKey& key, std::string_view account);

// Reads or writes all of the bytes. False: errno tells (EIO at the end of the file).
bool ReadAt(int file, void* data, std::size_t size, std::size_t start);
bool WriteAt(int file, const void* data, std::size_t size, std::size_t start);
