#include "report/RunModel.h"

#include <algorithm>
#include <deque>

#include "report/MeasurementSettings.h"
#include "scenario/StepKinds.h"

namespace nexhost {

namespace {

constexpr unsigned kBssLoadReported = 4;  // reported_params bit

const char* connectionTypeName(long long type) {
  switch (type) {
    case 0:
      return "P2P group owner link";
    case 1:
      return "P2P client link";
    case 2:
      return "station link";
    case 3:
      return "soft AP link";
    default:
      return "other link";
  }
}

long long integer(const Json& object, const char* key, long long fallback = 0) {
  if (!object.is_object()) return fallback;
  auto it = object.find(key);
  return it != object.end() && it->is_number() ? it->get<long long>() : fallback;
}

std::string text(const Json& object, const char* key) {
  if (!object.is_object()) return "";
  auto it = object.find(key);
  return it != object.end() && it->is_string() ? it->get<std::string>() : "";
}

// The limits of one panel; past the series limit, access points share one series.
ReportChart::Limits panelLimits(const RunModel::Limits& limits, const char* overflow) {
  return ReportChart::Limits{limits.rowsPerChart, limits.seriesPerChart, overflow};
}

// A panel of a measurement's or profile's card: its chart with what its y axis means.
// `ticks`: the names of an integer axis' values.
Json panel(const ReportChart& chart, const char* name, const char* ylabel,
           const Json& ticks = Json()) {
  Json out = chart.toJson();
  out["name"] = name;
  out["ylabel"] = ylabel;
  if (!ticks.is_null()) out["ticks"] = ticks;
  return out;
}

}  // namespace

struct RunModel::Measurement {
  explicit Measurement(const Limits& limits)
      : rssi(panelLimits(limits, "other access points (strongest)")),
        load(panelLimits(limits, "other access points (highest)")) {}
  int client = 0;
  long long id = 0;
  bool connected = false;
  bool active = true;
  long long started = 0;
  std::optional<long long> stopped;
  Json request;
  // Empty when the run does not hold the start record: only the reports are drawn.
  std::optional<MeasurementSettings> settings;
  // Connected mode: the sampling timer's schedule and the running average.
  long long samplingPeriod = 1;
  long long nextSample = 0;
  bool sampled = false;
  int16_t average = 0;
  ReportChart rssi;  // connected: samples, average and reports; else each access point's
  ReportChart load;  // each access point's channel utilisation
};

struct RunModel::Profile {
  explicit Profile(const Limits& limits)
      : quality(panelLimits(limits, "others")),
        links(panelLimits(limits, "other links")),
        wifi(panelLimits(limits, "others")) {}
  long long type = 0;
  ReportChart quality;  // the verdicts, and their reason codes
  ReportChart links;    // the default profile's WLAN availability records: each link's status
  ReportChart wifi;     // the default profile's Wi-Fi on and off
  std::deque<Json> availability;
  std::size_t availabilityLeftOut = 0;
};

RunModel::RunModel(Limits limits) : limits_(limits) {}
RunModel::~RunModel() = default;

void RunModel::add(const Event& event) {
  if (event.kind == "supplicant") {
    sawSupplicant_ = true;
    onSupplicant(event);
    return;
  }
  if (event.kind == "log" || event.kind == "engine" || event.kind == "hostapd") return;
  settlePoll();
  if (event.kind == "step") {
    sawSteps_ = true;
    onStep(event);
  } else if (event.kind == "result") {
    if (text(event.data, "operation") == "startWifiMeasurement") {
      onStarted(event.time, event.data.value("accepted", false));
    }
  } else if (event.kind == "modem") {
    onModem(event);
  }
}

void RunModel::onStep(const Event& event) {
  const StepKind* kind = stepKindNamed(text(event.data, "action"));
  if (kind == nullptr) return;  // initialize_links
  const int client = static_cast<int>(integer(event.data, "client"));
  const Json indication = event.data.value("indication", Json::object());
  switch (kind->report) {
    case StepInReport::kStartsMeasurement:
      pendingStart_ = PendingStart{client, indication, measurementSettings(event.data)};
      break;
    case StepInReport::kStopsMeasurement:
    case StepInReport::kStopsEveryMeasurement:
      for (auto& m : measurements_) {
        if (m->active && m->client == client &&
            (kind->report == StepInReport::kStopsEveryMeasurement ||
             m->id == integer(indication, "wifi_meas_id", -1))) {
          m->active = false;
          m->stopped = event.time;
        }
      }
      break;
    case StepInReport::kCreatesDefaultProfile:
      profile(0);
      break;
    case StepInReport::kSelectsProfiles:
      for (const Json& p : indication.value("profiles", Json::array())) {
        if (p.is_number()) profile(p.get<long long>());
      }
      break;
    case StepInReport::kNothing:
      break;
  }
}

void RunModel::onStarted(long long time, bool accepted) {
  std::optional<PendingStart> start = std::move(pendingStart_);
  pendingStart_.reset();
  if (!start || !accepted) return;
  addMeasurement(start->client, integer(start->indication, "wifi_meas_id"), time, start->indication,
                 start->settings);
}

RunModel::Measurement* RunModel::addMeasurement(int client, long long id, long long time,
                                                const Json& request,
                                                std::optional<MeasurementSettings> settings) {
  if (measurements_.size() + profiles_.size() >= limits_.charts) {
    ++chartsRefused_;
    return nullptr;
  }
  auto m = std::make_unique<Measurement>(limits_);
  m->client = client;
  m->id = id;
  m->started = time;
  m->request = request;
  m->settings = settings;
  m->connected = m->settings && m->settings->connected;
  if (m->connected) {
    // The host runs a period below one unit every unit.
    m->samplingPeriod = std::max(m->settings->samplingPeriod, 1LL);
    m->nextSample = time + m->samplingPeriod;
    m->rssi.series("sampled RSSI", {{"strokeWidth", 0}, {"drawPoints", true}, {"pointSize", 3}});
    m->rssi.series("average", {{"stepPlot", true}, {"strokeWidth", 2}});
    m->rssi.series("reported", {{"strokeWidth", 0}, {"drawPoints", true}, {"pointSize", 6}});
  }
  measurements_.push_back(std::move(m));
  return measurements_.back().get();
}

void RunModel::onSupplicant(const Event& event) {
  if (!event.data.contains("command")) return;
  const std::string command = text(event.data, "command");
  const bool station = text(event.data, "interface") == "sta";
  if (station && command == "STATUS" && pendingPoll_) {
    pendingPoll_.reset();  // the poll began a status query: not a sample
    return;
  }
  settlePoll();
  if (!station || command != "SIGNAL_POLL") return;
  if (event.data.value("ok", false) && event.data.contains("rssi")) {
    pendingPoll_ = PendingPoll{event.time, static_cast<int16_t>(integer(event.data, "rssi"))};
  } else {
    takeSample(event.time, std::nullopt);  // a failed poll skips a sample
  }
}

void RunModel::settlePoll() {
  if (!pendingPoll_) return;
  const PendingPoll poll = *pendingPoll_;
  pendingPoll_.reset();
  takeSample(poll.time, poll.rssi);
}

// The sample belongs to the running connected measurement whose sampling timer is due
// first: on a virtual clock timers fire in due order, lowest id first on ties.
void RunModel::takeSample(long long time, std::optional<int16_t> rssi) {
  Measurement* due = nullptr;
  for (auto& m : measurements_) {
    if (m->active && m->connected && (due == nullptr || m->nextSample < due->nextSample)) {
      due = m.get();
    }
  }
  if (due == nullptr) return;
  if (!rssi) {
    // A failed status query's poll is no sample either: only skip one that was due.
    if (due->nextSample <= time) due->nextSample += due->samplingPeriod;
    return;
  }
  due->nextSample = std::max(due->nextSample, time) + due->samplingPeriod;
  if (!due->sampled) {
    due->average = *rssi;
    due->sampled = true;
  } else {
    // As the plug-in folds it: each product and the sum in single precision, truncated.
    const float alpha = due->settings->alpha;
    const float previousPart = alpha * static_cast<float>(due->average);
    const float samplePart = (1.0f - alpha) * static_cast<float>(*rssi);
    due->average = static_cast<int16_t>(static_cast<int>(previousPart + samplePart));
  }
  due->rssi.add(time, 0, *rssi);
  due->rssi.add(time, 1, due->average);
}

RunModel::Measurement* RunModel::activeMeasurement(int client, long long id) {
  for (auto& m : measurements_) {
    if (m->active && m->client == client && m->id == id) return m.get();
  }
  return nullptr;
}

RunModel::Profile* RunModel::profile(long long type) {
  for (auto& p : profiles_) {
    if (p->type == type) return p.get();
  }
  if (measurements_.size() + profiles_.size() >= limits_.charts) {
    ++chartsRefused_;
    return nullptr;
  }
  auto p = std::make_unique<Profile>(limits_);
  p->type = type;
  p->quality.series("quality not met", {{"stepPlot", true}, {"strokeWidth", 2}});
  p->quality.series("reason", {{"stepPlot", true}, {"axis", "y2"}, {"strokePattern", {4, 3}}});
  profiles_.push_back(std::move(p));
  return profiles_.back().get();
}

void RunModel::onModem(const Event& event) {
  const std::string message = text(event.data, "message");
  const Json fields = event.data.value("fields", Json::object());
  if (message == "wifi_meas_report") {
    const int client = static_cast<int>(integer(event.data, "client"));
    const long long id = integer(fields, "wifi_meas_id");
    Measurement* m = activeMeasurement(client, id);
    // Without the steps (a filtered run) a measurement is known by its reports alone.
    if (m == nullptr && !sawSteps_) m = addMeasurement(client, id, event.time, Json(), {});
    if (m == nullptr || !fields.contains("bss_info") || !fields["bss_info"].is_array()) return;
    if (m->connected) {
      if (!fields["bss_info"].empty()) {
        m->rssi.add(event.time, 2, static_cast<double>(integer(fields["bss_info"][0], "rssi")));
      }
      return;
    }
    const std::string ssid = text(fields, "ssid");
    for (const Json& bss : fields["bss_info"]) {
      const std::string name = ssid + " " + text(bss, "bssid");
      m->rssi.add(event.time, m->rssi.series("RSSI " + name),
                  static_cast<double>(integer(bss, "rssi")));
      if ((static_cast<unsigned long long>(integer(bss, "reported_params")) & kBssLoadReported) !=
          0) {
        m->load.add(event.time, m->load.series("CU " + name),
                    static_cast<double>(integer(bss, "channel_utilization")));
      }
    }
  } else if (message == "wqe_profile_quality_status") {
    Profile* p = profile(integer(fields, "profile_type"));
    if (p == nullptr) return;
    p->quality.add(event.time, 0, static_cast<double>(integer(fields, "quality_status")));
    if (integer(fields, "reason_valid") != 0) {
      p->quality.add(event.time, 1, static_cast<double>(integer(fields, "reason")));
    }
  } else if (message == "notify_data_settings") {
    // Only the default profile tells the modem about Wi-Fi on and off.
    Profile* p = profile(0);
    if (p == nullptr || integer(fields, "wifi_state_valid") == 0) return;
    p->wifi.add(event.time, p->wifi.series("Wi-Fi on", {{"stepPlot", true}, {"strokeWidth", 2}}),
                static_cast<double>(integer(fields, "wifi_state")));
  } else if (message == "wlan_available") {
    // So do WLAN availability records.
    Profile* p = profile(0);
    if (p == nullptr) return;
    const long long type = integer(fields, "connection_type");
    const long long link = integer(fields, "link_status");
    p->links.add(
        event.time,
        p->links.series(connectionTypeName(type), {{"stepPlot", true}, {"strokeWidth", 2}}),
        static_cast<double>(link));
    p->availability.push_back(Json{{"time", event.time},
                                   {"link", connectionTypeName(type)},
                                   {"link_status", link},
                                   {"ssid", text(fields, "ssid")},
                                   {"bssid", text(fields, "bssid")},
                                   {"frequency", integer(fields, "frequency")},
                                   {"ipv4_addr", text(fields, "ipv4_addr")},
                                   {"country_code", text(fields, "country_code")}});
    if (p->availability.size() > limits_.availabilityRecords) {
      p->availability.pop_front();
      ++p->availabilityLeftOut;
    }
  }
}

Json RunModel::charts() {
  settlePoll();
  Json out{{"measurements", Json::array()}, {"profiles", Json::array()}, {"notes", Json::array()}};
  for (const auto& m : measurements_) {
    Json chart{{"panels", Json::array({panel(m->rssi, "rssi", "RSSI (dBm)"),
                                       panel(m->load, "load", "channel utilisation (0 to 255)")})}};
    chart["client"] = m->client;
    chart["id"] = m->id;
    chart["mode"] = !m->settings ? "reports" : m->connected ? "connected" : "scan";
    chart["started"] = m->started;
    chart["stopped"] = m->stopped ? Json(*m->stopped) : Json(nullptr);
    chart["request"] = m->request;
    const std::string name =
        "measurement " + std::to_string(m->id) + " of client " + std::to_string(m->client);
    if (m->settings) {
      chart["alpha"] = m->settings->alpha;
      chart["sampling_period"] = m->settings->samplingPeriod;
      chart["reporting_period"] = m->settings->reportingPeriod;
    } else {
      out["notes"].push_back(name + ": " +
                             (sawSteps_ ? "its start step holds no record"
                                        : "the input holds no steps, so not its start record") +
                             "; the reported RSSI is drawn, but not the samples and their "
                             "average, which need the record's mode, alpha and periods");
    }
    if (m->connected && !sawSupplicant_) {
      out["notes"].push_back(name +
                             ": the input holds no supplicant events, so no signal polls: the "
                             "sampled RSSI and its average are not drawn");
    }
    out["measurements"].push_back(std::move(chart));
  }
  for (const auto& p : profiles_) {
    Json chart{
        {"panels",
         Json::array({panel(p->quality, "quality", "quality", Json::array({"met", "not met"})),
                      panel(p->links, "links", "link status",
                            Json::array({"down", "associated", "connected"})),
                      panel(p->wifi, "wifi", "Wi-Fi", Json::array({"off", "on"}))})}};
    chart["profile"] = p->type;
    chart["availability"] = Json::array();
    for (const Json& record : p->availability) chart["availability"].push_back(record);
    chart["availability_left_out"] = p->availabilityLeftOut;
    out["profiles"].push_back(std::move(chart));
  }
  if (chartsRefused_ > 0) {
    out["notes"].push_back(std::to_string(chartsRefused_) +
                           " more measurements or profiles were not charted (at most " +
                           std::to_string(limits_.charts) + " charts)");
  }
  return out;
}

}  // namespace nexhost
