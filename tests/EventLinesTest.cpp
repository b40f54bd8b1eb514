// Reading a saved run back: every line is an event as the run writes it, or the input is
// refused with one line naming the line and the key.
#include <gtest/gtest.h>

#include <sstream>
#include <string>

#include "events/EventLines.h"
#include "events/EventSchema.h"

namespace {

using nexhost::Event;
using nexhost::EventLines;
using nexhost::Json;

const char* const kStart =
    R"({"time":0,"kind":"step","action":"start","client":0,"indication":{"wifi_meas_id":3,)"
    R"("wifi_ident_valid":1,"wifi_ident_len":1,"wifi_ident":[{"ssid":"","bssid_list_len":0,)"
    R"("bssid_list":[]}],"alpha_valid":1,"alpha":0.5},"bytes":"03"})";
const char* const kReport =
    R"({"time":4,"kind":"modem","client":0,"message":"wifi_meas_report","fields":)"
    R"({"wifi_meas_id":3,"report_id":1,"ssid":"LabNet","bss_info_len":1,"bss_info":)"
    R"([{"bssid":"02:00:00:00:00:00","frequency":2437,"reported_params":1,"rssi":-44,)"
    R"("channel_utilization":0}]}})";

std::string withKey(const std::string& line, const std::string& member) {
  return line.substr(0, line.size() - 1) + "," + member + "}";
}

std::string replaced(std::string line, const std::string& from, const std::string& to) {
  line.replace(line.find(from), from.size(), to);
  return line;
}

// Lines a run writes, and the same with what other tools or hands put in.
TEST(EventLinesTest, TakesEveryLineARunWritesAndRefusesAnythingElseNamingTheKey) {
  const struct {
    const char* why;
    std::string line;
    std::string error;  // empty: taken
  } cases[] = {
      {"a connected start", kStart, ""},
      {"a scan report", kReport, ""},
      {"NaN and infinity are texts in a float field", replaced(kStart, "0.5", "\"inf\""), ""},
      {"an engine registration without a client name",
       R"({"time":0,"kind":"engine","operation":"registerClient","type":1,"reserved":0,"name":null,"operator":""})",
       ""},
      // Issue rows: each once aborted nexhost or made the page's script throw.
      {"accepted as a text aborted with a JSON type error",
       R"({"time":0,"kind":"result","operation":"startWifiMeasurement","wifi_meas_id":3,"accepted":"yes"})",
       R"(key "accepted": expected true or false, got a text)"},
      {"ok as a text aborted with a JSON type error",
       R"({"time":1,"kind":"supplicant","interface":"sta","command":"SIGNAL_POLL","ok":"yes"})",
       R"(key "ok": expected true or false, got a text)"},
      {"bss_info as a number broke the page",
       replaced(kReport, R"("bss_info":[)", R"("bss_info":7,"x":[)"),
       R"(key "fields.bss_info": expected a list, got an integer)"},
      {"wifi_ident as a text broke the page",
       replaced(kStart, R"("wifi_ident":[)", R"("wifi_ident":"net","x":[)"),
       R"(key "indication.wifi_ident": expected a list, got a text)"},
      {"alpha 1e39 is no 32-bit float: the chart drew with infinity",
       replaced(kStart, "0.5", "1e39"), R"(key "indication.alpha": 1e+39 does not fit)"},
      {"an access point in a list item of the wrong type",
       replaced(kReport, R"("rssi":-44)", R"("rssi":"-44")"),
       R"(key "fields.bss_info[0].rssi": expected an integer, got a text)"},
      {"more access points than the record holds",
       replaced(
           kReport, R"("bss_info":[)",
           R"("bss_info":[)" +
               [] {
                 std::string items;
                 for (int i = 0; i < 58; ++i) items += R"({"rssi":-1},)";
                 return items;
               }()),
       R"(key "fields.bss_info": 59 items, more than the record holds (58))"},
      {"a field the record does not have", withKey(kStart, "\"bytes2\":1"),
       R"(key "bytes2": a step event has no such key)"},
      {"a field inside a record that the record does not have",
       replaced(kReport, R"("ssid":"LabNet")", R"("ssid":"LabNet","colour":1)"),
       R"(key "fields.colour": the record has no such field)"},
      {"fields of a message no record goes with", replaced(kReport, "wifi_meas_report", "weather"),
       R"(key "fields": no record goes with)"},
      {"an unknown kind", R"({"time":0,"kind":"radio"})", R"(key "kind": no event is of kind)"},
      {"a time that is not an integer", R"({"time":"1","kind":"log"})",
       R"(key "time": expected an integer, got a text)"},
      {"the same key twice: which one a reader takes is anyone's guess",
       R"({"time":0,"kind":"log","level":4,"level":1})", R"(key "level" twice)"},
      {"an object with neither time nor kind", "{}", "expected an event"},
      {"not an object", "[1]", "expected an event object, got a list"},
      {"cut short", "{\"time\":1,", "not JSON from column"},
      {"nested past the bound",
       R"({"time":1,"kind":"log","x":)" + std::string(40, '[') + std::string(40, ']') + "}",
       "nested deeper than 32 levels"},
      {"the text output: report reads JSON Lines", "     0 step       initialize_links",
       "text output; report reads the JSON Lines"},
      // 131,067 keys in one line once took 78 s: each is looked up once now.
      {"a line of many keys",
       [] {
         std::string line = R"({"time":0,"kind":"log")";
         for (int i = 0; i < 131067; ++i) line += ",\"k" + std::to_string(i) + "\":0";
         return line + "}";
       }(),
       R"(key "k0": a log event has no such key)"},
  };
  for (const auto& c : cases) {
    std::string error;
    const std::optional<Event> event = nexhost::readEventLine(c.line, &error);
    if (c.error.empty()) {
      EXPECT_TRUE(event.has_value()) << c.why << ": " << error;
    } else {
      EXPECT_FALSE(event.has_value()) << c.why;
      EXPECT_NE(error.find(c.error), std::string::npos) << c.why << ": " << error;
      EXPECT_EQ(error.find('\n'), std::string::npos) << c.why;
    }
  }
}

TEST(EventLinesTest, KeepsTheKeysInTheOrderTheRunWroteThem) {
  std::string error;
  const std::optional<Event> event = nexhost::readEventLine(kReport, &error);
  ASSERT_TRUE(event) << error;
  EXPECT_EQ(event->time, 4);
  EXPECT_EQ(event->kind, "modem");
  Json written = Json::parse(kReport);
  written.erase("time");
  written.erase("kind");
  EXPECT_EQ(event->data.dump(), written.dump());
}

// Errors name the input and the line; blank lines count but carry nothing.
TEST(EventLinesTest, ReadsLineByLineAndNamesTheLineItStopsAt) {
  const struct {
    const char* why;
    std::string input;
    std::size_t events;
    std::string error;
  } cases[] = {
      {"two events around a blank line", std::string(kStart) + "\n\n" + kReport, 2, ""},
      {"the third line refused", std::string(kStart) + "\n \n{}\n" + kReport, 1, "run:3: "},
      {"a line past the bound", std::string(1024 * 1024 + 1, ' '), 0,
       "run:1: line longer than 1 MiB"},
      // The parser would end the line at the NUL and take the event before it.
      {"a NUL", R"({"time":1,"kind":"log"})" + std::string(1, '\0') + "x", 0,
       "run:1: a NUL byte at column 24"},
      // An error quotes the line's texts: a newline in them made it two lines, a long one
      // a page of error.
      {"a kind with a newline and a byte outside ASCII", R"({"time":1,"kind":"a\nb\u00ff"})", 0,
       R"(run:1: key "kind": no event is of kind "a\x0ab\xc3\xbf")"},
      {"a kind of 5,000 bytes", R"({"time":1,"kind":")" + std::string(5000, 'k') + "\"}", 0,
       R"(run:1: key "kind": no event is of kind "kkkk)"},
  };
  for (const auto& c : cases) {
    std::istringstream in(c.input);
    EventLines lines(in, "run");
    Event event;
    std::size_t events = 0;
    while (lines.next(&event)) ++events;
    EXPECT_EQ(events, c.events) << c.why;
    EXPECT_EQ(lines.error().rfind(c.error, 0), 0u) << c.why << ": " << lines.error();
    EXPECT_EQ(lines.error().find('\n'), std::string::npos) << c.why;
    EXPECT_LT(lines.error().size(), 500u) << c.why;
    if (c.error.empty()) {
      EXPECT_EQ(lines.error(), "") << c.why;
    }
  }
}

}  // namespace
