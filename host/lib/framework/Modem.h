#pragma once

#include <cstdint>
#include <cstring>
#include <string>
#include <vector>

#include "events/Trace.h"

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

}  // namespace nexhost
