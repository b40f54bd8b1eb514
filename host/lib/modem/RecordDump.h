#pragma once

#include <cstddef>
#include <functional>
#include <string>
#include <vector>

#include "modem/Records.h"

namespace nexhost {

// Modem records out of text as engineers paste it from a log, line by line:
//   - one record per line, as hex ("07 00 00 00"), optionally "TYPE:" first (any case);
//   - records wrapped over several lines of the same width: a record's lines are joined
//     until a shorter line, a wider one or a blank line ends it, and split into records
//     by their sizes (a line that is a whole record by itself stays one record);
//   - xxd and hexdump -C dumps (offsets, the ASCII column and hexdump's "*" handled):
//     one dump is one record, or, with its type named, as many as it holds; a dump whose
//     offset starts again at 0 is a new one.
// A TYPE: line, or the type given to the reader (--type), names the type of what
// follows up to the record's end; otherwise the type is the one of the record's size.
// Memory stays bounded: a record is handed on as soon as it ends.
class RecordDumpReader {
 public:
  using Sink = std::function<void(const RecordBytes& record)>;
  // `kind`: the type of every record (--type), or null.
  RecordDumpReader(const RecordKind* kind, Sink sink);

  // One line, without its newline; lines are numbered from 1. False, with error() and
  // where() set, when the text cannot be read into records; stop there.
  bool addLine(const std::string& line);
  // The end of the input: ends the record in progress.
  bool finish();
  const std::string& error() const { return error_; }
  // The lines the error is about: "line 3", "lines 3-5".
  std::string where() const;

 private:
  struct Line {
    std::size_t number;
    std::vector<uint8_t> bytes;
  };
  enum class Shape { kXxd, kHexdump, kHexdumpEnd };

  bool fail(std::size_t first, std::size_t last, const std::string& what);
  bool emit(const RecordKind* kind, std::vector<uint8_t> bytes, std::size_t first,
            std::size_t last);
  bool endRecord();  // the wrapped lines, or the dump, in progress
  bool splitLines();
  bool addDumpLine(Shape shape, std::size_t offset, std::vector<uint8_t> bytes);
  bool endDump();

  const RecordKind* typeGiven_;
  Sink sink_;
  std::string error_;
  std::size_t errorFirst_ = 0;
  std::size_t errorLast_ = 0;
  std::size_t lineNumber_ = 0;
  std::size_t learnedWidth_ = 0;          // the width of a record seen wrapped over lines
  const RecordKind* lineType_ = nullptr;  // from a TYPE: prefix, up to the record's end
  // Lines of a record (or records) wrapped over lines, all as wide as the first.
  std::vector<Line> lines_;
  std::size_t linesBytes_ = 0;
  // A dump in progress.
  bool inDump_ = false;
  std::size_t dumpFirst_ = 0;
  std::size_t dumpLast_ = 0;           // its last line
  std::size_t dumpPosition_ = 0;       // the offset its next line starts at
  std::vector<uint8_t> dump_;          // its bytes not yet handed on
  std::vector<uint8_t> dumpLastLine_;  // what hexdump's "*" repeats
  bool dumpRepeat_ = false;
};

}  // namespace nexhost
