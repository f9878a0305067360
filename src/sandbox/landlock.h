// Giving up the files and the network that a process will not use: Landlock, by its
// system calls alone.
//
// A process says what it goes on to use, then enters; from there on the kernel
// refuses all other files, TCP ports, signals and sockets of other processes, to it
// and to what it starts. What is open already stays open. Of each version of
// Landlock all is used that the kernel knows.
#pragma once

#include <cstdint>

// Rights to a file; those of a folder hold for all that is beneath it.
inline constexpr std::uint64_t kWriteFile = 1 << 1;
inline constexpr std::uint64_t kReadFile = 1 << 2;
inline constexpr std::uint64_t kListFolder = 1 << 3;
inline constexpr std::uint64_t kRemoveFile = 1 << 5;
inline constexpr std::uint64_t kMakeFile = 1 << 8;
inline constexpr std::uint64_t kTruncateFile = 1 << 14;

// What a path may be used for, if it is a folder and if it is anything else.
struct PathRights {
  std::uint64_t file;
  std::uint64_t folder;
};

// What is said so far.
struct Landlock {
  int rules = -1;                 // the kernel's record of it
  std::uint64_t file_rights = 0;  // that will have to be allowed
  std::uint64_t network_rights = 0;
  int failure = 0;  // error number of what first went wrong; the process cannot enter then
};

// Begins with nothing allowed. False when the kernel has no Landlock, and when it
// refuses to begin, which failure tells.
bool BeginLandlock(Landlock& landlock);

// Allows what the path leads to now, through links, too; a pipe that has no name needs no
// permission. False when it leads nowhere, or where the process must not look: that changes nothing.
bool AllowPath(Landlock& landlock, const char* path, const PathRights& rights);

// The same for what is known to be no folder: one system call less.
void AllowFile(Landlock& landlock, const char* path, std::uint64_t rights);

// Allows TCP connections to a port of any machine.
void AllowTcpTo(Landlock& landlock, std::uint16_t port);

// Gives up everything else, and the way to more rights by starting a program. Ends what was
// begun, also when that goes wrong: the error number is returned, 0 when nothing did.
int EnterLandlock(Landlock& landlock);
