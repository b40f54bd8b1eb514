// What `nexhost decode` reads: records given one per argument, or a stream of text as
// pasted from a log (RecordDumpReader's shapes), within bounds on lines and records.
#pragma once

#include <cstddef>
#include <cstdio>
#include <functional>
#include <string>
#include <vector>

#include "modem/RecordDump.h"

namespace nexhost {

struct RecordInputLimits {
  std::size_t lineBytes = 64 * 1024;  // a start indication is 12,368 digits
  std::size_t records = 100000;
};

using RecordSink = std::function<void(const RecordBytes& record)>;

// Each argument is one record. "" when all were read; otherwise what stopped it,
// naming the argument ("argument 2: ...").
std::string readRecordArguments(const std::vector<std::string>& arguments, const RecordKind* kind,
                                const RecordInputLimits& limits, const RecordSink& sink);

// Records from the lines of `in`, named `name` in errors ("standard input"), until its end
// or until `keepReading` says no (a reader of the output gone). "" when all were read;
// otherwise what stopped it, naming the lines ("standard input lines 3-5: ...").
std::string readRecordStream(std::FILE* in, const std::string& name, const RecordKind* kind,
                             const RecordInputLimits& limits, const RecordSink& sink,
                             const std::function<bool()>& keepReading);

}  // namespace nexhost
