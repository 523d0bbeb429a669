// Code that runs in a forked child.
#pragma once

#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>
#include <exception>
#include <functional>

namespace Kestrav::Testing {

// Returns what `work` returns in a child, 0 to 255: 99 when it throws, -1 when the child is killed.
inline int inChild(const std::function<int()>& work) {
  const pid_t child = ::fork();
  if (child == 0) {
    int result = 99;
    try {
      result = work();
    } catch (const std::exception& failure) {
      std::fprintf(stderr, "in the child: %s\n", failure.what());
    }
    ::_exit(result);
  }
  int status = 0;
  if (::waitpid(child, &status, 0) != child || !WIFEXITED(status)) return -1;
  return WEXITSTATUS(status);
}

}  // namespace Kestrav::Testing
