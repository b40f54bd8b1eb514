// The host framework operations the plug-in binds to at load time.
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>

#include "framework/Host.h"
#include "nex/NexCde.h"
#include "nex/NexCom.h"
#include "nex/NexMdxDsd.h"
#include "nex/NexMsg.h"
#include "nex/NexSupplicantWrapper.h"
#include "nex/NexTimer.h"
#include "nex/NexUtils.h"
#include "nex/OperatorLookup.h"

using nexhost::Host;

// ---- NexMsg

NexMsg* NexMsg::globalLogger = nullptr;

NexMsg::NexMsg(nexhost::Logger& logger) : logger_(&logger) {}

// Formats and hands on a line the logger wants. Kept out of print() so that a dropped
// line costs only the level test: no va_list set-up, no buffer.
__attribute__((noinline)) void NexMsg::emit(int level, int module, const char* file, int line,
                                            const char* format, va_list args) {
  if (!logger_->wants(level)) {
    // A handset logger formats before it drops: what kFormatOnly measures.
    char text[1024];
    std::vsnprintf(text, sizeof text, format, args);
    return;
  }
  va_list copy;
  va_copy(copy, args);
  const int needed = std::vsnprintf(nullptr, 0, format, copy);
  va_end(copy);
  std::string text(needed > 0 ? static_cast<std::size_t>(needed) : 0, '\0');
  if (needed > 0) std::vsnprintf(&text[0], text.size() + 1, format, args);
  logger_->write(level, module, file, line, std::move(text));
}

void NexMsg::print(int level, int module, const char* file, int line, const char* format, ...) {
  // The level is tested first, as a real logger does: a line below it is never formatted.
  if (!logger_->wants(level) && logger_->journal() != nexhost::Logger::Journal::kFormatOnly) {
    return;
  }
  va_list args;
  va_start(args, format);
  emit(level, module, file, line, format, args);
  va_end(args);
}

// ---- NexMdxDsd

NexMdxDsd::NexMdxDsd(nexhost::Modem& modem, int clientIndex)
    : modem_(&modem), clientIndex_(clientIndex) {}

int NexMdxDsd::sendWifiMeasurementReport(dsd_wifi_meas_report_req_msg_v01& report) {
  modem_->receive(clientIndex_, "wifi_meas_report", &report, sizeof report);
  return 0;
}

int NexMdxDsd::sendWqeProfileStatus(dsd_set_wqe_profile_quality_status_req_msg_v01& status) {
  modem_->receive(clientIndex_, "wqe_profile_quality_status", &status, sizeof status);
  return 0;
}

int NexMdxDsd::sendNotifyDataSettings(dsd_notify_data_settings_req_msg_v01& settings) {
  modem_->receive(clientIndex_, "notify_data_settings", &settings, sizeof settings);
  return 0;
}

int NexMdxDsd::sendWifiAvailableStatus(dsd_wlan_available_req_msg_v01& available) {
  modem_->receive(clientIndex_, "wlan_available", &available, sizeof available);
  return 0;
}

// ---- NexTimer

NexTimer::NexTimer(nexhost::Scheduler& scheduler) : scheduler_(&scheduler) {}

int NexTimer::addTimedCallback(long long duration, int (*callback)(void*), void* context) {
  return scheduler_->addTimer(duration, callback, context);
}

void NexTimer::removeTimedCallback(int id) { scheduler_->removeTimer(id); }

// ---- NexSupplicantWrapper

const std::string NexSupplicantWrapper::scanCmd = "SCAN";
const std::string NexSupplicantWrapper::scanResultCmd = "SCAN_RESULTS";
const std::string NexSupplicantWrapper::statusCmd = "STATUS";
const std::string NexSupplicantWrapper::signalPollCmd = "SIGNAL_POLL";

NexSupplicantWrapper::NexSupplicantWrapper(nexhost::SupplicantBackend& backend)
    : rssi(0), backend_(&backend) {}

int NexSupplicantWrapper::sendCommandToSupplicant(std::string command) {
  const nexhost::SupplicantBackend::Reply reply = backend_->command(SUPPLICANT_STA, command);
  if (reply.ok && command == signalPollCmd) {
    if (const std::optional<int16_t> polled = nexhost::signalPollRssi(reply.text)) rssi = *polled;
  }
  return reply.ok ? 1 : 0;
}

int NexSupplicantWrapper::sendCommandToSupplicant(std::string command, char* reply,
                                                  unsigned int* replyLen) {
  return sendCommandToSupplicant(std::move(command), reply, replyLen, SUPPLICANT_STA);
}

