#include "compare/EventDifference.h"

#include <cstdio>

namespace nexhost {

namespace {

constexpr std::size_t kMaxShownBytes = 60;  // a value longer than this ends in "..."

// Where an event carries a decoded record, and what names the record.
struct RecordKey {
  const char* kind;
  const char* key;
  const char* namedBy;
};
constexpr RecordKey kRecordKeys[] = {
    {"modem", "fields", "message"},    // wifi_meas_report.bss_info[0].rssi
    {"step", "indication", "action"},  // start.networks[0].ssid
    {"step", "config", "action"},      // wlan_config.ssidText
};

std::string shown(const Json* value) {
  if (value == nullptr) return "(absent)";
  std::string text = value->is_string()
                         ? "\"" + value->get_ref<const std::string&>() + "\""
                         : value->dump(-1, ' ', false, Json::error_handler_t::replace);
  if (text.size() > kMaxShownBytes) text = text.substr(0, kMaxShownBytes - 3) + "...";
  return text;
}

void collect(const std::string& path, const Json* a, const Json* b, std::vector<FieldChange>* out) {
  if (a != nullptr && b != nullptr && *a == *b) return;
  if (a != nullptr && b != nullptr && a->is_object() && b->is_object()) {
    const std::string prefix = path.empty() ? "" : path + ".";
    for (const auto& item : a->items()) {
      auto other = b->find(item.key());
      collect(prefix + item.key(), &item.value(), other == b->end() ? nullptr : &*other, out);
    }
    for (const auto& item : b->items()) {
      if (!a->contains(item.key())) collect(prefix + item.key(), nullptr, &item.value(), out);
    }
    return;
  }
  if (a != nullptr && b != nullptr && a->is_array() && b->is_array()) {
    for (std::size_t i = 0; i < a->size() || i < b->size(); ++i) {
      collect(path + "[" + std::to_string(i) + "]", i < a->size() ? &(*a)[i] : nullptr,
              i < b->size() ? &(*b)[i] : nullptr, out);
    }
    return;
  }
  out->push_back({path, shown(a), shown(b)});
}

const RecordKey* recordKey(const std::string& kind, const std::string& key) {
  for (const RecordKey& r : kRecordKeys) {
    if (kind == r.kind && key == r.key) return &r;
  }
  return nullptr;
}

const Json* member(const Json& object, const std::string& key) {
  auto it = object.find(key);
  return it == object.end() ? nullptr : &*it;
}

// "byte 17: 00 -> 01", or the lengths when one record is longer.
FieldChange bytesChange(const Json* a, const Json* b) {
  if (a == nullptr || b == nullptr || !a->is_string() || !b->is_string()) {
    return {"bytes", shown(a), shown(b)};
  }
  const std::string& x = a->get_ref<const std::string&>();
  const std::string& y = b->get_ref<const std::string&>();
  if (x.size() != y.size()) {
    return {"bytes", std::to_string(x.size() / 2) + " bytes",
            std::to_string(y.size() / 2) + " bytes"};
  }
  std::size_t i = 0;
  while (i + 1 < x.size() && x.compare(i, 2, y, i, 2) == 0) i += 2;
  return {"bytes[" + std::to_string(i / 2) + "]", x.substr(i, 2), y.substr(i, 2)};
}

}  // namespace

bool sameEvent(const Event& a, const Event& b, bool ignoreTime) {
  return (ignoreTime || a.time == b.time) && a.kind == b.kind && a.data == b.data;
}

std::vector<FieldChange> fieldChanges(const Event& a, const Event& b, bool ignoreTime) {
  std::vector<FieldChange> out;
  if (a.kind != b.kind) {
    out.push_back({"kind", a.kind, b.kind});
    return out;
  }
  if (!ignoreTime && a.time != b.time) {
    out.push_back({"time", std::to_string(a.time), std::to_string(b.time)});
  }
  // A record is compared field by field only between records of the same name.
  for (const RecordKey& r : kRecordKeys) {
    if (a.kind != r.kind) continue;
    const Json* x = member(a.data, r.namedBy);
    const Json* y = member(b.data, r.namedBy);
    if ((x == nullptr) != (y == nullptr) || (x != nullptr && *x != *y)) {
      out.push_back({r.namedBy, shown(x), shown(y)});
      return out;
    }
  }
  // Each key; a record's fields under its name. "bytes" last, and only if nothing else.
  const std::size_t beforeData = out.size();
  auto pathOf = [&](const std::string& key) {
    const RecordKey* r = recordKey(a.kind, key);
    const Json* name = r == nullptr ? nullptr : member(a.data, r->namedBy);
    return name != nullptr && name->is_string() ? name->get<std::string>() : key;
  };
  for (const auto& item : a.data.items()) {
    if (item.key() != "bytes") {
      collect(pathOf(item.key()), &item.value(), member(b.data, item.key()), &out);
    }
  }
  for (const auto& item : b.data.items()) {
    if (item.key() != "bytes" && !a.data.contains(item.key())) {
      collect(pathOf(item.key()), nullptr, &item.value(), &out);
    }
  }
  const Json* x = member(a.data, "bytes");
  const Json* y = member(b.data, "bytes");
  const bool bytesDiffer = (x == nullptr) != (y == nullptr) || (x != nullptr && *x != *y);
  if (bytesDiffer && out.size() == beforeData) out.push_back(bytesChange(x, y));
  return out;
}

}  // namespace nexhost
