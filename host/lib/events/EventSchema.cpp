#include "events/EventSchema.h"

#include <algorithm>
#include <cfloat>
#include <cmath>
#include <map>
#include <unordered_map>
#include <unordered_set>
#include <vector>

#include "modem/Records.h"

namespace nexhost {

namespace {

constexpr std::size_t kMaxDepth = 32;
const char* const kRunWithJson = "run with --json";

enum class Type { kInteger, kText, kBoolean, kTextOrNull, kRecord, kTextList };

struct EventKey {
  const char* kind;
  const char* key;
  Type type;
};

// The keys each kind of event has, as the run writes them (docs/scenarios.md, "JSON
// Lines"). A key that is not here is refused: what reads the events may rely on these.
const EventKey kEventKeys[] = {
    // The host's steps; `indication` and `config` are the records the step hands over.
    {"step", "action", Type::kText},
    {"step", "client", Type::kInteger},
    {"step", "indication", Type::kRecord},
    {"step", "on", Type::kBoolean},
    {"step", "chipset", Type::kInteger},
    {"step", "to", Type::kText},
    {"step", "config", Type::kRecord},
    {"step", "bytes", Type::kText},
    // A replies step: the commands (or hostapd_cli lines) whose scripts change, by peer.
    {"step", "sta", Type::kTextList},
    {"step", "p2p", Type::kTextList},
    {"step", "hostapd", Type::kTextList},
    {"result", "operation", Type::kText},
    {"result", "wifi_meas_id", Type::kInteger},
    {"result", "accepted", Type::kBoolean},
    {"modem", "client", Type::kInteger},
    {"modem", "message", Type::kText},
    {"modem", "fields", Type::kRecord},
    {"modem", "bytes", Type::kText},
    // A command, a scan filter, a connect or disconnect, a scan-ready or dropped event;
    // `error`, `events` and `reason` only in live mode.
    {"supplicant", "interface", Type::kText},
    {"supplicant", "command", Type::kText},
    {"supplicant", "ok", Type::kBoolean},
    {"supplicant", "rssi", Type::kInteger},
    {"supplicant", "error", Type::kText},
    {"supplicant", "bssid_filter", Type::kText},
    {"supplicant", "frequency_filter", Type::kText},
    {"supplicant", "connect", Type::kBoolean},
    {"supplicant", "disconnect", Type::kBoolean},
    {"supplicant", "event", Type::kText},
    {"supplicant", "delivered", Type::kBoolean},
    {"supplicant", "events", Type::kInteger},
    {"supplicant", "reason", Type::kText},
    {"hostapd", "command_line", Type::kText},
    {"hostapd", "exit_code", Type::kInteger},
    {"hostapd", "ran", Type::kText},
    {"hostapd", "query", Type::kText},
    {"hostapd", "chipset", Type::kInteger},
    {"timer", "action", Type::kText},
    {"timer", "id", Type::kInteger},
    {"timer", "period", Type::kInteger},
    {"timer", "existed", Type::kBoolean},
    // A registration (`name` is null for none), or an event the engine delivered (here
    // `delivered` counts the clients reached).
    {"engine", "operation", Type::kText},
    {"engine", "type", Type::kInteger},
    {"engine", "reserved", Type::kInteger},
    {"engine", "name", Type::kTextOrNull},
    {"engine", "rssi_high_override", Type::kInteger},
    {"engine", "rssi_low_override", Type::kInteger},
    {"engine", "operator", Type::kText},
    {"engine", "event", Type::kText},
    {"engine", "on", Type::kBoolean},
    {"engine", "net_type", Type::kInteger},
    {"engine", "delivered", Type::kInteger},
    {"log", "level", Type::kInteger},
    {"log", "module", Type::kInteger},
    {"log", "text", Type::kText},
};

using KeyTypes = std::unordered_map<std::string, Type>;

const std::unordered_map<std::string, KeyTypes>& eventKeys() {
  static const std::unordered_map<std::string, KeyTypes> byKind = [] {
    std::unordered_map<std::string, KeyTypes> out;
    for (const EventKey& row : kEventKeys) out[row.kind][row.key] = row.type;
    return out;
  }();
  return byKind;
}

}  // namespace

std::vector<std::string> eventKinds() {
  std::vector<std::string> kinds;
  for (const EventKey& row : kEventKeys) {
    if (kinds.empty() || kinds.back() != row.kind) kinds.push_back(row.kind);
  }
  return kinds;
}

namespace {

const char* typeName(const Json& value) {
  if (value.is_number_integer()) return "an integer";
  if (value.is_number()) return "a number";
  if (value.is_string()) return "a text";
  if (value.is_boolean()) return "true or false";
  if (value.is_array()) return "a list";
  if (value.is_object()) return "an object";
  return "null";
}

// The shape of a record: its rendering with every byte 0xFF, which has every field, each
// of its JSON type, and every list at the longest the record holds. A 32-bit float field
// renders as the text "nan" there.
const Json* recordShape(const std::string& kind) {
  static std::map<std::string, Json> shapes;
  auto it = shapes.find(kind);
  if (it != shapes.end()) return &it->second;
  const RecordKind* record = recordKindNamed(kind);
  if (record == nullptr) return nullptr;
  const std::vector<uint8_t> ones(record->size, 0xFF);
  return &shapes.emplace(kind, decodeRecord(kind, ones.data(), ones.size())).first->second;
}

bool isFloatField(const Json& shape) { return shape.is_string() && shape == "nan"; }

// Checks `value` against a record's `shape`; false with `error` naming the key's path.
bool matchesShape(const Json& value, const Json& shape, const std::string& path,
                  std::string* error) {
  auto expected = [&](const std::string& what) {
    *error = "key \"" + path + "\": expected " + what + ", got " + typeName(value);
    return false;
  };
  if (isFloatField(shape)) {
    if (value.is_string()) {
      if (value == "nan" || value == "inf" || value == "-inf") return true;
      return expected("a number (or \"nan\", \"inf\", \"-inf\")");
    }
    if (!value.is_number()) return expected("a number");
    const double number = value.get<double>();
    if (std::fabs(number) > FLT_MAX) {
      *error = "key \"" + path + "\": " + value.dump() +
               " does not fit the record's 32-bit float (a run writes \"inf\" for it)";
      return false;
    }
    return true;
  }
  if (shape.is_object()) {
    if (!value.is_object()) return expected("an object");
    for (const auto& [key, member] : value.items()) {
      auto field = shape.find(key);
      if (field == shape.end()) {
        *error = "key \"" + path + "." + key + "\": the record has no such field";
        return false;
      }
      if (!matchesShape(member, *field, path + "." + key, error)) return false;
    }
    return true;
  }
  if (shape.is_array()) {
    if (!value.is_array()) return expected("a list");
    if (value.size() > shape.size()) {
      *error = "key \"" + path + "\": " + std::to_string(value.size()) +
               " items, more than the record holds (" + std::to_string(shape.size()) + ")";
      return false;
    }
    for (std::size_t i = 0; i < value.size(); ++i) {
      if (!matchesShape(value[i], shape[0], path + "[" + std::to_string(i) + "]", error)) {
        return false;
      }
    }
    return true;
  }
  if (shape.is_number_integer()) return value.is_number_integer() || expected("an integer");
  if (shape.is_string()) return value.is_string() || expected("a text");
  return value.type() == shape.type() || expected(typeName(shape));
}

bool matchesType(const Json& value, Type type) {
  switch (type) {
    case Type::kInteger:
      return value.is_number_integer();
    case Type::kText:
      return value.is_string();
    case Type::kBoolean:
      return value.is_boolean();
    case Type::kTextOrNull:
      return value.is_string() || value.is_null();
    case Type::kRecord:
      return value.is_object();
    case Type::kTextList:
      return value.is_array() &&
             std::all_of(value.begin(), value.end(), [](const Json& v) { return v.is_string(); });
  }
  return false;
}

const char* typeText(Type type) {
  switch (type) {
    case Type::kInteger:
      return "an integer";
    case Type::kText:
      return "a text";
    case Type::kBoolean:
      return "true or false";
    case Type::kTextOrNull:
      return "a text or null";
    case Type::kRecord:
      return "an object";
    case Type::kTextList:
      return "a list of texts";
  }
  return "";
}

// Builds the line's value in its own order. The ordered object type looks for an
// existing key on every insertion, which makes a line of many keys cost their square:
// here members are appended, and repeated keys found through a hash set per object.
class LineBuilder : public nlohmann::json_sax<Json> {
 public:
  Json root;
  std::string error;