int NexSupplicantWrapper::sendCommandToSupplicant(std::string command, char* reply,
                                                  unsigned int* replyLen, supplicantType_t type) {
  const nexhost::SupplicantBackend::Reply answer = backend_->command(type, command);
  if (!answer.ok) return 0;
  if (reply != nullptr && replyLen != nullptr) {
    const std::size_t room = *replyLen;
    const std::size_t n = answer.text.size() < room ? answer.text.size() : room;
    std::memcpy(reply, answer.text.data(), n);
    reply[n] = '\0';
    *replyLen = static_cast<unsigned int>(n);
  }
  if (command == signalPollCmd) {
    if (const std::optional<int16_t> polled = nexhost::signalPollRssi(answer.text)) rssi = *polled;
  }
  return 1;
}

int NexSupplicantWrapper::connectToSupplicant(supplicantType_t type) {
  return backend_->connect(type) ? 1 : 0;
}

int NexSupplicantWrapper::disconnectFromSupplicant(supplicantType_t type) {
  return backend_->disconnect(type) ? 1 : 0;
}

int NexSupplicantWrapper::setBssidFileterForScan(std::string bssids) {
  return backend_->setBssidFilter(bssids) ? 1 : 0;
}

int NexSupplicantWrapper::setFrequencyFilterForScan(std::string frequencies) {
  return backend_->setFrequencyFilter(frequencies) ? 1 : 0;
}

int NexSupplicantWrapper::registerForScanReadyCb(void (*callback)(void*, void*), void* context) {
  backend_->registerScanReady(callback, context);
  return 1;
}

// ---- NexCde, NexCdeCas

NexCde::NexCde(nexhost::Engine& engine) : engine_(&engine) {}

NexCde* NexCde::getInstance() {
  Host* host = Host::current();
  return host != nullptr && host->enginePresent() ? &host->cde : nullptr;
}

NexCdeCas* NexCde::getCasInstance() {
  Host* host = Host::current();
  return host != nullptr ? &host->cas : nullptr;
}

NexCdeCas::NexCdeCas(nexhost::Engine& engine) : engine_(&engine) {}

int NexCdeCas::registerForWifiStateChangeNotification(void (*callback)(bool, void*),
                                                      void* context) {
  engine_->addStateListener(callback, context);
  return 0;
}

int NexCdeCas::registerForWifiNotification(CasClientCb& client, const char* name,
                                           QualityClientOverrides& overrides,
                                           const std::string& operatorName,
                                           void (*callback)(void*, void*), void* context) {
  nexhost::Engine::Call call;
  call.operation = "registerForWifiNotification";
  call.type = client.type;
  call.reserved = client.reserved;
  call.clientCallback = client.callback;
  call.clientContext = client.context;
  if (name != nullptr) call.name = std::string(name);
  call.overrides = overrides;
  call.operatorName = operatorName;
  call.context = context;
  engine_->addClient(call, callback, context);
  return 0;
}

int NexCdeCas::deregisterForNoninternetService(const CasClientCb& client, const void* name,
                                               const std::string& operatorName,
                                               QualityClientOverrides overrides, void* context) {
  nexhost::Engine::Call call;
  call.operation = "deregisterForNoninternetService";
  call.type = client.type;
  call.reserved = client.reserved;
  call.clientCallback = client.callback;
  call.clientContext = client.context;
  if (name != nullptr) call.name = std::string(static_cast<const char*>(name));
  call.overrides = overrides;
  call.operatorName = operatorName;
  call.context = context;
  engine_->removeClient(call);
  return 0;
}

int NexCdeCas::deregisterForWlanNetConfigChange(const CasClientCb& client) {
  nexhost::Engine::Call call;
  call.operation = "deregisterForWlanNetConfigChange";
  call.type = client.type;
  call.reserved = client.reserved;
  call.clientCallback = client.callback;
  call.clientContext = client.context;
  engine_->removeClient(call);
  return 0;
}

// ---- NexUtils, OperatorLookup

int NexUtils::getWlanChipsetType() {
  Host* host = Host::current();
  return host != nullptr ? host->platform.queryChipset() : 0;
}

int NexUtils::forkExec(const char* commandLine, const NexForkExecOpt* options) {
  Host* host = Host::current();
  return host != nullptr ? host->platform.forkExec(commandLine, options) : -1;
}

std::string OperatorLookup::lookupOperator(const std::string& iccid) {
  Host* host = Host::current();
  return host != nullptr ? host->platform.lookupOperator(iccid) : "ERROR";
}
