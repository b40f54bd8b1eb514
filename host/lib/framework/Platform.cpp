#include "framework/Platform.h"

#include <algorithm>
#include <cstring>

#include "text/ByteText.h"

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
  if (journal_) forked_.push_back(line);
  if (forkRunner) {
    const bool wantOutput =
        options != nullptr && options->outputBuffer != nullptr && options->outputCapacity > 0;
    const ForkResult result = forkRunner->run(
        line, wantOutput ? static_cast<std::size_t>(options->outputCapacity) - 1 : 0);
    writeOutput(result.output, options);
    Json record{{"command_line", printableBytes(line)}, {"exit_code", result.exitCode}};
    if (!result.ran.empty()) record["ran"] = printableBytes(result.ran);
    trace_.record("hostapd", std::move(record));
    return result.exitCode;
  }
  int code = kNotScripted;
  std::string ran;
  auto it = forkScripts.find(line);
  if (it != forkScripts.end() && !it->second.empty()) {
    const std::size_t run = forkRuns_[line]++;
    const ForkResult& result = it->second[std::min(run, it->second.size() - 1)];
    writeOutput(result.output, options);
    code = result.exitCode;
    ran = result.ran;
  }
  Json record{{"command_line", printableBytes(line)}, {"exit_code", code}};
  if (!ran.empty()) record["ran"] = printableBytes(ran);
  trace_.record("hostapd", std::move(record));
  return code;
}

int Platform::queryChipset() {
  trace_.record("hostapd", Json{{"query", "chipset"}, {"chipset", chipsetType}});
  return chipsetType;
}

std::string Platform::lookupOperator(const std::string& iccid) const {
  auto it = operators.find(iccid);
  return it == operators.end() ? "ERROR" : it->second;
}

}  // namespace nexhost
