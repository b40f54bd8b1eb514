#include "framework/Modem.h"

#include "modem/Records.h"
#include "text/ByteText.h"

namespace nexhost {

void Modem::receive(int client, const char* type, const void* record, std::size_t size) {
  ++received_;
  if (!journal_ && !trace_.active()) return;
  ModemMessage message;
  message.client = client;
  message.type = type;
  const auto* bytes = static_cast<const uint8_t*>(record);
  message.bytes.assign(bytes, bytes + size);
  message.fields = decodeRecord(message.type, bytes, size);
  trace_.record("modem", Json{{"client", client},
                              {"message", message.type},
                              {"fields", message.fields},
                              {"bytes", hexText(bytes, size)}});
  if (journal_) messages_.push_back(std::move(message));
}

std::vector<ModemMessage> Modem::messagesOfType(const std::string& type) const {
  std::vector<ModemMessage> out;
  for (const ModemMessage& m : messages_) {
    if (m.type == type) out.push_back(m);
  }
  return out;
}

}  // namespace nexhost
