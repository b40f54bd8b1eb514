#include "framework/Supplicant.h"

#include <cstdlib>

#include "framework/FilterCommands.h"
#include "framework/Scheduler.h"
#include "text/ByteText.h"

namespace nexhost {

const char* interfaceName(supplicantType_t type) { return type == SUPPLICANT_P2P ? "p2p" : "sta"; }

std::optional<int16_t> signalPollRssi(const std::string& reply) {
  const std::string key = "RSSI=";
  std::size_t pos = reply.compare(0, key.size(), key) == 0 ? 0 : reply.find("\n" + key);
  if (pos == std::string::npos) return std::nullopt;
  if (pos != 0) ++pos;
  return static_cast<int16_t>(std::atoi(reply.c_str() + pos + key.size()));
}

void SupplicantBackend::recordCommand(Json record, const std::string& command, const Reply& reply) {
  if (!reply.error.empty()) record["error"] = printableBytes(reply.error);
  record["ok"] = reply.ok;
  if (reply.ok && command == NexSupplicantWrapper::signalPollCmd) {
    if (const std::optional<int16_t> rssi = signalPollRssi(reply.text)) record["rssi"] = *rssi;
  }
  trace_.record("supplicant", std::move(record));
}

void SupplicantBackend::registerScanReady(void (*callback)(void*, void*), void* context) {
  scanReady_ = callback;
  scanReadyContext_ = context;
}

void SupplicantBackend::fireScanReady(int events) {
  Json record{{"event", "scan-ready"}, {"delivered", scanReady_ != nullptr}};
  if (events > 1) record["events"] = events;
  trace_.record("supplicant", std::move(record));
  if (scanReady_ != nullptr) scanReady_(nullptr, scanReadyContext_);
}

void ScriptedSupplicant::setReply(supplicantType_t type, const std::string& command,
                                  std::string text) {
  scripts_[{type, command}] = Script{{Reply{true, std::move(text)}}, 0};
}

void ScriptedSupplicant::setSequence(supplicantType_t type, const std::string& command,
                                     std::vector<Reply> replies) {
  scripts_[{type, command}] = Script{std::move(replies), 0};
}

void ScriptedSupplicant::setFailure(supplicantType_t type, const std::string& command) {
  scripts_[{type, command}] = Script{{Reply{false, ""}}, 0};
}

SupplicantBackend::Reply ScriptedSupplicant::command(supplicantType_t type,
                                                     const std::string& text) {
  if (journal_) commands_.push_back(SentCommand{type, text});
  std::string sent = text;
  if (text == NexSupplicantWrapper::scanCmd && !scanFrequencies_.empty() &&
      scripted(type, text + " freq=" + scanFrequencies_)) {
    sent += " freq=" + scanFrequencies_;
  }
  Reply reply;
  auto it = scripts_.find({type, sent});
  if (it != scripts_.end() && !it->second.replies.empty()) {
    Script& script = it->second;
    reply = script.replies[script.next];
    if (script.next + 1 < script.replies.size()) ++script.next;
  }
  if (sent != text) reply.sent = sent;
  recordCommand(Json{{"interface", interfaceName(type)}, {"command", printableBytes(sent)}}, text,
                reply);
  if (reply.ok && text == NexSupplicantWrapper::scanCmd && scanReadyDelay_) {
    scheduler_.scheduleAt(scheduler_.now() + *scanReadyDelay_, [this] { fireScanReady(); });
  }
  return reply;
}

bool ScriptedSupplicant::connect(supplicantType_t type) {
  ++connects_[type];
  auto it = connectResult_.find(type);
  const bool ok = it == connectResult_.end() || it->second;
  trace().record("supplicant", Json{{"interface", interfaceName(type)}, {"connect", ok}});
  return ok;
}

bool ScriptedSupplicant::disconnect(supplicantType_t type) {
  ++disconnects_[type];
  trace().record("supplicant", Json{{"interface", interfaceName(type)}, {"disconnect", true}});
  return true;
}

bool ScriptedSupplicant::setBssidFilter(const std::string& bssids) {
  if (journal_) bssidFilters_.push_back(bssids);
  trace().record("supplicant", Json{{"bssid_filter", printableBytes(bssids)}});
  const std::string set = "SET bssid_filter " + bssidFilterValue(bssids);
  return scripted(SUPPLICANT_STA, set) ? front().command(SUPPLICANT_STA, set).ok : true;
}

bool ScriptedSupplicant::setFrequencyFilter(const std::string& frequencies) {
  if (journal_) frequencyFilters_.push_back(frequencies);
  trace().record("supplicant", Json{{"frequency_filter", printableBytes(frequencies)}});
  scanFrequencies_ = scanFrequencies(frequencies);
  return true;
}

std::vector<std::string> ScriptedSupplicant::commandTexts(supplicantType_t type) const {
  std::vector<std::string> out;
  for (const SentCommand& c : commands_) {
    if (c.type == type) out.push_back(c.text);
  }
  return out;
}

std::size_t ScriptedSupplicant::countCommand(const std::string& text) const {
  std::size_t n = 0;
  for (const SentCommand& c : commands_) n += (c.text == text) ? 1 : 0;
  return n;
}

int ScriptedSupplicant::connects(supplicantType_t type) const {
  auto it = connects_.find(type);
  return it == connects_.end() ? 0 : it->second;
}

int ScriptedSupplicant::disconnects(supplicantType_t type) const {
  auto it = disconnects_.find(type);
  return it == disconnects_.end() ? 0 : it->second;
}

void ScriptedSupplicant::clearJournal() {
  commands_.clear();
  bssidFilters_.clear();
  frequencyFilters_.clear();
  connects_.clear();
  disconnects_.clear();
}

}  // namespace nexhost
