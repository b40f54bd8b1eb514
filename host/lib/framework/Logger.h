#pragma once

#include <cstddef>
#include <string>
#include <vector>

#include "events/Trace.h"

namespace nexhost {

struct LogLine {
  int level;
  int module;
  std::string file;
  int line;
  std::string text;
};

// The plug-in's log lines: printed to stderr or traced at or above their levels, and kept
// in lines() only when asked (tests).
class Logger {
 public:
  explicit Logger(Trace& trace) : trace_(trace) {}

  void write(int level, int module, const char* file, int line, std::string text);

  const std::vector<LogLine>& lines() const { return lines_; }
  // Lines whose text equals `text` exactly.
  std::size_t count(const std::string& text) const;
  bool contains(const std::string& text) const { return count(text) != 0; }
  const LogLine* find(const std::string& text) const;
  void clear() { lines_.clear(); }

  // Print lines at or above `level` to stderr; -1 (the default) prints nothing.
  void setStderrLevel(int level) { stderrLevel_ = level; }
  // Record lines at or above `level` in the trace; 5 (the default) records none.
  void setTraceLevel(int level) { traceLevel_ = level; }

  // What happens to a line that is neither printed nor traced: dropped unformatted (the
  // default: a long run stays flat and cheap), formatted and dropped (what a handset
  // logger's formatting costs), or kept in lines() with every other line (tests).
  enum class Journal { kKeep, kFormatOnly, kOff };
  void setJournal(Journal journal) { journal_ = journal; }
  Journal journal() const { return journal_; }
  // Whether a line at `level` is printed, traced or kept, so must be formatted as text.
  bool wants(int level) const {
    return journal_ == Journal::kKeep || (level >= stderrLevel_ && stderrLevel_ >= 0) ||
           level >= traceLevel_;
  }

 private:
  Trace& trace_;
  std::vector<LogLine> lines_;
  int stderrLevel_ = -1;
  int traceLevel_ = 5;
  Journal journal_ = Journal::kOff;
};

}  // namespace nexhost
