#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "dsd/dsd_messages_v01.h"
#include "nex/NexCde.h"
#include "text/Json.h"

namespace nexhost {

// A record nexhost knows by name: the messages the plug-in sends (named as in modem
// events), the indications the host hands it (named as the scenario steps) and the
// engine's WLAN configuration. recordKinds() in Records.cpp is the one table of them;
// a new record is a row there and its decode() in RecordFields.cpp.
struct RecordKind {
  const char* name;
  std::size_t size;  // a record of this kind is exactly this many bytes
  // Its fields by name, as nexhost prints them. Bytes short of `size` read as zero.
  Json (*decode)(const uint8_t* bytes, std::size_t size);
};
const std::vector<RecordKind>& recordKinds();
const RecordKind* recordKindNamed(const std::string& name);
// The one kind whose records are `size` bytes long; null when none or several are.
const RecordKind* recordKindOfSize(std::size_t size);
// "wifi_meas_report, wqe_profile_quality_status, ...", for errors and help.
std::string recordKindNames();
// "unknown record type "NAME" (known: ...)", NAME cut at 40 characters: it may be a whole
// pasted line that held a colon.
std::string unknownRecordType(const std::string& name);

// A record's fields by its kind's name; a name of no kind gives {"unknown_type", "size"}.
Json decodeRecord(const std::string& name, const uint8_t* bytes, std::size_t size);

// One record as a modem log or nexhost prints it, "[TYPE:] HEX", read back into its kind
// and bytes. Its kind is, in this order: the TYPE: prefix, `defaultKind`, or the one kind
// of its length. Empty, with a one-line reason in `error`, on an unknown type, bad hex or a
// length that is not its kind's size.
struct RecordBytes {
  const RecordKind* kind;
  std::vector<uint8_t> bytes;
};
std::optional<RecordBytes> readRecordText(const std::string& text, const RecordKind* defaultKind,
                                          std::string* error);

// Field-by-field renderings of the records, each kind's decode() above.
Json decode(const dsd_wifi_meas_report_req_msg_v01& report);
Json decode(const dsd_set_wqe_profile_quality_status_req_msg_v01& status);
Json decode(const dsd_notify_data_settings_req_msg_v01& settings);
Json decode(const dsd_wlan_available_req_msg_v01& available);
Json decode(const dsd_start_wifi_meas_ind_msg_v01& start);
Json decode(const dsd_stop_wifi_meas_ind_msg_v01& stop);
Json decode(const dsd_wqe_profile_init_ind_msg_v01& init);
Json decode(const dsd_wqe_profile_type_ind_msg_v01& mask);
Json decode(const CasWlanNetConfigType& config);

// "02:00:00:00:00:00"
std::string macText(const uint8_t* mac);

}  // namespace nexhost
