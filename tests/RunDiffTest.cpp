// nexhost diff: what makes two events differ and how two runs' events pair up.
#include <gtest/gtest.h>

#include <cstdio>
#include <sstream>
#include <string>
#include <vector>

#include "compare/RunDiff.h"

namespace {

using nexhost::DiffOptions;
using nexhost::Event;
using nexhost::EventLines;
using nexhost::FieldChange;
using nexhost::Json;
using nexhost::RunAligner;

Event event(const std::string& jsonLine) {
  std::istringstream in(jsonLine);
  EventLines lines(in, "test");
  Event e;
  EXPECT_TRUE(lines.next(&e)) << lines.error();
  return e;
}

const char* kReport =
    R"({"time":6,"kind":"modem","client":0,"message":"wifi_meas_report","fields":{"wifi_meas_id":7,)"
    R"("bss_info":[{"bssid":"02:00:00:00:00:00","rssi":-52}]},"bytes":"0700cc"})";

std::string replaced(std::string text, const std::string& from, const std::string& to) {
  text.replace(text.find(from), from.size(), to);
  return text;
}

TEST(EventDifferenceTest, NamesEachDifferingKeyByItsPath) {
  const struct {
    const char* why;
    std::string a;
    std::string b;
    bool ignoreTime;
    std::vector<FieldChange> expected;
  } cases[] = {
      {"a modem field is named under its message; the bytes that carry it are not listed",
       kReport,
       replaced(replaced(kReport, "-52", "-60"), "cc", "c4"),
       false,
       {{"wifi_meas_report.bss_info[0].rssi", "-52", "-60"}}},
      {"bytes nothing decodes (a reserved byte) show as the first byte that differs",
       kReport,
       replaced(kReport, "cc", "cd"),
       false,
       {{"bytes[2]", "cc", "cd"}}},
      {"records of different messages differ in that alone",
       kReport,
       R"({"time":6,"kind":"modem","client":0,"message":"wlan_available","fields":{"ssid":"x"},)"
       R"("bytes":"0700cc"})",
       false,
       {{"message", "\"wifi_meas_report\"", "\"wlan_available\""}}},
      {"events of different kinds differ in that alone",
       kReport,
       R"({"time":6,"kind":"log","level":3,"module":1,"text":"x"})",
       false,
       {{"kind", "modem", "log"}}},
      {"the time is a difference of its own",
       kReport,
       replaced(kReport, "6", "7"),
       false,
       {{"time", "6", "7"}}},
      {"--ignore-time: the time is none",
       replaced(kReport, "-52", "-53"),
       replaced(kReport, "6", "9"),
       true,
       {{"wifi_meas_report.bss_info[0].rssi", "-53", "-52"}}},
      {"a key one event lacks is absent there; texts show quoted as the text output shows them",
       R"({"time":1,"kind":"supplicant","interface":"sta","command":"SIGNAL_POLL","ok":false})",
       R"({"time":1,"kind":"supplicant","interface":"sta","command":"SIGNAL_POLL","ok":true,"rssi":-60})",
       false,
       {{"ok", "false", "true"}, {"rssi", "(absent)", "-60"}}},
      {"a step's indication is named under its action; a longer list shows the new item",
       R"({"time":0,"kind":"step","action":"set_wqe_profile","indication":{"profile_mask":"1","profiles":[4]}})",
       R"({"time":0,"kind":"step","action":"set_wqe_profile","indication":{"profile_mask":"3","profiles":[4,5]}})",
       false,
       {{"set_wqe_profile.profile_mask", "\"1\"", "\"3\""},
        {"set_wqe_profile.profiles[1]", "(absent)", "5"}}},
      {"a long value is cut",
       R"({"time":0,"kind":"log","text":"short"})",
       R"({"time":0,"kind":"log","text":")" + std::string(100, 'x') + "\"}",
       false,
       {{"text", "\"short\"", "\"" + std::string(56, 'x') + "..."}}},
  };
  for (const auto& c : cases) {
    const Event a = event(c.a);
    const Event b = event(c.b);
    EXPECT_FALSE(nexhost::sameEvent(a, b, c.ignoreTime)) << c.why;
    const std::vector<FieldChange> changes = nexhost::fieldChanges(a, b, c.ignoreTime);
    ASSERT_EQ(changes.size(), c.expected.size()) << c.why;
    for (std::size_t i = 0; i < changes.size(); ++i) {
      EXPECT_EQ(changes[i].path, c.expected[i].path) << c.why;
      EXPECT_EQ(changes[i].before, c.expected[i].before) << c.why;
      EXPECT_EQ(changes[i].after, c.expected[i].after) << c.why;
    }
  }
}

// A run written as letters: each letter one log event with that text; "T" gives the
// time of the events after it one more unit, "K" is an engine event.
std::string run(const std::string& letters) {
  std::string lines;
  long long time = 0;
  for (char c : letters) {
    if (c == 'T') {
      ++time;
      continue;
    }
    lines += R"({"time":)" + std::to_string(time) +
             (c == 'K' ? R"(,"kind":"engine","event":")" : R"(,"kind":"log","text":")") + c +
             "\"}\n";
  }
  return lines;
}

// The alignment as one character a step: '=' same, '~' changed, '-' only in A, '+' only in B.
std::string align(const std::string& a, const std::string& b, const DiffOptions& options) {
  std::istringstream inA(run(a));
  std::istringstream inB(run(b));
  EventLines linesA(inA, "A");
  EventLines linesB(inB, "B");
  RunAligner aligner(linesA, linesB, options);
  std::string steps;
  RunAligner::Step step;
  while (aligner.next(&step)) steps += "=~-+"[step.kind];
  EXPECT_EQ(aligner.error(), "");
  return steps;
}

