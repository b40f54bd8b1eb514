#pragma once

#include <cstddef>
#include <string>

namespace nexhost {

// Opens `path` for reading only when it is a regular file: a directory, a FIFO or a device
// is refused before a byte is read (O_NONBLOCK keeps a FIFO from blocking the open until
// a writer comes). Returns the descriptor, or -1 with what is wrong in `problem`
// ("not a regular file (a FIFO)", "No such file or directory").
int openRegularFile(const std::string& path, std::string* problem);

// Reads a regular file of at most `maxBytes`. Returns what is wrong with it, or "" once
// `text` holds it.
std::string readRegularFile(const std::string& path, std::size_t maxBytes, std::string* text);

// Reads `fd` to its end into `text`, refusing more than `maxBytes` as the bytes arrive
// (a pipe has no size to check first, a file may grow, /proc files report none).
// Returns what is wrong, or "".
std::string readAll(int fd, std::size_t maxBytes, std::string* text);

// "16 MiB"
std::string mebibytes(std::size_t bytes);

}  // namespace nexhost