  bool null() override { return add(Json(nullptr)); }
  bool boolean(bool value) override { return add(Json(value)); }
  bool number_integer(number_integer_t value) override { return add(Json(value)); }
  bool number_unsigned(number_unsigned_t value) override { return add(Json(value)); }
  bool number_float(number_float_t value, const string_t&) override { return add(Json(value)); }
  bool string(string_t& value) override { return add(Json(std::move(value))); }
  bool binary(binary_t&) override { return fail("binary values are not JSON text"); }
  bool start_object(std::size_t) override { return open(Json::object()); }
  bool key(string_t& key) override {
    if (!keys_.back().insert(key).second) return fail("key \"" + key + "\" twice in one object");
    key_ = std::move(key);
    return true;
  }
  bool end_object() override {
    keys_.pop_back();
    open_.pop_back();
    return true;
  }
  bool start_array(std::size_t) override { return open(Json::array()); }
  bool end_array() override {
    open_.pop_back();
    return true;
  }
  bool parse_error(std::size_t position, const std::string&,
                   const nlohmann::detail::exception&) override {
    if (error.empty()) error = "not JSON from column " + std::to_string(position);
    return false;
  }

 private:
  bool fail(std::string what) {
    error = std::move(what);
    return false;
  }
  // Appends to the innermost open list or object; returns where the value went.
  Json* place(Json value) {
    if (open_.empty()) {
      root = std::move(value);
      return &root;
    }
    Json& parent = *open_.back();
    if (parent.is_object()) {
      auto& members = parent.get_ref<Json::object_t&>();
      members.emplace_back(std::move(key_), std::move(value));
      return &members.back().second;
    }
    auto& items = parent.get_ref<Json::array_t&>();
    items.push_back(std::move(value));
    return &items.back();
  }
  bool add(Json value) {
    place(std::move(value));
    return true;
  }
  bool open(Json container) {
    if (open_.size() >= kMaxDepth) {
      return fail("nested deeper than " + std::to_string(kMaxDepth) + " levels");
    }
    const bool object = container.is_object();
    open_.push_back(place(std::move(container)));
    if (object) keys_.emplace_back();
    return true;
  }

