// The scenario loader: what it refuses (and how it says so), and the records it builds
// from fields given by name.
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <fstream>
#include <string>

#include "scenario/Scenario.h"
#include "scenario/StepKinds.h"

namespace {

using nexhost::Scenario;
using nexhost::ScenarioError;
namespace limits = nexhost::scenario_limits;

Scenario parse(const std::string& text) {
  return nexhost::parseScenario(text, "test.json", MDX_TEST_DATA_DIR);
}

std::string start(const std::string& fields) {
  return R"({"steps": [{"start": {"id": 1, "quantities": ["rssi"], )" + fields + "}}]}";
}

// Each line of refused.jsonl: a scenario's text, and the JSON path and expectation its
// one-line error must name.
TEST(ScenarioLoaderTest, RefusesWithFilePathAndExpectation) {
  std::ifstream cases(MDX_TEST_DATA_DIR "/scenarios/refused.jsonl");
  std::string line;
  int count = 0;
  while (std::getline(cases, line)) {
    ++count;
    const auto c = nexhost::Json::parse(line);
    const std::string json = c["scenario"], path = c["path"], problem = c["problem"];
    try {
      parse(json);
      ADD_FAILURE() << "accepted: " << json;
    } catch (const ScenarioError& e) {
      const std::string message = e.what();
      EXPECT_EQ(e.path(), path) << message;
      EXPECT_EQ(message.rfind("test.json: ", 0), 0u) << message;
      EXPECT_NE(message.find(problem), std::string::npos) << message;
    }
  }
  EXPECT_GT(count, 20);
}

std::string repeated(const std::string& item, std::size_t count) {
  std::string list = item;
  for (std::size_t i = 1; i < count; ++i) list += "," + item;
  return list;
}

// An object of `count` commands, each answered "OK".
std::string commands(std::size_t count) {
  std::string object = "{";
  for (std::size_t i = 0; i < count; ++i) {
    object += (i ? ",\"" : "\"") + std::to_string(i) + "\": \"OK\"";
  }
  return object + "}";
}

// A scratch directory with the files a careless or hostile scenario may point at.
struct ScratchFiles {
  std::string dir;
  ScratchFiles() {
    char name[] = "/tmp/nexhost-loader-XXXXXX";
    dir = mkdtemp(name);
    mkfifo((dir + "/fifo").c_str(), 0600);
    std::ofstream(dir + "/big.txt") << std::string(limits::kTextBytes + 1, 'x');
    std::ofstream(dir + "/mib.txt") << std::string(limits::kTextBytes, 'x');
    std::ofstream(dir + "/huge.json").close();
    truncate((dir + "/huge.json").c_str(), limits::kFileBytes + 1);  // sparse: costs nothing
  }
  ~ScratchFiles() {
    for (const char* f : {"/fifo", "/big.txt", "/mib.txt", "/huge.json"}) unlink((dir + f).c_str());
    rmdir(dir.c_str());
  }
};

// Every row once crashed, hung, ate memory or was silently taken. Each must end in one
// short line: the file, the JSON path (or line and column) and what was expected.
TEST(ScenarioLoaderTest, RefusesHostileFilesInOneLine) {
  const ScratchFiles scratch;
  const std::string& dir = scratch.dir;
  const std::string deep = std::string(100000, '[') + std::string(100000, ']');
  std::string deepPath = "steps[0].advance";
  for (int i = 0; i < limits::kDepth - 3; ++i) deepPath += "[0]";
  const auto sta = [](const std::string& replies) {
    return R"({"peers": {"supplicant": {"sta": )" + replies + R"(}}, "steps": []})";
  };
  const auto status = [&](const std::string& reply) { return sta(R"({"STATUS": )" + reply + "}"); };
  const std::string fileReply = R"({"reply_file": ")";
  const std::string over1MiB = '"' + std::string(limits::kTextBytes + 1, 'x') + '"';
  struct Case {
    const char* why;
    std::string file;  // load this file, else parse `json`
    std::string json;
    std::string path;
    std::string problem;
  } cases[] = {
      {"deep nesting overflowed the stack while the error was built", "",
       R"({"steps": [{"advance": )" + deep + "}]}", deepPath, "nested deeper than 32 levels"},
      {"a NUL byte ended the text, the rest was ignored", "",
       std::string("{\"steps\": []}\0{\"steps\": 5}", 27), "",
       "line 1, column 14: expected valid JSON, got a NUL byte"},
      {"a repeated key silently dropped the first", "",
       R"({"steps": [], "steps": [{"wifi": "on"}]})", "steps", "repeated key"},
      {"... at any depth", "", start(R"("id": 2)"), "steps[0].start.id", "repeated key"},
      {"a number past a double's range aborted the run", "",
       "{\"steps\": [],\n \"description\": -1e400}", "",
       "line 2, column 17: expected a number from -1.8e308 to 1.8e308"},
      {"a float's overflow became infinity", "", start(R"("alpha": 1e39)"), "steps[0].start.alpha",
       "expected a number a float can hold"},
      {"inline replies had no cap", "", status(over1MiB), "peers.supplicant.sta.STATUS",
       "expected a text of at most 1 MiB"},
      {"a device was read until memory ran out", "", status(fileReply + "/dev/zero\"}"),
       "peers.supplicant.sta.STATUS.reply_file", "not a regular file (a character device)"},
      {"a FIFO blocked forever", "", status(fileReply + dir + "/fifo\"}"),
       "peers.supplicant.sta.STATUS.reply_file", "not a regular file (a FIFO)"},
      {"a directory was read as an empty reply", "", status(fileReply + ".\"}"),
       "peers.supplicant.sta.STATUS.reply_file", "not a regular file (a directory)"},
      {"... and so was /proc/self/mem", "", status(fileReply + "/proc/self/mem\"}"),
       "peers.supplicant.sta.STATUS.reply_file", "Input/output error"},
      {"a reply file past the cap", "", status(fileReply + dir + "/big.txt\"}"),
       "peers.supplicant.sta.STATUS.reply_file", "larger than 1 MiB"},
      {"replies within the cap, but many", "",
       status(R"({"sequence": [)" + repeated(fileReply + dir + "/mib.txt\"}", 65) + "]}"),
       "peers.supplicant.sta.STATUS.sequence[64].reply_file",
       "replies and outputs add up to more than 64 MiB"},
      {"too many steps", "",
       R"({"steps": [)" + repeated(R"({"advance": 0})", limits::kSteps + 1) + "]}", "steps",
       "expected a list of at most 100000 steps"},
      // Far past every count, the reader stops there rather than build the rest.
      {"a list far past every count", "",
       R"({"steps": [)" + repeated("{}", limits::kListItems + 2) + "]}", "steps",
       "expected a list of at most 100000 items"},
      {"too many replies to one command", "",
       status(R"({"sequence": [)" + repeated("\"OK\"", limits::kRepliesPerCommand + 1) + "]}"),
       "peers.supplicant.sta.STATUS.sequence", "expected a non-empty list of at most 10000"},
      {"too many commands", "", sta(commands(limits::kCommands + 1)), "peers.supplicant.sta",
       "(at most 10000)"},
      {"an object far past every count", "", sta(commands(limits::kObjectMembers + 2)),
       "peers.supplicant.sta", "expected an object of at most 10000 members"},
      {"a missing scenario", "/tmp/nexhost-no-such-scenario.json", "", "",
       "cannot read the file: No such file or directory"},
      {"a directory as the scenario (pipes are read: tests/cli/habits.sh)", dir, "", "",
       "not a regular file or pipe (a directory)"},
      {"a scenario past its cap", dir + "/huge.json", "", "", "larger than 16 MiB"},
  };
  for (const Case& c : cases) {
    const std::string file = c.file.empty() ? "test.json" : c.file;
    try {
      if (c.file.empty()) {
        parse(c.json);
      } else {
        nexhost::loadScenario(c.file);
      }
      ADD_FAILURE() << c.why << ": accepted";
    } catch (const ScenarioError& e) {
      const std::string message = e.what();
      EXPECT_EQ(e.path(), c.path) << c.why << ": " << message;
      EXPECT_EQ(message.rfind(file + ": ", 0), 0u) << c.why << ": " << message;
      EXPECT_NE(message.find(c.problem), std::string::npos) << c.why << ": " << message;
      EXPECT_EQ(message.find('\n'), std::string::npos) << c.why;
      EXPECT_LT(message.size(), 300u) << c.why << ": " << message;
    }
  }
}

