// Preloaded into a program, refuses memory at a call of choice, whoever asks:
// the program itself or a library on its behalf.
//
//   FAIL_AT=N     the N-th request is refused, and only it
//   FAIL_FROM=N   the N-th request and all later ones are refused
//   COUNT_TO=PATH the number of requests is written there at the end
//
// Requests are counted from the moment that the libraries are loaded.
#include <fcntl.h>
#include <sys/mman.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>

extern "C" {
void* __libc_malloc(size_t size);
void* __libc_calloc(size_t count, size_t size);
void* __libc_realloc(void* block, size_t size);
}

static bool mCounting = false;
static long mRequests = 0;
static long mFailAt = 0;
static long mFailFrom = 0;

static long NumberOf(const char* variable) {
  const char* const text = getenv(variable);
  return text == nullptr ? 0 : atol(text);
}

[[gnu::constructor]] static void Begin() {
  mFailAt = NumberOf("FAIL_AT");
  mFailFrom = NumberOf("FAIL_FROM");
  mCounting = true;
}

[[gnu::destructor]] static void End() {
  mCounting = false;
  const char* const path = getenv("COUNT_TO");
  const int file = path == nullptr ? -1 : open(path, O_WRONLY | O_CREAT | O_TRUNC, 0600);
  if (file >= 0) {
    dprintf(file, "%ld\n", mRequests);
    close(file);
  }
}

static bool Refused() {
  if (!mCounting) {
    return false;
  }
  ++mRequests;
  if (mRequests != mFailAt && (mFailFrom == 0 || mRequests < mFailFrom)) {
    return false;
  }
  errno = ENOMEM;
  return true;
}

extern "C" {

void* malloc(size_t size) noexcept {
  return Refused() ? nullptr : __libc_malloc(size);
}

void* calloc(size_t count, size_t size) noexcept {
  return Refused() ? nullptr : __libc_calloc(count, size);
}

void* realloc(void* block, size_t size) noexcept {
  return Refused() ? nullptr : __libc_realloc(block, size);
}

// Password hashing takes its memory from here.
void* mmap(void* address, size_t length, int protection, int flags, int file, off_t offset) noexcept {
  if (Refused()) {
    return MAP_FAILED;
  }
  return reinterpret_cast<void*>(syscall(SYS_mmap, address, length, protection, flags, file, offset));
}

}  // extern "C"
