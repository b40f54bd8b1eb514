#include "io/RegularFile.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

namespace nexhost {

std::string mebibytes(std::size_t bytes) { return std::to_string(bytes >> 20) + " MiB"; }

int openRegularFile(const std::string& path, std::string* problem) {
  const int fd = ::open(path.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC);
  if (fd < 0) {
    *problem = std::strerror(errno);
    return -1;
  }
  struct stat info {};
  if (::fstat(fd, &info) != 0) {
    *problem = std::strerror(errno);
  } else if (!S_ISREG(info.st_mode)) {
    *problem = std::string("not a regular file (") +
               (S_ISDIR(info.st_mode)    ? "a directory"
                : S_ISFIFO(info.st_mode) ? "a FIFO"
                : S_ISCHR(info.st_mode)  ? "a character device"
                : S_ISBLK(info.st_mode)  ? "a block device"
                                         : "a socket") +
               ")";
  } else {
    return fd;
  }
  ::close(fd);
  return -1;
}

std::string readRegularFile(const std::string& path, std::size_t maxBytes, std::string* text) {
  std::string problem;
  const int fd = openRegularFile(path, &problem);
  if (fd < 0) return problem;
  struct Closer {
    int fd;
    ~Closer() { ::close(fd); }
  } closer{fd};
  struct stat info {};
  if (::fstat(fd, &info) != 0) return std::strerror(errno);
  if (static_cast<unsigned long long>(info.st_size) > maxBytes) {
    return "larger than " + mebibytes(maxBytes);
  }
  return readAll(fd, maxBytes, text);
}

std::string readAll(int fd, std::size_t maxBytes, std::string* text) {
  text->clear();
  char buffer[1 << 16];
  for (;;) {
    const ssize_t n = ::read(fd, buffer, sizeof buffer);
    if (n < 0 && errno == EINTR) continue;
    if (n < 0) return std::strerror(errno);
    if (n == 0) return "";
    if (text->size() + static_cast<std::size_t>(n) > maxBytes) {
      return "larger than " + mebibytes(maxBytes);
    }
    text->append(buffer, static_cast<std::size_t>(n));
  }
}

}  // namespace nexhost
