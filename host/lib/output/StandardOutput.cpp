#include "output/StandardOutput.h"

#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstring>
#include <iostream>

namespace nexhost {

namespace {

void ignoreSignal(int) {}

}  // namespace

void catchBrokenPipe() {
  struct sigaction action {};
  action.sa_handler = ignoreSignal;
  sigemptyset(&action.sa_mask);
  action.sa_flags = SA_RESTART;
  sigaction(SIGPIPE, &action, nullptr);
}

int finishStandardOutput(int status, int writeError) {
  int error = writeError;
  if (error == 0) {
    errno = 0;
    // Help and usage texts go through std::cout, which shares stdout's buffer.
    std::cout.flush();
    if (std::fflush(stdout) != 0 || std::ferror(stdout) != 0 || !std::cout) {
      error = errno != 0 ? errno : EIO;
    }
  }
  if (error == 0 || error == EPIPE) return status;
  std::fprintf(stderr, "nexhost: cannot write standard output: %s\n", std::strerror(error));
  return status == 0 ? 1 : status;
}

}  // namespace nexhost