// An even ICCID and the override fields are in modem-profiles.expected.
TEST(ScenarioLoaderTest, ProfileRecordsArePackedAsTheModemSendsThem) {
  const Scenario s = parse(R"({"steps": [
      {"wqe_profile_init": {"profile": 5, "iccid": "123"}},
      {"set_wqe_profile": {"profiles": [4, 35]}},
      {"set_wqe_profile": {"mask": "0x0000001000000000"}}]})");
  const auto odd = s.steps.at(0).profileInit();
  EXPECT_EQ(odd.iccid_len, 2u);
  EXPECT_EQ(odd.iccid[0], 0x21);  // low nibble first
  EXPECT_EQ(odd.iccid[1], 0xF3);  // filler nibble
  EXPECT_EQ(s.steps.at(1).profileMask().profile_mask, (1ull << 32) | (1ull << 63));
  EXPECT_EQ(s.steps.at(2).profileMask().profile_mask, 1ull << 36);
}

// What a modem may send that no friendly default produces: flags and counts are taken as
// given, never derived from the values next to them, and texts carry any byte.
TEST(ScenarioLoaderTest, FlagsCountsAndBytesAreTakenAsGiven) {
  const Scenario s = parse(R"({"steps": [
      {"start": {"id": 1, "mask": 1, "wifi_ident_valid": 0, "wifi_ident_len": 300,
        "networks": [{"ssid": "\\xff\\x00\\x5cA\u00e9", "bssid_list_len": 17,
                      "bssids": [{"bssid": "ff:ff:ff:ff:ff:ff", "channel_list_len": 0, "channels": [1]}]}],
        "sampling_interval_valid": 0, "sampling_interval": 3, "reporting_interval_valid": 200,
        "alpha": "-inf"}},
      {"start": {"id": 2, "mask": 1, "networks": [{"ssid": "\\x61ny"}], "alpha_valid": true, "alpha": "nan"}},
      {"wqe_profile_init": {"profile": 99, "rssi_high_override_valid": 0, "rssi_high_override": -1,
        "rssi_low_override_valid": 7, "iccid_valid": 0, "iccid_bytes": "ab CD", "iccid_len": 511}}]})");
  const auto odd = s.steps.at(0).start();
  EXPECT_EQ(odd.wifi_ident_valid, 0);
  EXPECT_EQ(odd.wifi_ident_len, 300u);
  EXPECT_EQ(std::string(odd.wifi_ident[0].ssid_info.ssid, 7),
            std::string("\xff\0\\A\xc3\xa9\0", 7));
  EXPECT_EQ(odd.wifi_ident[0].bssid_list_len, 17u);
  EXPECT_EQ(odd.wifi_ident[0].bssid_list[0].channel_list_len, 0u);
  EXPECT_EQ(odd.wifi_ident[0].bssid_list[0].channel_list[0], 1);
  EXPECT_EQ(odd.sampling_interval_valid, 0);
  EXPECT_EQ(odd.sampling_interval, 3);
  EXPECT_EQ(odd.reporting_interval_valid, 200);
  EXPECT_EQ(odd.alpha_valid, 1);
  EXPECT_TRUE(std::isinf(odd.alpha) && odd.alpha < 0);
  const auto words = s.steps.at(1).start();
  EXPECT_STREQ(words.wifi_ident[0].ssid_info.ssid, "any");  // an escaped word is a name
  EXPECT_TRUE(std::isnan(words.alpha));
  const auto init = s.steps.at(2).profileInit();
  EXPECT_EQ(init.profile_type, 99u);
  EXPECT_EQ(init.rssi_high_override_valid, 0);
  EXPECT_EQ(init.rssi_high_override, -1);
  EXPECT_EQ(init.rssi_low_override_valid, 7);
  EXPECT_EQ(init.iccid_valid, 0);
  EXPECT_EQ(init.iccid_len, 511u);
  EXPECT_EQ(init.iccid[0], 0xab);
  EXPECT_EQ(init.iccid[1], 0xcd);
}

