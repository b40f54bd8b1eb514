#include "output/OutputFile.h"

#include <fcntl.h>
#include <sys/random.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <climits>
#include <csignal>
#include <cstdlib>
#include <cstring>

#include "text/ByteText.h"

namespace nexhost {

namespace {

// A temporary name stays well inside NAME_MAX whatever the target's name.
constexpr std::size_t kMaxTempBaseBytes = 200;
constexpr int kTempAttempts = 100;

std::string fileType(mode_t mode) {
  if (S_ISDIR(mode)) return "a directory";
  if (S_ISCHR(mode)) return "a character device";
  if (S_ISBLK(mode)) return "a block device";
  if (S_ISFIFO(mode)) return "a FIFO";
  if (S_ISSOCK(mode)) return "a socket";
  return "not a file";
}

std::string directoryOf(const std::string& path) {
  const std::size_t slash = path.rfind('/');
  return slash == std::string::npos ? "" : path.substr(0, slash + 1);
}

std::string nameOf(const std::string& path) {
  const std::size_t slash = path.rfind('/');
  return slash == std::string::npos ? path : path.substr(slash + 1);
}

std::string randomSuffix() {
  static const char kDigits[] = "abcdefghijklmnopqrstuvwxyz0123456789";
  unsigned char bytes[8] = {};
  if (getrandom(bytes, sizeof bytes, GRND_NONBLOCK) != static_cast<ssize_t>(sizeof bytes)) {
    // No entropy yet: O_EXCL still keeps two runs apart, only with more attempts.
    static unsigned counter = 0;
    const unsigned seed = static_cast<unsigned>(getpid()) * 2654435761u + ++counter;
    for (std::size_t i = 0; i < sizeof bytes; ++i)
      bytes[i] = static_cast<unsigned char>(seed >> (i * 4));
  }
  std::string suffix;
  for (unsigned char b : bytes) suffix.push_back(kDigits[b % (sizeof kDigits - 1)]);
  return suffix;
}

// A new file beside `target`, ".NAME.nexhost-XXXXXXXX", created exclusively (never an
// existing file) with the mode a new file gets.
int createTemporary(const std::string& target, std::string* tempPath) {
  const std::string base = nameOf(target).substr(0, kMaxTempBaseBytes);
  for (int attempt = 0; attempt < kTempAttempts; ++attempt) {
    *tempPath = directoryOf(target) + "." + base + ".nexhost-" + randomSuffix();
    const int fd = ::open(tempPath->c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0666);
    if (fd >= 0 || errno != EEXIST) return fd;
  }
  return -1;
}

// The temporary files not yet renamed or removed, for the signal handler that removes
// them: a fixed table, since a handler may not allocate.
constexpr int kMaxPending = 8;
const char* volatile pending[kMaxPending] = {};

void track(const char* path) {
  for (const char* volatile& slot : pending) {
    if (slot == nullptr) {
      slot = path;
      return;
    }
  }
}

void untrack(const char* path) {
  for (const char* volatile& slot : pending) {
    if (slot == path) slot = nullptr;
  }
}

void removePendingAndEnd(int signal) {
  for (const char* volatile& slot : pending) {
    if (const char* path = slot) ::unlink(path);
  }
  ::signal(signal, SIG_DFL);
  ::raise(signal);
}

}  // namespace

void OutputFile::removeTemporariesOnSignal() {
  for (int signal : {SIGINT, SIGTERM, SIGHUP}) {
    struct sigaction old {};
    // A signal the caller's shell ignores (nohup, a background job) stays ignored.
    if (::sigaction(signal, nullptr, &old) != 0 || old.sa_handler == SIG_IGN) continue;
    struct sigaction action {};
    action.sa_handler = removePendingAndEnd;
    sigemptyset(&action.sa_mask);
    ::sigaction(signal, &action, nullptr);
  }
}

std::unique_ptr<OutputFile> OutputFile::open(const std::string& path, std::string option,
                                             std::string* error) {
  const std::string shown = printableBytes(path);
  if (path == "-") {
    std::fflush(stdout);  // what was printed before goes first
    std::unique_ptr<OutputFile> out(new OutputFile(STDOUT_FILENO, std::move(option), "", "", ""));
    return out->openStream(error) ? std::move(out) : nullptr;
  }
  auto refuse = [&](const std::string& why) {
    *error = option + ": " + why;
    return nullptr;
  };
  std::string target = path;
  struct stat st {};
  bool exists = false;
  if (::lstat(path.c_str(), &st) == 0) {
    exists = true;
    if (S_ISLNK(st.st_mode)) {
      char* resolved = ::realpath(path.c_str(), nullptr);
      if (resolved == nullptr || ::stat(resolved, &st) != 0) {
        const int number = errno;
        std::free(resolved);
        return refuse(shown + " is a symbolic link that leads to no file (" +
                      std::strerror(number) + ")");
      }
      target = resolved;
      std::free(resolved);
    }
    if (!S_ISREG(st.st_mode)) {
      return refuse(shown + " is not a regular file or a new name (" + fileType(st.st_mode) + ")");
    }
  } else if (errno != ENOENT) {
    return refuse("cannot write " + shown + ": " + std::strerror(errno));
  }

  std::string tempPath;
  const int fd = createTemporary(target, &tempPath);
  if (fd < 0) return refuse("cannot write " + shown + ": " + std::strerror(errno));
  // The replacement keeps what the file was: its permissions, and its owner where the
  // system lets us (root writing a user's file). Neither failing stops the write.
  if (exists) {
    if (::fchmod(fd, st.st_mode & 07777) != 0 ||
        ((st.st_uid != ::geteuid() || st.st_gid != ::getegid()) &&
         ::fchown(fd, st.st_uid, st.st_gid) != 0)) {
    }
  }
  std::unique_ptr<OutputFile> out(
      new OutputFile(fd, std::move(option), shown, std::move(target), std::move(tempPath)));
  track(out->tempPath_.c_str());
  return out->openStream(error) ? std::move(out) : nullptr;
}

// The stream writes through these, so that the reason of the first failed write is kept:
// stdio reports only that one failed, and errno is long gone by the final flush.
bool OutputFile::openStream(std::string* error) {
  cookie_io_functions_t io{};
  io.write = [](void* cookie, const char* bytes, std::size_t size) -> ssize_t {
    auto* self = static_cast<OutputFile*>(cookie);
    std::size_t done = 0;
    while (done < size) {
      const ssize_t n = ::write(self->fd_, bytes + done, size - done);
      if (n < 0 && errno == EINTR) continue;
      if (n <= 0) {
        if (self->errorNumber_ == 0) self->errorNumber_ = n < 0 ? errno : EIO;
        break;
      }
      done += static_cast<std::size_t>(n);
    }
    return static_cast<ssize_t>(done);
  };
  io.close = [](void* cookie) {
    auto* self = static_cast<OutputFile*>(cookie);
    if (self->isStandardOutput()) return 0;
    const int closed = ::close(self->fd_);
    if (closed != 0 && self->errorNumber_ == 0) self->errorNumber_ = errno;
    return closed;
  };
  stream_ = ::fopencookie(this, "w", io);
  if (stream_ != nullptr) return true;
  *error = option_ + ": cannot write " + where() + ": " + std::strerror(errno);
  if (!isStandardOutput()) {
    ::close(fd_);
    untrack(tempPath_.c_str());
    ::unlink(tempPath_.c_str());
  }
  return false;
}

OutputFile::~OutputFile() {
  if (stream_ == nullptr) return;
  std::fclose(stream_);
  if (isStandardOutput()) return;
  untrack(tempPath_.c_str());
  ::unlink(tempPath_.c_str());
}

std::string OutputFile::where() const {
  return isStandardOutput() ? "standard output" : shownPath_;
}

bool OutputFile::commit(std::string* error) {
  if (stream_ == nullptr) return errorNumber_ == 0;
  const bool flushed = std::fflush(stream_) == 0 && std::ferror(stream_) == 0;
  const bool closed = std::fclose(stream_) == 0;
  stream_ = nullptr;
  if (flushed && closed && !isStandardOutput() &&
      ::rename(tempPath_.c_str(), target_.c_str()) != 0) {
    errorNumber_ = errno;
  } else if ((!flushed || !closed) && errorNumber_ == 0) {
    errorNumber_ = EIO;
  }
  if (!isStandardOutput()) untrack(tempPath_.c_str());
  if (errorNumber_ == 0) return true;
  if (!isStandardOutput()) ::unlink(tempPath_.c_str());
  *error = option_ + ": cannot write " + where() + ": " + std::strerror(errorNumber_);
  return false;
}

bool FileIdentity::operator==(const FileIdentity& other) const {
  if (exists != other.exists) return false;
  return exists ? device == other.device && inode == other.inode : resolved == other.resolved;
}

std::optional<FileIdentity> fileIdentity(const std::string& path) {
  FileIdentity identity;
  struct stat st {};
  if (::stat(path.c_str(), &st) == 0) {
    identity.exists = true;
    identity.device = st.st_dev;
    identity.inode = st.st_ino;
    return identity;
  }
  const std::string directory = directoryOf(path);
  char* resolved = ::realpath(directory.empty() ? "." : directory.c_str(), nullptr);
  if (resolved == nullptr) return std::nullopt;
  identity.resolved = std::string(resolved) + "/" + nameOf(path);
  std::free(resolved);
  return identity;
}

bool checkDistinctOutputs(const std::vector<NamedPath>& inputs,
                          const std::vector<NamedPath>& outputs, std::string* error) {
  auto skipped = [](const NamedPath& p) { return p.path.empty() || p.path == "-"; };
  for (std::size_t i = 0; i < outputs.size(); ++i) {
    const NamedPath& output = outputs[i];
    if (skipped(output)) continue;
    const std::optional<FileIdentity> identity = fileIdentity(output.path);
    if (!identity) continue;  // opening it will say why
    auto clash = [&](const NamedPath& other, const char* what) {
      if (skipped(other)) return false;
      const std::optional<FileIdentity> otherIdentity = fileIdentity(other.path);
      if (!otherIdentity || !(*otherIdentity == *identity)) return false;
      *error = output.name + ": " + printableBytes(output.path) + " is the same file as " +
               other.name + " " + printableBytes(other.path) + what;
      return true;
    };
    for (const NamedPath& input : inputs) {
      if (clash(input, "; writing it would destroy its input")) return false;
    }
    for (std::size_t j = 0; j < i; ++j) {
      if (clash(outputs[j], "; give each output its own file")) return false;
    }
  }
  return true;
}

}  // namespace nexhost
