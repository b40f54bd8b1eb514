#include "io/InputFile.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

#include "io/RegularFile.h"
#include "text/ByteText.h"

namespace nexhost {

namespace {

std::string refusedType(mode_t mode) {
  return std::string("not a regular file or pipe (") +
         (S_ISDIR(mode)   ? "a directory"
          : S_ISCHR(mode) ? "a character device"
          : S_ISBLK(mode) ? "a block device"
                          : "a socket") +
         ")";
}

std::string directoryOf(const std::string& path) {
  const std::size_t slash = path.rfind('/');
  if (slash == std::string::npos) return ".";
  return slash == 0 ? "/" : path.substr(0, slash);
}

}  // namespace

std::string readInputFile(const std::string& path, std::size_t maxBytes, InputFile* file) {
  const bool standardInput = path == "-";
  file->name = standardInput ? "standard input" : printableBytes(path);  // any byte, shown in ASCII
  // O_NONBLOCK: a FIFO's open must not wait for a writer before its type is known.
  int fd =
      standardInput ? ::dup(STDIN_FILENO) : ::open(path.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC);
  if (fd < 0) return std::strerror(errno);
  struct stat info {};
  if (!standardInput && ::fstat(fd, &info) == 0 && S_ISFIFO(info.st_mode)) {
    // A named pipe: wait for its writer, as cat does (process substitution has one).
    ::close(fd);
    fd = ::open(path.c_str(), O_RDONLY | O_CLOEXEC);
    if (fd < 0) return std::strerror(errno);
  }
  struct Closer {
    int fd;
    ~Closer() { ::close(fd); }
  } closer{fd};
  if (::fstat(fd, &info) != 0) return std::strerror(errno);
  if (S_ISREG(info.st_mode)) {
    if (static_cast<unsigned long long>(info.st_size) > maxBytes) return "larger than " + mebibytes(maxBytes);
    if (!standardInput) {
      file->directory = directoryOf(path);
    } else {
      // Redirected from a file: its paths mean what they mean beside it.
      char target[4096];
      const ssize_t n = ::readlink("/proc/self/fd/0", target, sizeof target - 1);
      file->directory = n > 0 && target[0] == '/'
                            ? directoryOf(std::string(target, static_cast<std::size_t>(n)))
                            : ".";
    }
  } else if (S_ISFIFO(info.st_mode) || (standardInput && !S_ISDIR(info.st_mode))) {
    file->directory = ".";  // a pipe, process substitution or terminal: read as it comes
  } else {
    return refusedType(info.st_mode);
  }
  return readAll(fd, maxBytes, &file->text);
}

}  // namespace nexhost
