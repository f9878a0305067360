// Giving up the system calls that a process will not make.
//
// The filters are made when Orvellis is built (make_syscall_filters.cpp has the lists), so that
// a run needs nothing but the kernel to enter one.
#pragma once

enum class SyscallSet {
  kReport,        // reading and writing files, memory, time
  kWorkers,       // the same, and starting processes that do so, too
  kLookUps,       // reading files, asking name servers
  kUnpackHelper,  // starting processes, which read and write what is open
  kUnpack,        // reading and writing what is open, memory
};

// From here on every other system call fails with EPERM, and the way to more rights by starting a
// program is closed. Returns 0, or the error number of what went wrong. Nothing changes, which is
// no error, when the kernel has no filters and when Orvellis was built without them.
int EnterSyscallFilter(SyscallSet set);
