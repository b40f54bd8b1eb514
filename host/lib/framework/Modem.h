#pragma once

#include <cstdint>
#include <cstring>
#include <optional>
#include <string>
#include <vector>

#include "dsd/dsd_messages_v01.h"
#include "events/Trace.h"
#include "nex/NexCde.h"

namespace nexhost {

struct ModemMessage {
  int client;
  std::string type;  // "wifi_meas_report", "wqe_profile_quality_status", ...
  std::vector<uint8_t> bytes;
  Json fields;  // every field decoded by name

  template <typename Record>
  Record as() const {
    Record record{};
    std::memcpy(&record, bytes.data(), bytes.size() < sizeof record ? bytes.size() : sizeof record);
    return record;
  }
};

// What the modem receives: every message the plug-in sends through a NexMdxDsd client.
class Modem {
 public:
  explicit Modem(Trace& trace) : trace_(trace) {}

  void receive(int client, const char* type, const void* record, std::size_t size);
  const std::vector<ModemMessage>& messages() const { return messages_; }
  std::vector<ModemMessage> messagesOfType(const std::string& type) const;
  void clear() { messages_.clear(); }

  // Messages are traced as they come, and kept in messages() only with the journal on
  // (tests). With neither the journal nor anyone watching the trace, they are only counted.
  void setJournal(bool keep) { journal_ = keep; }
  std::size_t received() const { return received_; }

 private:
  Trace& trace_;
  std::vector<ModemMessage> messages_;
  bool journal_ = false;
  std::size_t received_ = 0;
};

// The records nexhost knows by name: the messages the plug-in sends (named as in modem
// events), the indications the host hands it (named as the scenario steps) and the
// engine's WLAN configuration.
struct RecordKind {
  const char* type;
  std::size_t size;
};
const std::vector<RecordKind>& recordKinds();
const RecordKind* recordKindNamed(const std::string& type);
// The one kind whose records are `size` bytes long; null when none or several are.
const RecordKind* recordKindOfSize(std::size_t size);

// Field-by-field renderings of the records, as nexhost prints them. A record shorter than
// its kind reads as zero-filled.
Json decodeMessage(const std::string& type, const uint8_t* bytes, std::size_t size);
Json decode(const dsd_wifi_meas_report_req_msg_v01& report);
Json decode(const dsd_set_wqe_profile_quality_status_req_msg_v01& status);
Json decode(const dsd_notify_data_settings_req_msg_v01& settings);
Json decode(const dsd_wlan_available_req_msg_v01& available);

// What the host hands the plug-in: modem indications and the engine's WLAN configuration.
Json decode(const dsd_start_wifi_meas_ind_msg_v01& start);
Json decode(const dsd_stop_wifi_meas_ind_msg_v01& stop);
Json decode(const dsd_wqe_profile_init_ind_msg_v01& init);
Json decode(const dsd_wqe_profile_type_ind_msg_v01& mask);
Json decode(const CasWlanNetConfigType& config);

// "02:00:00:00:00:00"
std::string macText(const uint8_t* mac);
// Bytes as text; anything outside printable ASCII (and the backslash) as \xNN. Every
// byte text nexhost prints goes through this, so its output is ASCII and a reader gets
// the exact bytes back.
std::string printableBytes(const char* bytes, std::size_t size);
inline std::string printableBytes(const std::string& bytes) {
  return printableBytes(bytes.data(), bytes.size());
}
// The bytes of such a text: \xNN (either hex case) is that byte, every other character
// stands for itself. Empty when a backslash is not followed by x and two hex digits.
std::optional<std::string> bytesFromEscaped(const std::string& text);

// Bytes as lowercase hex digits, two per byte, nothing between.
std::string hexText(const uint8_t* bytes, std::size_t size);
// Hex digits in pairs (either case), whitespace allowed between pairs. Empty, with the
// reason in `error`, on any other character or a digit without its pair.
std::optional<std::vector<uint8_t>> bytesFromHex(const std::string& text, std::string* error);

}  // namespace nexhost
