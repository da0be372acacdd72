#ifndef DAB_TESTS_CHILDPROCESS_H
#define DAB_TESTS_CHILDPROCESS_H

#include <sys/types.h>

#include <chrono>
#include <vector>

// Waits up to timeout for a child process to end and removes it from children. Returns its
// exit status, minus the signal number when a signal ended it, or -1000 when it is still
// running (or was not a child). Test thread only.
int waitChildExit(pid_t pid, std::chrono::milliseconds timeout, std::vector<pid_t>* children);

#endif  // DAB_TESTS_CHILDPROCESS_H
