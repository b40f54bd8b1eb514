#include "nexhost/Platform.h"

#include <cstring>

namespace nexhost {

namespace {

constexpr int kNotScripted = 127;

void writeOutput(const std::string& output, const NexForkExecOpt* options) {
  if (options == nullptr || options->outputBuffer == nullptr || options->outputCapacity <= 0) {
    return;
  }
  const std::size_t room = static_cast<std::size_t>(options->outputCapacity) - 1;
  const std::size_t n = output.size() < room ? output.size() : room;
  std::memcpy(options->outputBuffer, output.data(), n);
  options->outputBuffer[n] = '\0';
}

}  // namespace

int Platform::forkExec(const char* commandLine, const NexForkExecOpt* options) {
  const std::string line = commandLine != nullptr ? commandLine : "";
  forked_.push_back(line);
  int code = kNotScripted;
  auto it = forkScripts.find(line);
  if (it != forkScripts.end()) {
    writeOutput(it->second.output, options);
    code = it->second.exitCode;
  }
  trace_.record("hostapd", Json{{"command_line", line}, {"exit_code", code}});
  return code;
}

std::string Platform::lookupOperator(const std::string& iccid) const {
  auto it = operators.find(iccid);
  return it == operators.end() ? "ERROR" : it->second;
}

}  // namespace nexhost
