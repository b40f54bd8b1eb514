#include "scenario/Recording.h"

namespace nexhost {

RecordingSupplicant::RecordingSupplicant(std::unique_ptr<SupplicantBackend> real,
                                         SessionRecorder& recorder)
    : SupplicantBackend(real->trace()), real_(std::move(real)), recorder_(recorder) {
  real_->setFront(*this);
}

SupplicantBackend::Reply RecordingSupplicant::command(supplicantType_t type,
                                                      const std::string& command) {
  Reply reply = real_->command(type, command);
  recorder_.supplicantReply(type, reply.sent.empty() ? command : reply.sent, reply);
  return reply;
}

bool RecordingSupplicant::connect(supplicantType_t type) {
  const bool ok = real_->connect(type);
  if (type == SUPPLICANT_P2P) recorder_.p2pConnect(ok);
  return ok;
}

void RecordingSupplicant::scanResultsArrived(int events) {
  recorder_.scanResults(events);
  SupplicantBackend::scanResultsArrived(events);
}

ForkResult RecordingForkRunner::run(const std::string& line, std::size_t room) {
  ForkResult result = real_->run(line, room);
  recorder_.hostapdResult(line, result);
  return result;
}

void recordSession(Host& host, SessionRecorder& recorder) {
  host.wrapSupplicant([&recorder](std::unique_ptr<SupplicantBackend> real) {
    return std::make_unique<RecordingSupplicant>(std::move(real), recorder);
  });
  if (host.platform.forkRunner) {
    host.platform.forkRunner =
        std::make_unique<RecordingForkRunner>(std::move(host.platform.forkRunner), recorder);
  }
}

}  // namespace nexhost
