#include "framework/ForkRunner.h"

#include <fcntl.h>
#include <poll.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <ctime>
#include <sstream>

extern char** environ;

namespace nexhost {

namespace {

// Exit codes of a real run that did not end by itself, as a shell reports them.
constexpr int kNotStarted = 127;
constexpr int kTimedOut = 124;
constexpr int kSignalBase = 128;

long long monotonicMs() {
  timespec ts{};
  clock_gettime(CLOCK_MONOTONIC, &ts);
  return static_cast<long long>(ts.tv_sec) * 1000 + ts.tv_nsec / 1000000;
}

// The command line holds no quoting: blanks separate the arguments.
std::vector<std::string> splitArguments(const std::string& line) {
  std::vector<std::string> args;
  std::istringstream in(line);
  for (std::string arg; in >> arg;) args.push_back(arg);
  return args;
}

std::string replaceAll(std::string text, const std::string& from, const std::string& to) {
  if (from.empty()) return text;
  for (std::size_t at = text.find(from); at != std::string::npos;
       at = text.find(from, at + to.size())) {
    text.replace(at, from.size(), to);
  }
  return text;
}

// Reads the child's standard output until it closes or the deadline passes. Keeps at most
// `room` bytes but drains everything, so that the child never blocks on a full pipe.
bool readOutput(int fd, std::size_t room, long long deadlineMs, std::string* output) {
  char buffer[4096];
  for (;;) {
    long long left = deadlineMs - monotonicMs();
    if (left <= 0) return false;
    pollfd p{fd, POLLIN, 0};
    const int ready = poll(&p, 1, static_cast<int>(left));
    if (ready < 0 && errno == EINTR) continue;
    if (ready == 0) return false;
    if (ready < 0) return true;
    const ssize_t n = read(fd, buffer, sizeof buffer);
    if (n < 0 && errno == EINTR) continue;
    if (n <= 0) return true;
    const std::size_t keep = std::min(static_cast<std::size_t>(n), room - output->size());
    output->append(buffer, keep);
  }
}

int exitCodeOf(int status) {
  if (WIFEXITED(status)) return WEXITSTATUS(status);
  if (WIFSIGNALED(status)) return kSignalBase + WTERMSIG(status);
  return kNotStarted;
}

// Runs `line` and returns its exit code, its output (at most `room` bytes) in `output`.
int spawn(const std::string& line, std::size_t room, int timeoutMs, std::string* output) {
  const std::vector<std::string> args = splitArguments(line);
  if (args.empty()) {
    return kNotStarted;
  }
  std::vector<char*> argv;
  for (const std::string& a : args) argv.push_back(const_cast<char*>(a.c_str()));
  argv.push_back(nullptr);

  int pipeFds[2];
  if (pipe2(pipeFds, O_CLOEXEC) != 0) {
    return kNotStarted;
  }
  posix_spawn_file_actions_t actions;
  posix_spawn_file_actions_init(&actions);
  posix_spawn_file_actions_adddup2(&actions, pipeFds[1], STDOUT_FILENO);
  posix_spawn_file_actions_addopen(&actions, STDIN_FILENO, "/dev/null", O_RDONLY, 0);
  pid_t pid = 0;
  const int spawned = posix_spawnp(&pid, argv[0], &actions, nullptr, argv.data(), environ);
  posix_spawn_file_actions_destroy(&actions);
  close(pipeFds[1]);
  if (spawned != 0) {
    close(pipeFds[0]);
    return kNotStarted;
  }

  const bool finished = readOutput(pipeFds[0], room, monotonicMs() + timeoutMs, output);
  close(pipeFds[0]);
  if (!finished) kill(pid, SIGKILL);
  int status = 0;
  while (waitpid(pid, &status, 0) < 0 && errno == EINTR) {
  }
  return finished ? exitCodeOf(status) : kTimedOut;
}

}  // namespace

ForkResult RealForkRunner::run(const std::string& plugin, std::size_t room) {
  std::string line = plugin;
  for (const auto& [from, to] : replacements) line = replaceAll(line, from, to);
  ForkResult result;
  if (line != plugin) result.ran = line;
  result.exitCode = spawn(line, room, timeoutMs, &result.output);
  return result;
}

}  // namespace nexhost
