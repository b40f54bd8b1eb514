#include "modem/Records.h"

#include <cstring>

#include "text/ByteText.h"

namespace nexhost {

namespace {

// A record's fields from its bytes: copied into the struct (never past it), the rest zero.
template <typename Record>
Json decodeAs(const uint8_t* bytes, std::size_t size) {
  Record record{};
  if (size != 0) std::memcpy(&record, bytes, size < sizeof record ? size : sizeof record);
  return decode(record);
}

template <typename Record>
RecordKind kind(const char* name) {
  return RecordKind{name, sizeof(Record), &decodeAs<Record>};
}

}  // namespace

const std::vector<RecordKind>& recordKinds() {
  static const std::vector<RecordKind> kinds = {
      // What the plug-in sends the modem, named as its modem events name them.
      kind<dsd_wifi_meas_report_req_msg_v01>("wifi_meas_report"),
      kind<dsd_set_wqe_profile_quality_status_req_msg_v01>("wqe_profile_quality_status"),
      kind<dsd_notify_data_settings_req_msg_v01>("notify_data_settings"),
      kind<dsd_wlan_available_req_msg_v01>("wlan_available"),
      // The modem's indications to the plug-in, named as the scenario steps that give them.
      kind<dsd_start_wifi_meas_ind_msg_v01>("start"),
      kind<dsd_stop_wifi_meas_ind_msg_v01>("stop"),
      kind<dsd_wqe_profile_init_ind_msg_v01>("wqe_profile_init"),
      kind<dsd_wqe_profile_type_ind_msg_v01>("set_wqe_profile"),
      // The decision engine's WLAN configuration, as its scenario step names it.
      kind<CasWlanNetConfigType>("wlan_config"),
  };
  return kinds;
}

const RecordKind* recordKindNamed(const std::string& name) {
  for (const RecordKind& kind : recordKinds()) {
    if (name == kind.name) return &kind;
  }
  return nullptr;
}

const RecordKind* recordKindOfSize(std::size_t size) {
  const RecordKind* found = nullptr;
  for (const RecordKind& kind : recordKinds()) {
    if (kind.size != size) continue;
    if (found != nullptr) return nullptr;
    found = &kind;
  }
  return found;
}

std::string unknownRecordType(const std::string& name) {
  constexpr std::size_t kShown = 40;
  const std::string shown =
      printableBytes(name.substr(0, kShown)) + (name.size() > kShown ? "..." : "");
  return "unknown record type \"" + shown + "\" (known: " + recordKindNames() + ")";
}

std::string recordKindNames() {
  std::string list;
  for (const RecordKind& kind : recordKinds()) {
    list += (list.empty() ? "" : ", ") + std::string(kind.name);
  }
  return list;
}

Json decodeRecord(const std::string& name, const uint8_t* bytes, std::size_t size) {
  const RecordKind* kind = recordKindNamed(name);
  if (kind == nullptr) return Json{{"unknown_type", name}, {"size", size}};
  return kind->decode(bytes, size);
}

std::optional<RecordBytes> readRecordText(const std::string& text, const RecordKind* defaultKind,
                                          std::string* error) {
  const RecordKind* kind = defaultKind;
  std::string hex = text;
  const std::size_t colon = text.find(':');
  if (colon != std::string::npos) {
    const std::size_t first = text.find_first_not_of(" \t");
    const std::size_t last = text.find_last_not_of(" \t", colon - 1);
    const std::string name = first < colon ? text.substr(first, last - first + 1) : "";
    hex = text.substr(colon + 1);
    kind = name.empty() ? nullptr : recordKindNamed(name);
    if (!name.empty() && kind == nullptr) {
      *error = unknownRecordType(name);
      return std::nullopt;
    }
  }
  std::optional<std::vector<uint8_t>> bytes = bytesFromHex(hex, error);
  if (!bytes) return std::nullopt;
  if (kind == nullptr) {
    kind = recordKindOfSize(bytes->size());
    if (kind == nullptr) {
      *error = std::to_string(bytes->size()) +
               " bytes is the size of no record; name its type with --type or TYPE:";
      return std::nullopt;
    }
  }
  if (bytes->size() != kind->size) {
    *error = std::to_string(bytes->size()) + " bytes, but a " + kind->name + " record is " +
             std::to_string(kind->size) + " bytes";
    return std::nullopt;
  }
  return RecordBytes{kind, std::move(*bytes)};
}

}  // namespace nexhost
