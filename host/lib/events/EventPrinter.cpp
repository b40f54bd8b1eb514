#include "events/EventPrinter.h"

#include <cerrno>

namespace nexhost {

namespace {

constexpr int kBlockIndent = 18;  // under the summary, past the time and kind columns

// Every text in an event is already in the escape form (\xNN for bytes outside printable
// ASCII and for the backslash), so it is ASCII: the replacement never happens, but a dump
// must never throw.
std::string dumpJson(const Json& value) {
  return value.dump(-1, ' ', false, Json::error_handler_t::replace);
}

// A value as the text output shows it: a text between quotes exactly as the event holds
// it (JSON quoting would double its backslashes), anything else as JSON.
std::string shown(const Json& value) {
  if (value.is_string()) return "\"" + value.get_ref<const std::string&>() + "\"";
  return dumpJson(value);
}

bool structured(const Json& value) { return value.is_object() || value.is_array(); }

std::string scalarList(const Json& list) {
  std::string text = "[";
  for (std::size_t i = 0; i < list.size(); ++i) {
    text += (i == 0 ? "" : ", ") + shown(list[i]);
  }
  return text + "]";
}

void block(const Json& object, int indent, const std::string& firstPrefix, std::string* out);

void member(const std::string& key, const Json& value, const std::string& pad, int indent,
            std::string* out) {
  if (value.is_object()) {
    *out += pad + key + ":\n";
    block(value, indent + 2, "", out);
    return;
  }
  bool nested = false;
  if (value.is_array()) {
    for (const Json& e : value) nested = nested || structured(e);
  }
  if (!nested) {
    *out += pad + key + ": " + (value.is_array() ? scalarList(value) : shown(value)) + "\n";
    return;
  }
  *out += pad + key + ":\n";
  for (const Json& e : value) {
    if (e.is_object()) {
      block(e, indent + 4, std::string(static_cast<std::size_t>(indent + 2), ' ') + "- ", out);
    } else {
      *out += std::string(static_cast<std::size_t>(indent + 2), ' ') + "- " + shown(e) + "\n";
    }
  }
}

// An object's members one per line; the first line may carry a list item's "- ".
void block(const Json& object, int indent, const std::string& firstPrefix, std::string* out) {
  bool first = true;
  for (const auto& item : object.items()) {
    const std::string pad = first && !firstPrefix.empty()
                                ? firstPrefix
                                : std::string(static_cast<std::size_t>(indent), ' ');
    member(item.key(), item.value(), pad, indent, out);
    first = false;
  }
}

std::string okText(const Json& data, const char* key) {
  return data.value(key, false) ? "ok" : "failed";
}

std::string supplicantSummary(const Json& d) {
  const std::string iface = d.value("interface", "");
  if (d.contains("command")) {
    std::string text = iface + " " + shown(d["command"]) + " -> " + okText(d, "ok");
    if (d.contains("error")) text += " (" + d.value("error", "") + ")";
    if (d.contains("rssi")) text += ", RSSI " + dumpJson(d["rssi"]);
    return text;
  }
  if (d.contains("bssid_filter")) return "bssid filter " + shown(d["bssid_filter"]);
  if (d.contains("frequency_filter")) return "frequency filter " + shown(d["frequency_filter"]);
  if (d.contains("connect")) return iface + " connect -> " + okText(d, "connect");
  if (d.contains("disconnect")) return iface + " disconnect";
  if (d.value("event", "") == "scan-ready") {
    return std::string("scan-ready") + (d.value("delivered", false) ? "" : " (nobody registered)");
  }
  return dumpJson(d);
}

std::string keyValues(const Json& d, const char* skip) {
  std::string text;
  for (const auto& item : d.items()) {
    if (item.key() == skip) continue;
    text += (text.empty() ? "" : " ") + item.key() + "=" + shown(item.value());
  }
  return text;
}

std::string summaryOf(const Event& e, const Json** details) {
  const Json& d = e.data;
  *details = nullptr;
  if (e.kind == "modem") {
    *details = d.contains("fields") ? &d["fields"] : nullptr;
    std::string text = d.value("message", "");
    if (d.contains("client")) text += "  client " + dumpJson(d["client"]);
    return text;
  }
  if (e.kind == "step") {
    std::string text = d.value("action", "");
    if (d.contains("client")) text += "  client " + dumpJson(d["client"]);
    if (d.contains("on")) text += d.value("on", false) ? " on" : " off";
    if (d.contains("chipset")) text += " " + dumpJson(d["chipset"]);
    if (d.contains("to")) text += "  to " + d.value("to", "");
    if (d.contains("indication")) *details = &d["indication"];
    if (d.contains("config")) *details = &d["config"];
    return text;
  }
  if (e.kind == "result") {
    return d.value("operation", "") + " " + dumpJson(d.value("wifi_meas_id", Json(0))) + " -> " +
           (d.value("accepted", false) ? "accepted" : "refused");
  }
  if (e.kind == "supplicant") return supplicantSummary(d);
  if (e.kind == "hostapd") {
    if (d.contains("query")) return "chipset query -> " + dumpJson(d.value("chipset", Json(0)));
    std::string text =
        d.value("command_line", "") + " -> exit " + dumpJson(d.value("exit_code", Json(0)));
    if (d.contains("ran")) text += " (ran " + d.value("ran", "") + ")";
    return text;
  }
  if (e.kind == "timer") {
    const std::string id = "#" + dumpJson(d.value("id", Json(0)));
    if (d.value("action", "") == "add") {
      return "add " + id + " every " + dumpJson(d.value("period", Json(0)));
    }
    if (d.value("action", "") == "fire") return "fire " + id;
    return "remove " + id + (d.value("existed", true) ? "" : " (not active)");
  }
  if (e.kind == "engine") {
    if (d.contains("operation")) return d.value("operation", "") + " " + keyValues(d, "operation");
    return d.value("event", "") + " " + keyValues(d, "event");
  }
  if (e.kind == "log") {
    return "[" + dumpJson(d.value("level", Json(0))) + "] " + dumpJson(d.value("module", Json(0))) +
           " " + d.value("text", "");
  }
  return dumpJson(d);
}

}  // namespace

std::string EventPrinter::text(const Event& event) {
  const Json* details = nullptr;
  char head[32];
  std::snprintf(head, sizeof head, "%6lld %-10s ", event.time, event.kind.c_str());
  std::string out = head + summaryOf(event, &details) + "\n";
  if (details != nullptr && details->is_object()) block(*details, kBlockIndent, "", &out);
  return out;
}

std::string EventPrinter::summary(const Event& event) {
  const Json* details = nullptr;
  return summaryOf(event, &details);
}

std::string EventPrinter::jsonLine(const Event& event) {
  Json line{{"time", event.time}, {"kind", event.kind}};
  for (const auto& item : event.data.items()) line[item.key()] = item.value();
  return dumpJson(line) + "\n";
}

void EventPrinter::print(const Event& event) {
  if (!prints(event.kind)) return;
  const std::string text = format_ == Format::kText ? EventPrinter::text(event) : jsonLine(event);
  if (writeError_ != 0) return;
  errno = 0;
  if (std::fwrite(text.data(), 1, text.size(), out_) != text.size() ||
      (flushEachEvent_ && std::fflush(out_) != 0)) {
    writeError_ = errno != 0 ? errno : EIO;
    if (onFailure_ != nullptr) onFailure_(writeError_);
  }
}

void EventPrinter::attach(Trace& trace) {
  trace.addObserver([](const Event& e, void* self) { static_cast<EventPrinter*>(self)->print(e); },
                    this);
}

}  // namespace nexhost
