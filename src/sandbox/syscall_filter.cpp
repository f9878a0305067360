#include "sandbox/syscall_filter.h"

#include <linux/filter.h>
#include <sys/prctl.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <span>

#include "syscall_filters.inc"

static constexpr unsigned kFilterMode = 1;
static constexpr unsigned kFullSpeed = 1 << 2;  // since Linux 4.17: no slower memory for the filter's sake

static std::span<const sock_filter> FilterOf(SyscallSet set) {
  switch (set) {
    case SyscallSet::kReport:
      return kReportFilter;
    case SyscallSet::kWorkers:
      return kWorkersFilter;
    case SyscallSet::kLookUps:
      return kLookUpFilter;
    case SyscallSet::kUnpackHelper:
      return kUnpackHelperFilter;
    case SyscallSet::kUnpack:
      return kUnpackFilter;
  }
  return {};
}

// ENOSYS, EINVAL: a kernel without filters, or before 4.17.
static bool IsLacking(int error) {
  return error == ENOSYS || error == EINVAL;
}

int EnterSyscallFilter(SyscallSet set) {
  const std::span<const sock_filter> filter = FilterOf(set);
  if (filter.empty()) {
    return 0;
  }
  const sock_fprog program{static_cast<unsigned short>(filter.size()),
                           const_cast<sock_filter*>(filter.data())};
  if (prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0) == 0 &&
      syscall(SYS_seccomp, kFilterMode, kFullSpeed, &program) == 0) {
    return 0;
  }
  return IsLacking(errno) ? 0 : errno;
}
