// How many processors there are for this process.
#pragma once

// As many as it may run on at the same time: those that it is bound to, or fewer where a quota of its control
// group, or of one that holds this, leaves it less; rounded up, and at least 1. groups is the folder of the
// control groups (version 2), own the file that names this process's; what is not there sets no bound.
int UsableProcessors(const char* groups = "/sys/fs/cgroup", const char* own = "/proc/self/cgroup");
