#include "framework/Host.h"

#include <stdexcept>

namespace nexhost {

namespace {
Host* currentHost = nullptr;
}  // namespace

Host::Host(std::unique_ptr<SupplicantBackend> backend) : backend_(std::move(backend)) {
  wireBackend();
}

Host::Host(const BackendFactory& makeBackend) {
  backend_ = makeBackend(*this);
  wireBackend();
}

void Host::wireBackend() {
  if (!backend_) {
    auto scripted = std::make_unique<ScriptedSupplicant>(trace, scheduler);
    scripted_ = scripted.get();
    backend_ = std::move(scripted);
  }
  wrapper_ = std::make_unique<NexSupplicantWrapper>(*backend_);
  currentHost = this;
  NexMsg::globalLogger = &msg;
}

void Host::wrapSupplicant(const BackendWrapper& wrap) {
  if (supplicantHandedOut_) {
    throw std::logic_error("the supplicant is wrapped after the plug-in was handed it");
  }
  backend_ = wrap(std::move(backend_));
  wrapper_ = std::make_unique<NexSupplicantWrapper>(*backend_);
}

Host::~Host() {
  if (currentHost == this) currentHost = nullptr;
  if (NexMsg::globalLogger == &msg) NexMsg::globalLogger = nullptr;
}

Host* Host::current() { return currentHost; }

void Host::keepJournals() {
  trace.setKeep(true);
  logger.setJournal(Logger::Journal::kKeep);
  modem.setJournal(true);
  platform.setJournal(true);
  if (scripted_ != nullptr) scripted_->setJournal(true);
}

NexMdxDsd& Host::client(int index) {
  while (static_cast<int>(clients_.size()) <= index) {
    clients_.emplace_back(modem, static_cast<int>(clients_.size()));
  }
  return clients_[static_cast<std::size_t>(index)];
}

}  // namespace nexhost
