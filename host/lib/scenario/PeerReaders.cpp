// The scripted peers of a scenario: supplicant replies, hostapd_cli results, chipset,
// engine and operators.
#include "io/RegularFile.h"
#include "scenario/ScenarioReader.h"
#include "text/ByteText.h"

namespace nexhost {

namespace {

namespace limits = scenario_limits;

std::string resolve(const std::string& baseDir, const std::string& path) {
  if (path.empty() || path[0] == '/' || baseDir.empty()) return path;
  return baseDir + "/" + path;
}

// A script by command: one answer, or {"sequence": [...]} of them, each read by `read`.
// Keys are byte texts in the escape form.
template <typename Answer, typename Read>
std::map<std::string, std::vector<Answer>> scripts(const Node& n, const std::string& what,
                                                   const std::string& answers, Read read) {
  std::map<std::string, std::vector<Answer>> out;
  for (const auto& [key, value] : n.members(what, limits::kCommands)) {
    const std::optional<std::string> command = bytesFromEscaped(key);
    if (!command) value.refuse("expected \\xNN after a backslash in the key");
    std::vector<Answer>& script = out[*command];
    // "A" and "\\x41" are one command: its script would silently be both.
    if (!script.empty()) value.refuse("the same command as another key (keys are read as bytes)");
    if (value.value().is_object() && value.value().contains("sequence")) {
      value.requireObject("a sequence", {"sequence"});
      const Node list = value.at("sequence", "a list of " + answers);
      const std::string listWhat = "a non-empty list of at most " +
                                   std::to_string(limits::kRepliesPerCommand) + " " + answers;
      const auto items = list.elements(listWhat, limits::kRepliesPerCommand);
      if (items.empty()) list.fail(listWhat);
      for (const Node& item : items) script.push_back(read(item));
    } else {
      script.push_back(read(value));
    }
  }
  return out;
}

}  // namespace

std::string ScenarioReader::keyBytes(const std::string& key, const Node& member) const {
  const std::optional<std::string> decoded = bytesFromEscaped(key);
  if (!decoded) member.refuse("expected \\xNN after a backslash in the key");
  return *decoded;
}

// Every reply and output, inline or from a file, counts against one budget.
std::string ScenarioReader::checkedText(const Node& n, std::string text) {
  textBytes_ += text.size();
  if (textBytes_ > limits::kAllTextBytes) {
    n.refuse("replies and outputs add up to more than " + mebibytes(limits::kAllTextBytes));
  }
  return text;
}

std::string ScenarioReader::inlineText(const Node& n) {
  return checkedText(
      n, n.bytes("a text of at most " + mebibytes(limits::kTextBytes), limits::kTextBytes));
}

std::string ScenarioReader::fileText(const Node& n) {
  const std::string path = resolve(baseDir_, n.text("a file path", 4096));
  std::string text;
  const std::string problem = readRegularFile(path, limits::kTextBytes, &text);
  if (!problem.empty()) {
    n.fail("a readable regular file of at most " + mebibytes(limits::kTextBytes) + " (" +
           quoted(path) + ": " + problem + ")");
  }
  return checkedText(n, std::move(text));
}

// One reply: "text", {"reply": "text"}, {"reply_file": "path"} or {"failure": true}
// (with the "error" a live command failed with, as a recorded session keeps it).
SupplicantBackend::Reply ScenarioReader::reply(const Node& n) {
  if (n.value().is_string()) return {true, inlineText(n), ""};
  n.requireObject("a reply: a text, {\"reply\": ...}, {\"reply_file\": ...} or {\"failure\": true}",
                  {"reply", "reply_file", "failure", "error"});
  const auto error = n.find("error");
  if (n.value().size() != (error ? 2u : 1u) || (error && !n.find("failure"))) {
    n.fail("exactly one of reply, reply_file, failure (a failure may give its error)");
  }
  if (auto r = n.find("reply")) return {true, inlineText(*r), ""};
  if (auto f = n.find("reply_file")) return {true, fileText(*f), ""};
  const Node failure = n.at("failure", "true");
  if (!failure.value().is_boolean() || !failure.value().get<bool>()) failure.fail("true");
  return {false, "", error ? error->bytes("an error text of at most 256 bytes", 256) : ""};
}

// What one hostapd_cli run prints and the code forkExec returns (any int: a real run
// gives 0 to 255, but the host may return anything).
Platform::ForkResult ScenarioReader::forkResult(const Node& n) {
  n.requireObject("a result {\"output\" or \"output_file\", \"exit_code\"}",
                  {"output", "output_file", "exit_code", "ran"});
  Platform::ForkResult result;
  if (auto o = n.find("output")) result.output = inlineText(*o);
  if (auto f = n.find("output_file")) {
    if (n.find("output")) f->fail("output or output_file, not both");
    result.output = fileText(*f);
  }
  if (auto code = n.find("exit_code")) {
    result.exitCode = static_cast<int>(code->integer(INT32_MIN, INT32_MAX));
  }
  if (auto ran = n.find("ran")) result.ran = inlineText(*ran);
  return result;
}

std::map<std::string, std::vector<SupplicantBackend::Reply>> ScenarioReader::replies(
    const Node& n) {
  const std::string what =
      "an object of replies by command text (at most " + std::to_string(limits::kCommands) + ")";
  return scripts<SupplicantBackend::Reply>(n, what, "replies",
                                           [this](const Node& r) { return reply(r); });
}

std::map<std::string, std::vector<Platform::ForkResult>> ScenarioReader::forkResults(
    const Node& n) {
  const std::string what =
      "an object of results by command line (at most " + std::to_string(limits::kCommands) + ")";
  return scripts<Platform::ForkResult>(n, what, "results",
                                       [this](const Node& r) { return forkResult(r); });
}

ScenarioPeers ScenarioReader::peers(const Node& n) {
  n.requireObject("the peers", {"supplicant", "hostapd", "chipset", "engine", "operators"});
  ScenarioPeers p;
  if (auto s = n.find("supplicant")) {
    s->requireObject("the supplicant", {"sta", "p2p", "scan_ready_after", "p2p_connects"});
    if (auto sta = s->find("sta")) p.station = replies(*sta);
    if (auto p2p = s->find("p2p")) p.p2p = replies(*p2p);
    if (auto after = s->find("scan_ready_after")) {
      if (!after->value().is_null()) p.scanReadyAfter = after->integer(0, limits::kLatestTime);
    }
    if (auto c = s->find("p2p_connects")) p.p2pConnects = c->flag();
  }
  if (auto h = n.find("hostapd")) p.hostapd = forkResults(*h);
  if (auto c = n.find("chipset")) p.chipset = static_cast<int>(c->integer(INT32_MIN, INT32_MAX));
  if (auto e = n.find("engine")) {
    if (!e->value().is_boolean()) e->fail("true or false");
    p.engine = e->value().get<bool>();
  }
  if (auto o = n.find("operators")) {
    const std::string what = "an object of operator names by ICCID digits (at most " +
                             std::to_string(limits::kOperators) + ")";
    for (const auto& [iccid, name] : o->members(what, limits::kOperators)) {
      p.operators[keyBytes(iccid, name)] = name.bytes("an operator name of at most 256 bytes", 256);
    }
  }
  return p;
}

}  // namespace nexhost
