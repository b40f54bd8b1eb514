// Reads a scenario file into checked records. The text is parsed into a tree within
// scenario_limits (JsonTree.cpp), then every value is read through a Node that knows its
// JSON path, so an error can say exactly where and what was expected. The peers are read
// in PeerReaders.cpp, each step by its kind's row of the step table (StepKinds.cpp).
#include <algorithm>
#include <cstring>

#include "io/InputFile.h"
#include "scenario/RecordReaders.h"
#include "scenario/ScenarioReader.h"

namespace nexhost {

namespace limits = scenario_limits;

Scenario ScenarioReader::load(const std::string& text) {
  Scenario scenario;
  scenario.file = name_;
  {
    const Tree root = parseTree(text, name_);  // released before the run
    Node top(root, "", name_);
    top.requireObject("a scenario object", {"description", "peers", "steps"});
    if (auto d = top.find("description")) scenario.description = d->text("a text", 4096);
    if (auto p = top.find("peers")) scenario.peers = peers(*p);
    scenario.steps = steps(top.at("steps", "a list of steps"));
  }
  return scenario;
}

std::vector<ScenarioStep> ScenarioReader::steps(const Node& n) {
  static const std::vector<const char*> stepKeys = [] {
    std::vector<const char*> keys{"at"};
    for (const StepKind& kind : stepKinds()) keys.push_back(kind.key);
    return keys;
  }();
  static const std::string oneAction = [] {
    std::string text = "one action: ";
    for (const StepKind* kind = stepKinds().begin(); kind != stepKinds().end(); ++kind) {
      text += std::string(kind == stepKinds().begin()     ? ""
                          : kind + 1 == stepKinds().end() ? " or "
                                                          : ", ") +
              kind->key;
    }
    return text;
  }();

  std::vector<ScenarioStep> out;
  const auto items =
      n.elements("a list of at most " + std::to_string(limits::kSteps) + " steps", limits::kSteps);
  out.reserve(items.size());
  long long now = 0;
  for (const Node& item : items) {
    if (item.value().is_object()) {
      if (auto client = item.find("client")) {
        client->refuse(
            "unknown key; the client goes inside the action's object: "
            "{\"stop\": {\"id\": 1, \"client\": 2}}");
      }
    }
    item.requireKeys("a step", stepKeys.data(), stepKeys.data() + stepKeys.size());
    const auto at = item.find("at");
    if (at) {
      const long long t = at->integer(0, limits::kLatestTime);
      if (t < now) at->fail("a time at or after " + std::to_string(now) + " (the previous step's)");
      now = t;
    }
    if (item.value().size() != (at ? 2u : 1u)) item.fail(oneAction);
    for (const StepKind& kind : stepKinds()) {
      const auto value = item.find(kind.key);
      if (!value) continue;
      ScenarioStep step;
      step.at = now;
      step.kind = &kind;
      kind.read(*this, *value, &step);
      now = step.at;
      out.push_back(std::move(step));
    }
  }
  return out;
}

void PackedRecord::pack(const uint8_t* bytes, std::size_t size) {
  const auto put16 = [this](std::size_t v) {
    runs_.push_back(static_cast<uint8_t>(v & 0xFF));
    runs_.push_back(static_cast<uint8_t>(v >> 8));
  };
  for (std::size_t i = 0; i < size;) {
    if (bytes[i] == 0) {
      ++i;
      continue;
    }
    // A run goes on across fewer zero bytes than a new run's header would cost.
    std::size_t end = i + 1;
    for (std::size_t j = end; j < size && j < end + 4; ++j) {
      if (bytes[j] != 0) end = j + 1;
    }
    put16(i);
    put16(end - i);
    runs_.insert(runs_.end(), bytes + i, bytes + end);
    i = end;
  }
  runs_.shrink_to_fit();
}

void PackedRecord::unpackInto(uint8_t* bytes, std::size_t size) const {
  std::memset(bytes, 0, size);
  for (std::size_t i = 0; i + 4 <= runs_.size();) {
    const std::size_t offset = runs_[i] | static_cast<std::size_t>(runs_[i + 1]) << 8;
    const std::size_t length = runs_[i + 2] | static_cast<std::size_t>(runs_[i + 3]) << 8;
    i += 4;
    if (offset < size) std::memcpy(bytes + offset, &runs_[i], std::min(length, size - offset));
    i += length;
  }
}

Scenario parseScenario(const std::string& text, const std::string& name,
                       const std::string& baseDir) {
  return ScenarioReader(name, baseDir).load(text);
}

Scenario loadScenario(const std::string& path) {
  InputFile file;  // "-", a pipe or process substitution too: a scenario is read once
  const std::string problem = readInputFile(path, limits::kFileBytes, &file);
  if (!problem.empty()) throw ScenarioError(file.name, "", "cannot read the file: " + problem);
  return parseScenario(file.text, file.name, file.directory);
}

ScenarioStep measurementStep(const MeasurementOptions& options) {
  // The command line speaks the scenario's language: build the same JSON and load it.
  Tree start{{"id", options.id}};
  Tree quantities = Tree::array({"rssi"});
  if (options.bssLoad) quantities.push_back("bss_load");
  start["quantities"] = quantities;
  Tree channels = Tree::array();
  for (uint16_t c : options.channels) channels.push_back(c);
  if (channels.empty()) channels.push_back(DSD_WIFI_CHANNEL_ANY_V01);
  Tree bssids = Tree::array();
  for (const std::string& b : options.bssids)
    bssids.push_back(Tree{{"bssid", b}, {"channels", channels}});
  if (bssids.empty())
    bssids.push_back(Tree{{"bssid", "ff:ff:ff:ff:ff:ff"}, {"channels", channels}});
  start["networks"] = Tree::array({Tree{{"ssid", options.ssid}, {"bssids", bssids}}});
  if (options.samplingInterval) start["sampling_interval"] = *options.samplingInterval;
  if (options.reportingInterval) start["reporting_interval"] = *options.reportingInterval;
  if (options.alpha) start["alpha"] = *options.alpha;
  const std::string name = "command line";
  try {
    ScenarioStep step;
    step.kind = &stepKind("start");
    readStart(Node(start, "", name), &step);
    return step;
  } catch (const ScenarioError& e) {
    // Name the option rather than the JSON built from it.
    const std::string& path = e.path();
    const std::string option = path.find("channels") != std::string::npos ? "--channel"
                               : path.find("bssid") != std::string::npos  ? "--bssid"
                               : path.find("ssid") != std::string::npos   ? "--ssid"
                                                                          : "--" + path;
    const std::string what = e.what();
    throw ScenarioError(name, option, what.substr(what.find(path) + path.size() + 2));
  }
}

}  // namespace nexhost
