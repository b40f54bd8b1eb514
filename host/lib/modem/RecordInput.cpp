#include "modem/RecordInput.h"

namespace nexhost {

namespace {

// The next line of `in` without its newline; false at the end. A line past `limit` bytes
// sets `tooLong` (the rest of it is not read).
bool readLine(std::FILE* in, std::size_t limit, std::string* line, bool* tooLong) {
  line->clear();
  *tooLong = false;
  int c = 0;
  while ((c = std::fgetc(in)) != EOF && c != '\n') {
    if (line->size() == limit) {
      *tooLong = true;
      return true;
    }
    line->push_back(static_cast<char>(c));
  }
  return c != EOF || !line->empty();
}

// Hands records on up to the limit, and says once it has been passed.
class CountedSink {
 public:
  CountedSink(const RecordInputLimits& limits, const RecordSink& sink)
      : limits_(limits), sink_(sink) {}
  void operator()(const RecordBytes& record) {
    if (++records_ <= limits_.records) sink_(record);
  }
  std::string tooMany(const std::string& where) const {
    if (records_ <= limits_.records) return "";
    return where + ": more than " + std::to_string(limits_.records) + " records";
  }

 private:
  const RecordInputLimits& limits_;
  const RecordSink& sink_;
  std::size_t records_ = 0;
};

}  // namespace

std::string readRecordArguments(const std::vector<std::string>& arguments, const RecordKind* kind,
                                const RecordInputLimits& limits, const RecordSink& sink) {
  CountedSink counted(limits, sink);
  for (std::size_t i = 0; i < arguments.size(); ++i) {
    const std::string where = "argument " + std::to_string(i + 1);
    RecordDumpReader reader(kind, [&](const RecordBytes& r) { counted(r); });
    if (!reader.addLine(arguments[i]) || !reader.finish()) return where + ": " + reader.error();
    std::string error = counted.tooMany(where);
    if (!error.empty()) return error;
  }
  return "";
}

std::string readRecordStream(std::FILE* in, const std::string& name, const RecordKind* kind,
                             const RecordInputLimits& limits, const RecordSink& sink,
                             const std::function<bool()>& keepReading) {
  CountedSink counted(limits, sink);
  RecordDumpReader reader(kind, [&](const RecordBytes& r) { counted(r); });
  std::string line;
  bool tooLong = false;
  for (std::size_t n = 1; keepReading() && readLine(in, limits.lineBytes, &line, &tooLong); ++n) {
    const std::string where = name + " line " + std::to_string(n);
    if (tooLong) return where + ": longer than " + std::to_string(limits.lineBytes) + " bytes";
    if (!reader.addLine(line)) return name + " " + reader.where() + ": " + reader.error();
    std::string error = counted.tooMany(where);
    if (!error.empty()) return error;
  }
  if (!reader.finish()) return name + " " + reader.where() + ": " + reader.error();
  return counted.tooMany(name);
}

}  // namespace nexhost
