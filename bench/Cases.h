// The measured cases: each runs one unit of the plug-in's work (a scan cycle, one element
// walk, one reply) or the floor it is compared with.
#pragma once

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "framework/Logger.h"

namespace bench {

// What the host logger does with the plug-in's lines in hosts made from now on. The
// default, kOff, measures the plug-in's own cost of each log call; kFormatOnly adds the
// formatting of every line; kKeep keeps them all (and every modem message) for --digest.
void setJournal(nexhost::Logger::Journal journal);
// No logger at all: every log call stops at the plug-in's null check. Shows what the
// log calls cost, by difference.
void setWithoutLogger(bool without);

class Runner {
 public:
  virtual ~Runner() = default;
  // One unit of work.
  virtual void run() = 0;
  // What the last run produced, as text ("reports=22 ..."); the same before and after
  // any change that keeps the behaviour.
  virtual std::string outcome() = 0;
  // Empty when the last run did what it should (a floor: found the plug-in's facts).
  virtual std::string check() { return ""; }
  // A hash over every log line and modem message of the last run (journal kKeep).
  virtual std::string digest() = 0;
};

struct Case {
  std::string name;   // "scan_cycle/any_ssid"
  std::string floor;  // the case it is measured against; empty for a floor
  std::function<std::unique_ptr<Runner>()> make;
};

const std::vector<Case>& cases();

}  // namespace bench
