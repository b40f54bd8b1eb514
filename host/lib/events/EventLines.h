#pragma once

#include <fstream>
#include <istream>
#include <string>

#include "events/Trace.h"

namespace nexhost {

// Reads a run saved with `--json` (JSON Lines, one event per line) one event at a time,
// so that a reader of any length holds one line. Blank lines are skipped. A line that is
// not an event as a run writes it (readEventLine: the text output, a key of another
// type, ...), holds a NUL byte or is longer than 1 MiB stops the reading with a one-line
// error naming `name`, the line and the key ("run.jsonl:7: key "ok": expected ...").
class EventLines {
 public:
  EventLines(std::istream& in, std::string name) : in_(in), name_(std::move(name)) {}

  // The next event; false at the end of the input, or on an error (error() says which).
  bool next(Event* event);
  const std::string& error() const { return error_; }
  const std::string& name() const { return name_; }
  // The line the last event came from (1 for the first line).
  long long line() const { return line_; }

 private:
  bool fail(const std::string& what);

  std::istream& in_;
  std::string name_;
  std::string text_;
  long long line_ = 0;
  std::string error_;
};

// A saved run to read: standard input for "-", else a regular file (a FIFO or a device
// could be endless, a directory holds no run). Its name is the one errors give: the path
// in the escape form of every nexhost text, or "standard input".
class SavedRun {
 public:
  // False with a one-line error ("cannot read run.jsonl: No such file or directory").
  bool open(const std::string& path, std::string* error);
  std::istream& stream();
  const std::string& name() const { return name_; }

 private:
  std::ifstream file_;
  bool standardInput_ = false;
  std::string name_;
};

}  // namespace nexhost
