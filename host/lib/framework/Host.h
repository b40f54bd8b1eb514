#pragma once

#include <deque>
#include <functional>
#include <memory>

#include "events/Trace.h"
#include "framework/Engine.h"
#include "framework/Logger.h"
#include "framework/Modem.h"
#include "framework/Platform.h"
#include "framework/Scheduler.h"
#include "framework/Supplicant.h"
#include "nex/NexCde.h"
#include "nex/NexCom.h"
#include "nex/NexMdxDsd.h"
#include "nex/NexMsg.h"
#include "nex/NexSupplicantWrapper.h"
#include "nex/NexTimer.h"

namespace nexhost {

// Everything the plug-in needs from its host, wired together. Constructing a Host makes
// it the process's current host (the global logger, the engine NexCde::getInstance
// returns, the platform behind NexUtils and OperatorLookup); destroying it clears them.
// One Host exists at a time.
class Host {
 public:
  // Without a backend, the supplicant is scripted.
  explicit Host(std::unique_ptr<SupplicantBackend> backend = nullptr);
  // For a backend that needs the host's trace or clock: made once those exist.
  using BackendFactory = std::function<std::unique_ptr<SupplicantBackend>(Host&)>;
  explicit Host(const BackendFactory& makeBackend);
  ~Host();
  Host(const Host&) = delete;
  Host& operator=(const Host&) = delete;

  static Host* current();

  Clock clock;
  Trace trace{clock};
  Logger logger{trace};
  Scheduler scheduler{clock, trace};
  Modem modem{trace};
  Engine engine{trace};
  Platform platform{trace};

  SupplicantBackend& supplicantBackend() { return *backend_; }
  // Puts a wrapper (a recording) in front of the supplicant backend. Only before the
  // plug-in is handed the supplicant, which stays bound to the backend it got (throws
  // std::logic_error after).
  using BackendWrapper =
      std::function<std::unique_ptr<SupplicantBackend>(std::unique_ptr<SupplicantBackend>)>;
  void wrapSupplicant(const BackendWrapper& wrap);
  // The scripted backend; null when another backend was given.
  ScriptedSupplicant* scripted() { return scripted_; }

  // Keep the whole history: every trace event, log line (formatted whatever its level),
  // modem message, supplicant command and forked command line, for tests to look at. By
  // default events only stream to the trace's observer and memory stays flat however long
  // a run lasts. (The engine's registrations are always kept: they follow the steps.)
  void keepJournals();

  // Whether NexCde::getInstance() finds an engine.
  void setEnginePresent(bool present) { enginePresent_ = present; }
  bool enginePresent() const { return enginePresent_; }

  // The host framework objects handed to the plug-in.
  NexMsg msg{logger};
  NexCom com;
  NexTimer timer{scheduler};
  NexCde cde{engine};
  NexCdeCas cas{engine};
  NexSupplicantWrapper& supplicant() {
    supplicantHandedOut_ = true;
    return *wrapper_;
  }
  // Modem client i (created on first use; addresses stay stable).
  NexMdxDsd& client(int index = 0);

 private:
  void wireBackend();

  std::unique_ptr<SupplicantBackend> backend_;
  ScriptedSupplicant* scripted_ = nullptr;
  std::unique_ptr<NexSupplicantWrapper> wrapper_;
  bool supplicantHandedOut_ = false;
  std::deque<NexMdxDsd> clients_;
  bool enginePresent_ = true;
};

}  // namespace nexhost