TEST(RunAlignerTest, PairsEventsInOrderAndResyncsPastAnExtraOrMissingEvent) {
  DiffOptions ignoringTime;
  ignoringTime.ignoreTime = true;
  DiffOptions onlyLog;
  onlyLog.only = {"log"};
  DiffOptions ignoringEngine;
  ignoringEngine.ignore = {"engine"};
  const struct {
    const char* why;
    std::string a;
    std::string b;
    DiffOptions options;
    std::string expected;
  } cases[] = {
      {"equal runs", "abcd", "abcd", {}, "===="},
      {"two empty runs are equal", "", "", {}, ""},
      {"one event changed", "abcd", "abxd", {}, "==~="},
      {"an event only A has", "abxcdef", "abcdef", {}, "==-===="},
      {"an event only B has", "abcdef", "abxcdef", {}, "==+===="},
      {"three extra events in a row", "abxyzcdef", "abcdef", {}, "==---===="},
      {"an extra event just before the end agrees with what is left", "abxc", "abc", {}, "==-="},
      {"a run that goes on", "abcde", "abc", {}, "===--"},
      {"an empty run", "", "ab", {}, "++"},
      {"more extra events than the look-ahead: changed events, then B's rest",
       "a123456789bcd",
       "abcd",
       {},
       "=~~~---------"},
      {"repeated events resync at the nearest place", "aaxaaa", "aaaaa", {}, "==-==="},
      {"a shifted time makes every later event differ", "abTcd", "aTbTcd", {}, "=~~~"},
      {"--ignore-time: the same shifted runs are equal", "abTcd", "aTbTcd", ignoringTime, "===="},
      {"--only log: other kinds are left out", "aKbKc", "abKc", onlyLog, "==="},
      {"--ignore engine", "aKbKc", "abc", ignoringEngine, "==="},
  };
  for (const auto& c : cases) EXPECT_EQ(align(c.a, c.b, c.options), c.expected) << c.why;
}

std::string diffText(const std::string& a, const std::string& b, const DiffOptions& options,
                     std::size_t* differences) {
  std::istringstream inA(a);
  std::istringstream inB(b);
  EventLines linesA(inA, "a.jsonl");
  EventLines linesB(inB, "b.jsonl");
  char* buffer = nullptr;
  std::size_t size = 0;
  std::FILE* out = open_memstream(&buffer, &size);
  const nexhost::DiffResult result = nexhost::diffRuns(linesA, linesB, options, out);
  std::fclose(out);
  std::string text(buffer, size);
  std::free(buffer);
  EXPECT_EQ(result.error, "");
  *differences = result.differences;
  return text;
}

TEST(RunDiffTest, PrintsGroupsOfDifferencesWithContextAndTheChangedKeys) {
  std::string a = run("abcdefghijklmnop");
  std::string b = run("abcdefghijklmnop");
  b = replaced(b, R"("text":"c")", R"("text":"C")");
  b = replaced(b, R"("text":"e")", R"("text":"E")");
  b = replaced(b,
               R"({"time":0,"kind":"log","text":"o"})"
               "\n",
               "");
  DiffOptions options;
  options.context = 1;
  std::size_t differences = 0;
  EXPECT_EQ(diffText(a, b, options, &differences),
            "--- a.jsonl\n"
            "+++ b.jsonl\n"
            "@@ -3 +3 @@\n"
            "       0 log        [0] 0 b\n"
            "-      0 log        [0] 0 c\n"
            "+      0 log        [0] 0 C\n"
            "                    text: \"c\" -> \"C\"\n"
            "       0 log        [0] 0 d\n"
            "-      0 log        [0] 0 e\n"
            "+      0 log        [0] 0 E\n"
            "                    text: \"e\" -> \"E\"\n"
            "       0 log        [0] 0 f\n"
            "@@ -15 +15 @@\n"
            "       0 log        [0] 0 n\n"
            "-      0 log        [0] 0 o\n"
            "       0 log        [0] 0 p\n"
            "3 differences\n");
  EXPECT_EQ(differences, 3u);
}

TEST(RunDiffTest, PastTheMaximumDifferencesAreOnlyCounted) {
  DiffOptions options;
  options.maxShown = 1;
  options.context = 0;
  std::size_t differences = 0;
  const std::string text = diffText(run("abc"), run("xyz"), options, &differences);
  EXPECT_EQ(differences, 3u);
  EXPECT_EQ(text.substr(text.find("@@")),
            "@@ -1 +1 @@\n-      0 log        [0] 0 a\n"
            "+      0 log        [0] 0 x\n                    text: \"a\" -> \"x\"\n"
            "3 differences, the first 1 shown\n");
}

TEST(RunDiffTest, AnUnreadableLineStopsWithItsNameAndLine) {
  std::istringstream inA(run("ab") + "{\"time\":1}\n");
  std::istringstream inB(run("ab"));
  EventLines linesA(inA, "a.jsonl");
  EventLines linesB(inB, "b.jsonl");
  const nexhost::DiffResult result = nexhost::diffRuns(linesA, linesB, DiffOptions(), nullptr);
  EXPECT_EQ(result.error.rfind("a.jsonl:3: expected an event", 0), 0u) << result.error;
}

}  // namespace
