// Processes that do one thing for a run, and are started before it gives up starting others.
#pragma once

#include <sys/types.h>

struct HelperProcess {
  int socket = -1;  // whose messages it serves, each whole
  pid_t process = -1;
};

// Serves what comes through the socket until nobody sends any more, or the parent is gone. Never returns.
using ServeHelper = void(int socket, pid_t parent);

// Starts the process, if it is not there. False when it is not there then.
bool StartHelper(HelperProcess& helper, ServeHelper* serve);

// Ends it, if it is there, by closing its socket, and waits for it.
void StopHelper(HelperProcess& helper);

// For the process itself: it does not outlive the one that started it,
void DieWith(pid_t parent);
// and keeps nothing open but what it serves. Not even standard output, on which somebody may wait for its
// end.
void CloseAllBut(int file);
