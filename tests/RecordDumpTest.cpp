// Records out of pasted text: what splits lines into records, and how a text that cannot
// be split is refused. (tests/cli/decode-dumps.sh reads every example record in each form.)
#include <gtest/gtest.h>

#include <cstdio>
#include <string>
#include <vector>

#include "modem/RecordDump.h"
#include "modem/RecordInput.h"

namespace {

using nexhost::RecordBytes;
using nexhost::RecordDumpReader;

struct Outcome {
  std::vector<std::string> records;  // "name/size"
  std::string error;
};

Outcome read(const std::string& text, const char* type = nullptr) {
  Outcome out;
  RecordDumpReader reader(
      type == nullptr ? nullptr : nexhost::recordKindNamed(type), [&](const RecordBytes& r) {
        out.records.push_back(std::string(r.kind->name) + "/" + std::to_string(r.bytes.size()));
      });
  std::size_t start = 0;
  bool ok = true;
  while (ok && start < text.size()) {
    std::size_t end = text.find('\n', start);
    if (end == std::string::npos) end = text.size();
    ok = reader.addLine(text.substr(start, end - start));
    start = end + 1;
  }
  if (ok) ok = reader.finish();
  if (!ok) out.error = reader.where() + ": " + reader.error();
  return out;
}

std::string hexOf(std::size_t bytes, const char* pair = "00") {
  std::string hex;
  for (std::size_t i = 0; i < bytes; ++i) hex += pair;
  return hex;
}

// Hex of `bytes` zero bytes wrapped at `width` bytes a line.
std::string wrapped(std::size_t bytes, std::size_t width) {
  std::string text;
  for (std::size_t at = 0; at < bytes; at += width) {
    text += hexOf(std::min(width, bytes - at)) + "\n";
  }
  return text;
}

TEST(RecordDumpTest, SplitsWhatEngineersPaste) {
  const struct {
    const char* name;
    std::string text;
    const char* type;
    std::vector<std::string> records;
  } cases[] = {
      {"one record per line, sizes telling the types",
       "07000000\n" + hexOf(20) + "\n" + hexOf(8) + "\n",
       nullptr,
       {"stop/4", "wqe_profile_quality_status/20", "set_wqe_profile/8"}},
      {"TYPE: in any case, blanks around it",
       "  STOP : 07 00 00 00\nWlan_Config:" + hexOf(204),
       nullptr,
       {"stop/4", "wlan_config/204"}},
      // 240 bytes end on a full line: the next record's lines join until the short line,
      // and the sizes split them.
      {"wrapped at 24 bytes, no blank line between",
       wrapped(32, 24) + wrapped(240, 24) + wrapped(2872, 24) + "07000000\n",
       nullptr,
       {"wqe_profile_init/32", "wlan_available/240", "wifi_meas_report/2872", "stop/4"}},
      {"a whole-record line stays one record",
       hexOf(16) + "\n" + hexOf(4) + "\n",
       nullptr,
       {"notify_data_settings/16", "stop/4"}},
      {"after a record seen wrapped at 16 (its type named), lines of 16 wrap",
       "wlan_config: " + wrapped(204, 16) + wrapped(20, 16),
       nullptr,
       {"wlan_config/204", "wqe_profile_quality_status/20"}},
      {"a blank line ends a record", wrapped(48, 24) + "\n" + hexOf(4), nullptr, {}},
      {"TYPE: alone names the lines below",
       "wlan_config:\n" + wrapped(204, 32),
       nullptr,
       {"wlan_config/204"}},
      {"--type joins lines into records of its size",
       wrapped(16, 4) + wrapped(16, 4),
       "notify_data_settings",
       {"notify_data_settings/16", "notify_data_settings/16"}},
      {"xxd, the ASCII column ignored",
       "00000000: 0700 0000 4142 4344 0000 0000 0000 0000  ....ABCD........\n"
       "00000010: 0000 0000                                ....\n",
       nullptr,
       {"wqe_profile_quality_status/20"}},
      {"two xxd dumps: the offset starting again",
       "00000000: 0700 0000  ....\n00000000: 0800 0000  ....\n",
       nullptr,
       {"stop/4", "stop/4"}},
      {"hexdump -C with a repeated line",
       "00000000  01 00 00 00 00 00 00 00  00 00 00 00 00 00 00 00  |................|\n"
       "*\n"
       "000000c0  00 00 00 00 00 00 00 00  00 00 00 00              |............|\n"
       "000000cc\n",
       nullptr,
       {"wlan_config/204"}},
      {"a dump of several records of a named type",
       "stop:\n00000000  07 00 00 00 08 00 00 00  |........|\n00000008\n",
       nullptr,
       {"stop/4", "stop/4"}},
  };
  for (const auto& c : cases) {
    const Outcome out = read(c.text, c.type);
    if (c.records.empty()) {
      EXPECT_NE(out.error, "") << c.name;
      continue;
    }
    EXPECT_EQ(out.error, "") << c.name;
    EXPECT_EQ(out.records, c.records) << c.name;
  }
}

TEST(RecordDumpTest, RefusalSaysHowItTried) {
  const struct {
    std::string text;
    const char* type;
    std::string error;
  } cases[] = {
      {wrapped(48, 24) + "\n", nullptr,
       "lines 1-2: 48 bytes in 2 lines of 24 bytes make no records: read as records wrapped "
       "over lines, one or more whose sizes (4, 8, 16, 20, 32, 204, 240, 2872 or 6184) add up "
       "line by line; end each record with a blank line or name the type with --type or TYPE:"},
      {"bogus: 07000000", nullptr, "line 1: unknown record type \"bogus\""},
      // A long line that held a colon is not echoed whole.
      {std::string(5000, 'a') + ": 07000000", nullptr,
       "line 1: unknown record type \"" + std::string(40, 'a') + "...\" (known: "},
      {"stop: 0700\n\n", nullptr, "line 1: 2 bytes, but a stop record is 4 bytes"},
      {"stop: 0700000008", nullptr, "line 1: 5 bytes, but a stop record is 4 bytes"},
      {"00000000: 0700 0000 00  .....\n", nullptr,
       "line 1: a dump of 5 bytes: no record has this size (4, 8, 16, 20, 32, 204, 240, 2872 "
       "or 6184); a dump is read as one record, or, with their type named (--type or TYPE: "
       "on the line before), as records of that type"},
      {"00000000: 0700 0000  ....\n00000010: 0000 0000  ....\n", nullptr,
       "line 2: offset 16 where 4 was expected: a line of the dump is missing"},
      {"00000010: 0700 0000  ....\n", nullptr, "line 1: a dump line at offset 16 with no dump"},
      {"*\n", nullptr, "line 1: \"*\" outside a hexdump -C dump"},
      {"07 0g", nullptr, "line 1: \"g\" at column 5 is not a hex digit"},
      {"stop:\n00000000  07 00 00 00 08 00  |......|\n00000006\n", nullptr,
       "lines 2-3: 2 bytes left at the dump's end, but a stop record is 4 bytes"},
  };
  for (const auto& c : cases) {
    const Outcome out = read(c.text, c.type);
    EXPECT_EQ(out.error.rfind(c.error, 0), 0u) << c.text << "\n  got: " << out.error;
  }
}

// decode's bounds: a stream or the arguments stop at the first line or record past them,
// naming where, and nothing past the record limit is handed on.
TEST(RecordDumpTest, InputStopsAtItsBoundsNamingWhere) {
  nexhost::RecordInputLimits limits;
  limits.lineBytes = 16;
  limits.records = 2;
  const struct {
    std::string input;  // standard input; empty: the arguments below
    std::vector<std::string> arguments;
    std::size_t handedOn;
    const char* error;
  } cases[] = {
      {"07000000\n08000000\n", {}, 2, ""},
      {"07000000\n08000000\n09000000\n", {}, 2,
       "standard input line 3: more than 2 records"},
      {"07000000\n0700000007000000070000000\n", {}, 1,
       "standard input line 2: longer than 16 bytes"},
      {"", {"07000000", "08000000", "09000000"}, 2, "argument 3: more than 2 records"},
      {"", {"07000000", "07 0g"}, 1, "argument 2: \"g\" at column 5 is not a hex digit"},
  };
  for (const auto& c : cases) {
    std::size_t handedOn = 0;
    const nexhost::RecordSink count = [&](const RecordBytes&) { ++handedOn; };
    std::string error;
    if (c.input.empty()) {
      error = nexhost::readRecordArguments(c.arguments, nullptr, limits, count);
    } else {
      std::string text = c.input;
      std::FILE* in = fmemopen(text.data(), text.size(), "r");
      ASSERT_NE(in, nullptr);
      error = nexhost::readRecordStream(in, "standard input", nullptr, limits, count,
                                        [] { return true; });
      std::fclose(in);
    }
    EXPECT_EQ(error, c.error) << c.input;
    EXPECT_EQ(handedOn, c.handedOn) << c.input;
  }
}

}  // namespace
