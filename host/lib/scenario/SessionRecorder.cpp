#include "scenario/SessionRecorder.h"

#include <cerrno>
#include <cstring>

#include "text/ByteText.h"

namespace nexhost {

namespace {

namespace limits = scenario_limits;

// Room for the scenario's frame: its keys, brackets and the final step.
constexpr std::size_t kFrameBytes = 1024;
// What a sequence's key and brackets add beside its replies.
constexpr std::size_t kSequenceBytes = 32;
constexpr std::size_t kDescriptionBytes = 4096;

std::string text(const Json& value) {
  return value.dump(-1, ' ', false, Json::error_handler_t::replace);
}

// A sequence of one answer is written as that answer.
void writeSequences(std::FILE* out, const std::map<std::string, std::vector<Json>>& sequences,
                    const char* indent) {
  bool first = true;
  for (const auto& [key, answers] : sequences) {
    std::fprintf(out, "%s\n%s%s: ", first ? "" : ",", indent, text(Json(key)).c_str());
    first = false;
    if (answers.size() == 1) {
      std::fputs(text(answers[0]).c_str(), out);
      continue;
    }
    std::fputs("{\"sequence\": [", out);
    for (std::size_t i = 0; i < answers.size(); ++i) {
      std::fprintf(out, "%s\n%s  %s", i == 0 ? "" : ",", indent, text(answers[i]).c_str());
    }
    std::fputs("]}", out);
  }
}

}  // namespace

SessionRecorder::SessionRecorder(const Clock& clock, std::string path, std::FILE* warnings)
    : clock_(clock), path_(std::move(path)), warnings_(warnings), fileBytes_(kFrameBytes) {}

SessionRecorder::~SessionRecorder() = default;

bool SessionRecorder::open(std::string* error) {
  file_ = OutputFile::open(path_, "--record", error);
  return file_ != nullptr;
}

void SessionRecorder::setDescription(const std::string& description) {
  description_ = description.substr(0, kDescriptionBytes);
  fileBytes_ += text(Json(description_)).size();
}

void SessionRecorder::setPlatform(const Platform& platform, bool engine) {
  platform_ = Json{{"chipset", platform.chipsetType}, {"engine", engine}};
  if (!platform.operators.empty()) {
    Json operators = Json::object();
    for (const auto& [iccid, name] : platform.operators) {
      operators[printableBytes(iccid)] = printableBytes(name);
    }
    platform_["operators"] = operators;
  }
  fileBytes_ += text(platform_).size();
}

bool SessionRecorder::fits(std::size_t bytes, std::size_t textBytes, const char* why) {
  if (stopped_) return false;
  if (why == nullptr && fileBytes_ + bytes > limits::kFileBytes) why = "a file of 16 MiB";
  if (why == nullptr && textBytes_ + textBytes > limits::kAllTextBytes) {
    why = "64 MiB of replies and outputs";
  }
  if (why == nullptr) {
    fileBytes_ += bytes;
    textBytes_ += textBytes;
    return true;
  }
  stopped_ = true;
  end_ = clock_.now();
  if (warnings_ != nullptr) {
    std::fprintf(warnings_,
                 "nexhost: --record: the session outgrew what a scenario may hold (%s); "
                 "%s holds it up to %lld s, the run goes on\n",
                 why, printableBytes(path_).c_str(), end_);
  }
  return false;
}

void SessionRecorder::addStep(Json action) {
  // The final step, which lets the replay run on to the end, needs room too.
  const bool full = steps_.size() + 2 > limits::kSteps;
  Json step{{"at", clock_.now()}};
  step.update(action);
  if (!fits(text(step).size() + 4, 0, full ? "100,000 steps" : nullptr)) return;
  steps_.push_back(std::move(step));
}

void SessionRecorder::addAnswer(Sequences* sequences, const std::string& key, Json answer,
                                std::size_t textBytes) {
  // Kept under the escaped key, so counted under it too.
  const std::string escapedKey = printableBytes(key);
  const auto it = sequences->find(escapedKey);
  const char* why = nullptr;
  if (it == sequences->end() && sequences->size() >= limits::kCommands) {
    why = "10,000 commands of one peer";
  } else if (it != sequences->end() && it->second.size() >= limits::kRepliesPerCommand) {
    why = "10,000 replies to one command";
  } else if (textBytes > limits::kTextBytes) {
    why = "a reply over 1 MiB";
  }
  std::size_t bytes = text(answer).size() + 4;
  if (it == sequences->end()) bytes += text(Json(escapedKey)).size() + kSequenceBytes;
  if (!fits(bytes, textBytes, why)) return;
  (*sequences)[escapedKey].push_back(std::move(answer));
}

void SessionRecorder::step(const ScenarioStep& step) {
  Json value = step.kind->record(step);
  if (!value.is_null()) addStep(Json{{step.name(), std::move(value)}});
}

void SessionRecorder::scanResults(int events) { addStep(Json{{"scan_results", events}}); }

void SessionRecorder::supplicantReply(supplicantType_t type, const std::string& sent,
                                      const SupplicantBackend::Reply& reply) {
  // A failed command's text never reaches the plug-in; only its error shows.
  Json answer;
  if (reply.ok) {
    answer = printableBytes(reply.text);
  } else {
    answer = Json{{"failure", true}};
    if (!reply.error.empty()) answer["error"] = printableBytes(reply.error);
  }
  addAnswer(type == SUPPLICANT_P2P ? &p2p_ : &station_, sent, std::move(answer),
            reply.ok ? reply.text.size() : 0);
}

void SessionRecorder::p2pConnect(bool ok) {
  // A scenario has one answer for every P2P connect: the first one's.
  if (p2pConnects_.is_null()) p2pConnects_ = ok;
}

void SessionRecorder::hostapdResult(const std::string& commandLine,
                                    const Platform::ForkResult& result) {
  Json answer = Json::object();
  if (!result.output.empty()) answer["output"] = printableBytes(result.output);
  answer["exit_code"] = result.exitCode;
  if (!result.ran.empty()) answer["ran"] = printableBytes(result.ran);
  addAnswer(&hostapd_, commandLine, std::move(answer), result.output.size() + result.ran.size());
}

bool SessionRecorder::write(std::string* error) {
  if (file_ == nullptr || file_->stream() == nullptr) return true;
  const long long end = stopped_ ? end_ : clock_.now();
  std::FILE* out = file_->stream();
  std::fprintf(out, "{\n  \"description\": %s,\n  \"peers\": {", text(Json(description_)).c_str());
  bool first = true;
  for (const auto& item : platform_.items()) {
    std::fprintf(out, "%s\n    %s: %s", first ? "" : ",", text(Json(item.key())).c_str(),
                 text(item.value()).c_str());
    first = false;
  }
  std::fprintf(out, "%s\n    \"supplicant\": {", first ? "" : ",");
  if (!p2pConnects_.is_null())
    std::fprintf(out, "\"p2p_connects\": %s, ", text(p2pConnects_).c_str());
  std::fputs("\"sta\": {", out);
  writeSequences(out, station_, "      ");
  std::fputs("},\n      \"p2p\": {", out);
  writeSequences(out, p2p_, "      ");
  std::fputs("}},\n    \"hostapd\": {", out);
  writeSequences(out, hostapd_, "      ");
  std::fputs("}\n  },\n  \"steps\": [\n", out);
  for (const Json& step : steps_) std::fprintf(out, "    %s,\n", text(step).c_str());
  // The replay runs on to the session's end: timers due until then fire there too.
  std::fprintf(out, "    %s\n  ]\n}\n", text(Json{{"at", end}, {"advance", 0}}).c_str());
  return file_->commit(error);
}

}  // namespace nexhost