  std::vector<Json*> open_;  // each is the last member of the one before: never moves
  std::vector<std::unordered_set<std::string>> keys_;
  std::string key_;
};

bool isDigit(char c) { return c >= '0' && c <= '9'; }

// "     4 modem      wifi_meas_report  client 0": a time, then a kind.
bool looksLikeTextOutput(const std::string& line) {
  std::size_t i = line.find_first_not_of(' ');
  if (i == std::string::npos || !isDigit(line[i])) return false;
  while (i < line.size() && isDigit(line[i])) ++i;
  if (i >= line.size() || line[i] != ' ') return false;
  i = line.find_first_not_of(' ', i);
  if (i == std::string::npos) return false;
  const std::size_t end = line.find(' ', i);
  return eventKeys().count(line.substr(i, end == std::string::npos ? end : end - i)) != 0;
}

}  // namespace

std::optional<Event> readEventLine(const std::string& line, std::string* error) {
  if (looksLikeTextOutput(line)) {
    *error = "this is nexhost's text output; report reads the JSON Lines of a run (" +
             std::string(kRunWithJson) + ")";
    return std::nullopt;
  }
  LineBuilder builder;
  bool parsed = false;
  try {
    parsed = Json::sax_parse(line, &builder);
  } catch (const Json::exception&) {
    parsed = false;
  }
  if (!parsed) {
    *error = (builder.error.empty() ? std::string("not JSON") : builder.error) +
             "; expected one event per line as nexhost writes them (" + kRunWithJson + ")";
    return std::nullopt;
  }
  Json& object = builder.root;
  if (!object.is_object()) {
    *error = std::string("expected an event object, got ") + typeName(object) + " (" +
             kRunWithJson + ")";
    return std::nullopt;
  }
  Event event{0, "", Json::object()};
  bool hasTime = false;
  bool hasKind = false;
  auto& data = event.data.get_ref<Json::object_t&>();
  // Time and kind first: the other keys are checked against the kind.
  for (auto& [key, value] : object.items()) {
    if (key == "time") {
      if (!value.is_number_integer()) {
        *error = std::string("key \"time\": expected an integer, got ") + typeName(value);
        return std::nullopt;
      }
      event.time = value.get<long long>();
      hasTime = true;
    } else if (key == "kind") {
      if (!value.is_string()) {
        *error = std::string("key \"kind\": expected a text, got ") + typeName(value);
        return std::nullopt;
      }
      event.kind = value.get<std::string>();
      hasKind = true;
    }
  }
  if (!hasTime || !hasKind) {
    *error = std::string("expected an event: an object with \"time\" and \"kind\" (") +
             kRunWithJson + ")";
    return std::nullopt;
  }
  auto kind = eventKeys().find(event.kind);
  if (kind == eventKeys().end()) {
    *error = "key \"kind\": no event is of kind \"" + event.kind + "\"";
    return std::nullopt;
  }
  for (auto& member : object.get_ref<Json::object_t&>()) {
    const std::string& key = member.first;
    if (key == "time" || key == "kind") continue;
    auto type = kind->second.find(key);
    if (type == kind->second.end()) {
      *error = "key \"" + key + "\": a " + event.kind + " event has no such key";
      return std::nullopt;
    }
    if (!matchesType(member.second, type->second)) {
      *error = "key \"" + key + "\": expected " + typeText(type->second) + ", got " +
               typeName(member.second);
      return std::nullopt;
    }
    data.emplace_back(key, std::move(member.second));
  }
  // A record's fields are checked against the record named by the message or the step.
  for (const auto& [key, value] : data) {
    if (!value.is_object()) continue;
    const char* namer = event.kind == "modem" ? "message" : "action";
    auto name = event.data.find(namer);
    const Json* shape = name != event.data.end() && name->is_string()
                            ? recordShape(name->get<std::string>())
                            : nullptr;
    if (shape == nullptr) {
      *error = "key \"" + key + "\": no record goes with this " + event.kind + " event's \"" +
               namer + "\"";
      return std::nullopt;
    }
    if (!matchesShape(value, *shape, key, error)) return std::nullopt;
  }
  return event;
}

}  // namespace nexhost
