// nexhost decode: modem records as hex, one per argument or as pasted from a log on
// standard input, printed as a run prints its modem events.
#include <cstdio>
#include <memory>

#include "Command.h"
#include "Output.h"
#include "modem/RecordInput.h"
#include "text/ByteText.h"

namespace nexhost {

namespace {

struct DecodeOptions {
  bool json = false;
  std::string type;
  std::vector<std::string> records;
};

// For --help: each type with its size, one per line.
std::string recordTypesTable() {
  std::string table;
  for (const RecordKind& kind : recordKinds()) {
    char line[80];
    std::snprintf(line, sizeof line, "  %-28s %5zu\n", kind.name, kind.size);
    table += line;
  }
  return table;
}

// A record as the modem event a run prints for it.
Event modemEvent(const RecordBytes& record) {
  const std::vector<uint8_t>& bytes = record.bytes;
  return Event{0, "modem",
               Json{{"message", record.kind->name},
                    {"fields", record.kind->decode(bytes.data(), bytes.size())},
                    {"bytes", hexText(bytes.data(), bytes.size())}}};
}

int decodeRecords(const DecodeOptions& options) {
  const RecordKind* kind = nullptr;
  if (!options.type.empty()) {
    kind = recordKindNamed(options.type);
    if (kind == nullptr) {
      std::fprintf(stderr, "nexhost: --type: unknown record type \"%s\" (known: %s)\n",
                   printableBytes(options.type).c_str(), recordKindNames().c_str());
      return kExitUsage;
    }
  }
  std::unique_ptr<EventPrinter> printer = makePrinter(options.json, noteOutputFailure);
  const RecordSink print = [&](const RecordBytes& record) { printer->print(modemEvent(record)); };
  const bool fromStdin =
      options.records.empty() || (options.records.size() == 1 && options.records[0] == "-");
  const RecordInputLimits limits;
  // A reader that went away (or a full disk) ends the reading too.
  const std::string error = fromStdin
                                ? readRecordStream(stdin, "standard input", kind, limits, print,
                                                   [] { return standardOutputError() == 0; })
                                : readRecordArguments(options.records, kind, limits, print);
  if (error.empty()) return kExitOk;
  std::fprintf(stderr, "nexhost: decode: %s\n", error.c_str());
  return kExitUsage;
}

}  // namespace

std::function<int()> defineDecode(CLI::App* command, const GlobalOptions&) {
  auto options = std::make_shared<DecodeOptions>();
  command->add_option("RECORD", options->records,
                      "a record as hex, optionally prefixed TYPE: (default, or -: records "
                      "from standard input, as pasted from a log)");
  command->add_option("--type", options->type, "the records' type, where no TYPE: names it");
  command->add_flag("--json", options->json,
                    "JSON Lines: one modem event per record, as run --json prints it");
  command->footer(
      "\nExamples:\n"
      "  nexhost decode STOP:07000000\n"
      "  nexhost decode --type wqe_profile_quality_status < records.txt\n"
      "  xxd record.bin | nexhost decode\n"
      "  nexhost run --json --only modem examples/connected-rssi.json | jq -r .bytes \\\n"
      "    | nexhost decode --json\n"
      "\nA record is hex digits in pairs, either case, with spaces or tabs allowed between\n"
      "pairs. Standard input takes what a log shows: one record a line; records wrapped\n"
      "over lines of one width (a shorter line, a wider one or a blank line ends a record,\n"
      "and the sizes split the lines into records); xxd and hexdump -C dumps (one dump is\n"
      "one record, or records of the type named). A record's type is, in this order: its\n"
      "TYPE: (any case; alone on a line, it names the lines below), --type, or the one type\n"
      "whose records have the record's length.\n"
      "Types and their sizes in bytes:\n" +
      recordTypesTable() +
      "Texts print in the one escape form of every nexhost output: bytes outside printable\n"
      "ASCII, and the backslash, as \\xNN.\n"
      "\nBad hex, an unknown type, a length that is not the type's size, or lines that make\n"
      "no records stop with one line naming the argument or input lines, how they were read,\n"
      "and exit code 2. At most 100,000 records, each line at most 64 KiB.\n");

  return [options] { return decodeRecords(*options); };
}

}  // namespace nexhost
