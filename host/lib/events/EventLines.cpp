#include "events/EventLines.h"

#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <iostream>

#include "events/EventSchema.h"
#include "io/RegularFile.h"
#include "text/ByteText.h"

namespace nexhost {

namespace {

constexpr std::size_t kMaxLineBytes = 1024 * 1024;
// An error quotes the line's own texts (a kind, a key): kept to one readable line.
constexpr std::size_t kMaxErrorBytes = 400;

}  // namespace

bool EventLines::fail(const std::string& what) {
  const bool cut = what.size() > kMaxErrorBytes;
  error_ = name_ + ":" + std::to_string(line_) + ": " +
           printableBytes(what.substr(0, kMaxErrorBytes)) + (cut ? "..." : "");
  return false;
}

bool EventLines::next(Event* event) {
  if (!error_.empty()) return false;
  while (true) {
    text_.clear();
    ++line_;
    // Read by hand, so that an endless line stops at the bound.
    int c;
    while ((c = in_.get()) != EOF && c != '\n') {
      if (text_.size() == kMaxLineBytes) return fail("line longer than 1 MiB");
      text_.push_back(static_cast<char>(c));
    }
    if (c == EOF && text_.empty()) return false;
    // The JSON parser takes a NUL for the end of its input: the rest would go unread.
    const std::size_t nul = text_.find('\0');
    if (nul != std::string::npos) {
      return fail("a NUL byte at column " + std::to_string(nul + 1) + "; an event line holds none");
    }
    if (text_.find_first_not_of(" \t\r") == std::string::npos) continue;
    std::string what;
    std::optional<Event> read = readEventLine(text_, &what);
    if (!read) return fail(what);
    *event = std::move(*read);
    return true;
  }
}

bool SavedRun::open(const std::string& path, std::string* error) {
  standardInput_ = path == "-";
  name_ = standardInput_ ? "standard input" : printableBytes(path);
  if (standardInput_) return true;
  // Refused as the scenario loader refuses it: a FIFO or a device before a byte is read.
  std::string problem;
  const int fd = openRegularFile(path, &problem);
  if (fd < 0) {
    *error = "cannot read " + name_ + ": " + problem;
    return false;
  }
  ::close(fd);
  file_.open(path, std::ios::binary);
  if (!file_) {
    *error = "cannot read " + name_ + ": " + std::strerror(errno);
    return false;
  }
  return true;
}

std::istream& SavedRun::stream() { return standardInput_ ? std::cin : file_; }

}  // namespace nexhost
