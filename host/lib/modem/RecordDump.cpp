#include "modem/RecordDump.h"

#include <algorithm>
#include <cctype>
#include <limits>

#include "text/ByteText.h"

namespace nexhost {

namespace {

// Lines wrapped into records are split when a record ends; past these, no record can be
// pending any more (the largest is 6,184 bytes) and the text is refused.
constexpr std::size_t kMaxWrappedBytes = 64 * 1024;
constexpr std::size_t kMaxWrappedLines = 8192;

std::size_t largestRecord() {
  std::size_t largest = 0;
  for (const RecordKind& kind : recordKinds()) largest = std::max(largest, kind.size);
  return largest;
}

// "4, 8, 16, ... or 6184", for the errors that say which sizes were tried.
std::string recordSizes() {
  std::vector<std::size_t> sizes;
  for (const RecordKind& kind : recordKinds()) sizes.push_back(kind.size);
  std::sort(sizes.begin(), sizes.end());
  std::string text;
  for (std::size_t i = 0; i < sizes.size(); ++i) {
    text += (i == 0 ? "" : i + 1 == sizes.size() ? " or " : ", ") + std::to_string(sizes[i]);
  }
  return text;
}

bool isHexDigit(char c) { return std::isxdigit(static_cast<unsigned char>(c)) != 0; }

std::string trimmed(const std::string& text) {
  const std::size_t first = text.find_first_not_of(" \t\r");
  if (first == std::string::npos) return "";
  return text.substr(first, text.find_last_not_of(" \t\r") - first + 1);
}

// The offset that starts an xxd line ("00000010: 0700 ...") or a hexdump -C line
// ("00000010  07 00 ...  |....|", or the offset alone after the last line): hex digits,
// at least 4 (xxd) or 7 (hexdump). npos when `line` starts with no such offset.
std::size_t offsetDigits(const std::string& line, std::size_t least) {
  std::size_t n = 0;
  while (n < line.size() && isHexDigit(line[n])) ++n;
  return n >= least && n <= 16 ? n : std::string::npos;
}

}  // namespace

RecordDumpReader::RecordDumpReader(const RecordKind* kind, Sink sink)
    : typeGiven_(kind), sink_(std::move(sink)) {}

bool RecordDumpReader::fail(std::size_t first, std::size_t last, const std::string& what) {
  error_ = what;
  errorFirst_ = first;
  errorLast_ = last;
  return false;
}

std::string RecordDumpReader::where() const {
  return errorFirst_ == errorLast_
             ? "line " + std::to_string(errorFirst_)
             : "lines " + std::to_string(errorFirst_) + "-" + std::to_string(errorLast_);
}

bool RecordDumpReader::emit(const RecordKind* kind, std::vector<uint8_t> bytes, std::size_t first,
                            std::size_t last) {
  if (kind == nullptr) kind = recordKindOfSize(bytes.size());
  if (kind == nullptr) {
    return fail(first, last,
                std::to_string(bytes.size()) +
                    " bytes is the size of no record; name its type with --type or TYPE:");
  }
  if (bytes.size() != kind->size) {
    return fail(first, last,
                std::to_string(bytes.size()) + " bytes, but a " + kind->name + " record is " +
                    std::to_string(kind->size) + " bytes");
  }
  sink_(RecordBytes{kind, std::move(bytes)});
  return true;
}

bool RecordDumpReader::addLine(const std::string& raw) {
  ++lineNumber_;
  std::string line = trimmed(raw);
  if (line.empty()) {  // a blank line ends whatever record is in progress
    if (!endRecord()) return false;
    lineType_ = nullptr;
    return true;
  }
  if (line == "*") {  // hexdump: the lines up to the next offset repeat the last one
    if (!inDump_) return fail(lineNumber_, lineNumber_, "\"*\" outside a hexdump -C dump");
    dumpRepeat_ = true;
    return true;
  }
  std::size_t digits = offsetDigits(line, 4);
  if (digits != std::string::npos && digits < line.size() && line[digits] == ':' &&
      (digits + 1 == line.size() || line[digits + 1] == ' ')) {
    // xxd: the hex ends where two blanks set off the ASCII column.
    const std::size_t ascii = line.find("  ", digits + 1);
    const std::string hex = line.substr(
        digits + 1, ascii == std::string::npos ? std::string::npos : ascii - digits - 1);
    std::string error;
    auto bytes = bytesFromHex(hex, &error);
    if (!bytes) return fail(lineNumber_, lineNumber_, "xxd line: " + error);
    return addDumpLine(Shape::kXxd, std::stoull(line.substr(0, digits), nullptr, 16),
                       std::move(*bytes));
  }
  digits = offsetDigits(line, 7);
  if (digits != std::string::npos && inDump_ && digits == line.size()) {
    return addDumpLine(Shape::kHexdumpEnd, std::stoull(line, nullptr, 16), {});
  }
  const std::size_t bar = line.find('|');
  if (digits != std::string::npos && bar != std::string::npos &&
      line.compare(digits, 2, "  ") == 0) {
    std::string error;
    auto bytes = bytesFromHex(line.substr(digits, bar - digits), &error);
    if (!bytes) return fail(lineNumber_, lineNumber_, "hexdump -C line: " + error);
    return addDumpLine(Shape::kHexdump, std::stoull(line.substr(0, digits), nullptr, 16),
                       std::move(*bytes));
  }

  // Hex, with an optional TYPE: first.
  if (inDump_ && !endDump()) return false;
  std::string hex = line;
  const std::size_t colon = line.find(':');
  if (colon != std::string::npos) {
    std::string name = trimmed(line.substr(0, colon));
    std::transform(name.begin(), name.end(), name.begin(),
                   [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
    const RecordKind* kind = recordKindNamed(name);
    if (kind == nullptr) {
      return fail(lineNumber_, lineNumber_, unknownRecordType(name));
    }
    if (!endRecord()) return false;  // a named type starts a record
    lineType_ = kind;
    hex = line.substr(colon + 1);
  }
  std::string error;
  auto bytes = bytesFromHex(hex, &error);
  if (!bytes) return fail(lineNumber_, lineNumber_, error);
  if (bytes->empty()) return true;  // "TYPE:" alone names the type of the lines below

  const RecordKind* type = lineType_ != nullptr ? lineType_ : typeGiven_;
  if (type != nullptr) {  // lines join until they make one record of the type
    const std::size_t first = lines_.empty() ? lineNumber_ : lines_.front().number;
    linesBytes_ += bytes->size();
    lines_.push_back(Line{lineNumber_, std::move(*bytes)});
    if (linesBytes_ < type->size) return true;
    std::vector<uint8_t> record;
    for (const Line& l : lines_) {
      record.insert(record.end(), l.bytes.begin(), l.bytes.end());
      // Its width: the lines after it may wrap the same way without a type.
      if (lines_.size() > 1) learnedWidth_ = std::max(learnedWidth_, l.bytes.size());
    }
    lines_.clear();
    linesBytes_ = 0;
    lineType_ = nullptr;
    return emit(type, std::move(record), first, lineNumber_);
  }
  const std::size_t size = bytes->size();
  if (!lines_.empty() && size > lines_.front().bytes.size() && !splitLines()) return false;
  if (lines_.empty()) {
    // A line that is a whole record is one, unless it is as wide as the lines records
    // were seen wrapped over.
    if (recordKindOfSize(size) != nullptr && size != learnedWidth_) {
      return emit(nullptr, std::move(*bytes), lineNumber_, lineNumber_);
    }
    lines_.push_back(Line{lineNumber_, std::move(*bytes)});
    linesBytes_ = size;
    return true;
  }
  lines_.push_back(Line{lineNumber_, std::move(*bytes)});
  linesBytes_ += size;
  if (size < lines_.front().bytes.size()) return splitLines();  // a short line ends a record
  if (linesBytes_ > kMaxWrappedBytes || lines_.size() > kMaxWrappedLines) {
    return fail(lines_.front().number, lineNumber_,
                "more than " + std::to_string(kMaxWrappedBytes / 1024) +
                    " KiB of lines of the same width and no record ends; end each record "
                    "with a blank line or name the type with --type or TYPE:");
  }
  return true;
}

bool RecordDumpReader::endRecord() {
  if (inDump_) return endDump();
  if (lines_.empty()) return true;
  const RecordKind* type = lineType_ != nullptr ? lineType_ : typeGiven_;
  if (type != nullptr) {
    return fail(lines_.front().number, lines_.back().number,
                std::to_string(linesBytes_) + " bytes, but a " + type->name + " record is " +
                    std::to_string(type->size) + " bytes");
  }
  return splitLines();
}

// The wrapped lines pending, split into records: the fewest records whose sizes add up
// line by line (a record starts on a new line, as a log prints it).
bool RecordDumpReader::splitLines() {
  const std::size_t n = lines_.size();
  const std::size_t none = std::numeric_limits<std::size_t>::max();
  std::vector<std::size_t> fewest(n + 1, none), next(n + 1, n);
  fewest[n] = 0;
  const std::size_t largest = largestRecord();
  for (std::size_t i = n; i-- > 0;) {
    std::size_t bytes = 0;
    for (std::size_t end = i; end < n && bytes <= largest; ++end) {
      bytes += lines_[end].bytes.size();
      if (recordKindOfSize(bytes) == nullptr || fewest[end + 1] == none) continue;
      if (fewest[end + 1] + 1 < fewest[i]) {
        fewest[i] = fewest[end + 1] + 1;
        next[i] = end + 1;
      }
    }
  }
  const std::size_t first = lines_.front().number;
  const std::size_t last = lines_.back().number;
  const std::size_t width = lines_.front().bytes.size();
  if (fewest[0] == none && n == 1) {
    lines_.clear();
    return fail(first, last,
                std::to_string(width) +
                    " bytes is the size of no record; name its type with --type or TYPE:");
  }
  if (fewest[0] == none) {
    const std::string error =
        std::to_string(linesBytes_) + " bytes in " + std::to_string(n) + " lines of " +
        std::to_string(width) + " bytes make no records: read as records wrapped over lines, " +
        "one or more whose sizes (" + recordSizes() +
        ") add up line by line; end each record with a blank line or name the type with " +
        "--type or TYPE:";
    lines_.clear();
    return fail(first, last, error);
  }
  std::vector<Line> lines = std::move(lines_);
  lines_.clear();
  linesBytes_ = 0;
  for (std::size_t i = 0; i < n; i = next[i]) {
    std::vector<uint8_t> record;
    for (std::size_t j = i; j < next[i]; ++j) {
      record.insert(record.end(), lines[j].bytes.begin(), lines[j].bytes.end());
    }
    if (next[i] - i > 1) learnedWidth_ = width;
    if (!emit(nullptr, std::move(record), lines[i].number, lines[next[i] - 1].number)) {
      return false;
    }
  }
  return true;
}

bool RecordDumpReader::addDumpLine(Shape shape, std::size_t offset, std::vector<uint8_t> bytes) {
  if (!lines_.empty() && !endRecord()) return false;
  if (inDump_ && offset == 0 && shape != Shape::kHexdumpEnd && !endDump()) return false;
  if (!inDump_) {
    if (offset != 0) {
      return fail(lineNumber_, lineNumber_,
                  "a dump line at offset " + std::to_string(offset) +
                      " with no dump before it (a dump starts at offset 0)");
    }
    inDump_ = true;
    dumpFirst_ = lineNumber_;
    dumpLast_ = lineNumber_;
    dump_.clear();
    dumpPosition_ = 0;
    dumpLastLine_.clear();
    dumpRepeat_ = false;
  }
  const RecordKind* type = lineType_ != nullptr ? lineType_ : typeGiven_;
  const std::size_t limit = type != nullptr ? kMaxWrappedBytes * 16 : largestRecord();
  while (dumpRepeat_ && dumpPosition_ < offset && !dumpLastLine_.empty() &&
         dumpPosition_ <= limit) {
    const std::size_t take = std::min(dumpLastLine_.size(), offset - dumpPosition_);
    dump_.insert(dump_.end(), dumpLastLine_.begin(), dumpLastLine_.begin() + take);
    dumpPosition_ += take;
  }
  dumpRepeat_ = false;
  if (offset != dumpPosition_ && dumpPosition_ <= limit) {
    return fail(lineNumber_, lineNumber_,
                "offset " + std::to_string(offset) + " where " + std::to_string(dumpPosition_) +
                    " was expected: a line of the dump is missing");
  }
  dump_.insert(dump_.end(), bytes.begin(), bytes.end());
  dumpPosition_ += bytes.size();
  dumpLast_ = lineNumber_;
  if (!bytes.empty()) dumpLastLine_ = std::move(bytes);
  if (type != nullptr) {  // a dump of several records of one type
    // Taken from the front and erased once: a "*" may repeat a short line up to the
    // limit, and erasing record by record would cost the square of that.
    std::size_t taken = 0;
    bool ok = true;
    while (ok && dump_.size() - taken >= type->size) {
      std::vector<uint8_t> record(dump_.begin() + taken, dump_.begin() + taken + type->size);
      taken += type->size;
      ok = emit(type, std::move(record), dumpFirst_, lineNumber_);
    }
    dump_.erase(dump_.begin(), dump_.begin() + taken);
    if (!ok) return false;
  }
  if (dumpPosition_ > limit) {
    return fail(dumpFirst_, lineNumber_,
                "a dump of more than " + std::to_string(limit) + " bytes" +
                    (type != nullptr ? ""
                                     : ", the largest record: for several records in one dump, "
                                       "name their type with --type or TYPE: on the line before"));
  }
  if (shape == Shape::kHexdumpEnd) return endDump();
  return true;
}

bool RecordDumpReader::endDump() {
  inDump_ = false;
  const RecordKind* type = lineType_ != nullptr ? lineType_ : typeGiven_;
  lineType_ = nullptr;
  std::vector<uint8_t> rest = std::move(dump_);
  dump_.clear();
  if (type != nullptr) {
    if (rest.empty()) return true;
    return fail(dumpFirst_, dumpLast_,
                std::to_string(rest.size()) + " bytes left at the dump's end, but a " + type->name +
                    " record is " + std::to_string(type->size) + " bytes");
  }
  if (recordKindOfSize(rest.size()) == nullptr) {
    return fail(dumpFirst_, dumpLast_,
                "a dump of " + std::to_string(rest.size()) + " bytes: no record has this size (" +
                    recordSizes() +
                    "); a dump is read as one record, or, with their type named (--type or "
                    "TYPE: on the line before), as records of that type");
  }
  return emit(nullptr, std::move(rest), dumpFirst_, dumpLast_);
}

bool RecordDumpReader::finish() { return endRecord(); }

}  // namespace nexhost