// The docs promise absent configuration fields are 0: netType too, though it is usually
// named.
TEST(ScenarioLoaderTest, AbsentConfigurationFieldsAreZero) {
  const Scenario s = parse(R"({"steps": [{"wlan_config": {}}]})");
  const auto config = s.steps.at(0).config();
  const auto* bytes = reinterpret_cast<const unsigned char*>(&config);
  EXPECT_EQ(std::count(bytes, bytes + sizeof config, 0), static_cast<long>(sizeof config));
  EXPECT_FALSE(s.steps.at(0).configTarget.has_value());
}

}  // namespace

// A row without one of its functions would crash the run that meets it; every key must
// also find its own row, or a scenario could name a kind the runner cannot reach.
TEST(ScenarioLoaderTest, EveryStepKindIsCompleteAndFoundByItsKey) {
  for (const nexhost::StepKind& kind : nexhost::stepKinds()) {
    ASSERT_NE(kind.key, nullptr);
    SCOPED_TRACE(kind.key);
    EXPECT_NE(kind.read, nullptr);
    EXPECT_NE(kind.perform, nullptr);
    EXPECT_NE(kind.describe, nullptr);
    EXPECT_NE(kind.record, nullptr);
    EXPECT_EQ(nexhost::stepKindNamed(kind.key), &kind);
  }
}
