#include "report/Report.h"

#include <algorithm>
#include <cerrno>
#include <cstring>

#include "compare/ChartOverlay.h"
#include "events/EventLines.h"
#include "events/EventPrinter.h"

namespace nexhost {

// The page, cut where the charts' data and the timeline go; made at build time from
// host/lib/report/ with the chart library inlined (embed.cmake, run by the top CMakeLists.txt).
extern const char* const kReportPage[3];

namespace {

long long integer(const Json& object, const char* key, long long fallback = 0) {
  if (!object.is_object()) return fallback;
  auto it = object.find(key);
  return it != object.end() && it->is_number() ? it->get<long long>() : fallback;
}

// JSON that is safe inside a <script> element: '<' only ever occurs in strings there.
std::string scriptJson(const std::string& json) {
  std::string out;
  out.reserve(json.size());
  for (char c : json) {
    if (c == '<') {
      out += "\\u003c";
    } else {
      out += c;
    }
  }
  return out;
}

std::string dump(const Json& value) {
  return value.dump(-1, ' ', false, Json::error_handler_t::replace);
}

}  // namespace

// ---- RunReport

RunReport::RunReport() : RunReport(Limits()) {}
RunReport::RunReport(Limits limits)
    : limits_(limits),
      model_(limits) {}
RunReport::~RunReport() = default;

void RunReport::add(const Event& event) {
  if (events_++ == 0) firstTime_ = event.time;
  lastTime_ = std::max(lastTime_, event.time);
  kindCounts_[event.kind] = integer(kindCounts_, event.kind.c_str()) + 1;
  keepInTimeline(event);
  model_.add(event);
}

void RunReport::keepInTimeline(const Event& event) {
  // [the event's line as the text output prints it, the event]: the page shows the line
  // and never tells an event in words of its own.
  std::string object = EventPrinter::jsonLine(event);
  object.pop_back();  // the newline
  std::string line = "[" + dump(Json(EventPrinter::summary(event))) + "," + object + "]";
  const std::size_t half = limits_.timelineBytes / 2;
  if (!headFull_ && timelineHead_.size() + line.size() + 1 <= half) {
    timelineHead_ += (timelineHead_.empty() ? "" : ",") + line;
    return;
  }
  headFull_ = true;
  timelineTailBytes_ += line.size() + 1;
  timelineTail_.push_back(std::move(line));
  while (timelineTailBytes_ > half && !timelineTail_.empty()) {
    timelineTailBytes_ -= timelineTail_.front().size() + 1;
    timelineTail_.pop_front();
    ++timelineLeftOut_;
  }
}

Json RunReport::charts() {
  Json out = model_.charts();
  if (timelineLeftOut_ > 0) {
    out["notes"].push_back("the timeline leaves out " + std::to_string(timelineLeftOut_) +
                           " events in the middle of the run (it keeps the first and the last " +
                           std::to_string(limits_.timelineBytes / 2 / 1024 / 1024) +
                           " MiB of events)");
  }
  return out;
}

void RunReport::compareWith(std::unique_ptr<RunReport> other, const std::string& name) {
  compared_ = std::move(other);
  comparedName_ = name;
}

void RunReport::write(std::FILE* out, const std::string& source) {
  Json data = charts();
  data["source"] = source;
  if (compared_) {
    overlayCharts(&data, compared_->charts(), " (" + comparedName_ + ")");
    data["source"] = source + ", compared with " + comparedName_;
  }
  data["series_per_chart"] = limits_.seriesPerChart;
  data["events"] = events_;
  data["kinds"] = kindCounts_;
  data["first_time"] = firstTime_;
  data["last_time"] = lastTime_;
  data["timeline_left_out"] = timelineLeftOut_;
  const std::string dataText = scriptJson(dump(data));
  std::fputs(kReportPage[0], out);
  std::fwrite(dataText.data(), 1, dataText.size(), out);
  std::fputs(kReportPage[1], out);
  std::fputc('[', out);
  const std::string head = scriptJson(timelineHead_);
  std::fwrite(head.data(), 1, head.size(), out);
  bool first = timelineHead_.empty();
  for (const std::string& line : timelineTail_) {
    if (!first) std::fputc(',', out);
    first = false;
    const std::string safe = scriptJson(line);
    std::fwrite(safe.data(), 1, safe.size(), out);
  }
  std::fputc(']', out);
  std::fputs(kReportPage[2], out);
}

// ---- ReportFile

std::unique_ptr<ReportFile> ReportFile::open(const std::string& path, std::string option,
                                             std::string source, std::string* error) {
  std::unique_ptr<OutputFile> file = OutputFile::open(path, std::move(option), error);
  if (!file) return nullptr;
  return std::unique_ptr<ReportFile>(new ReportFile(std::move(file), std::move(source)));
}

bool ReportFile::write(std::string* error) {
  if (file_->stream() != nullptr) report_.write(file_->stream(), source_);
  return file_->commit(error);
}

// ---- A saved run

bool addJsonLines(std::istream& in, const std::string& name, RunReport* report,
                  std::string* error) {
  EventLines lines(in, name);
  Event event;
  while (lines.next(&event)) report->add(event);
  *error = lines.error();
  return error->empty();
}

}  // namespace nexhost
