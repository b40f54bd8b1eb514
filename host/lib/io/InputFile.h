#pragma once

#include <cstddef>
#include <string>

namespace nexhost {

// A file read once, whole: a regular file, a pipe or process substitution (/dev/fd/N), or
// standard input as "-". At most `maxBytes`, counted as the bytes arrive (a pipe has no
// size to check first). A directory or a device is refused before a byte is read.
struct InputFile {
  std::string text;
  std::string name;       // as errors name it: the path, or "standard input"
  std::string directory;  // where paths inside it are relative to: its own directory for a
                          // regular file (standard input redirected from one too), else "."
};

// "" once `file` holds the input; otherwise what is wrong ("No such file or directory",
// "not a regular file or pipe (a directory)", "larger than 16 MiB").
std::string readInputFile(const std::string& path, std::size_t maxBytes, InputFile* file);

}  // namespace nexhost
