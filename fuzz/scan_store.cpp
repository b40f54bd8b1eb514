// The scan store driven by fuzzed lines and fuzzed filters. Each input line is either a
// scan line (bssid, freq, rssi, flags, ssid separated by tabs, as SCAN_RESULTS prints it) or
// a filter line "F<tab>ssid<tab>bssid<tab>codes" with comma-separated channel codes.
// Consecutive filter lines for one SSID build one request.
#include <list>
#include <sstream>

#include "FuzzSupport.h"
#include "TextNumber.h"
#include "WifiScanResult.h"

namespace {

std::vector<std::string> split(const std::string& line, char separator) {
  std::vector<std::string> fields;
  std::string field;
  std::istringstream in(line);
  while (std::getline(in, field, separator)) fields.push_back(field);
  return fields;
}

bool sameSelection(const std::vector<SelectedBss>& a, const std::vector<SelectedBss>& b) {
  if (a.size() != b.size()) return false;
  for (size_t i = 0; i < a.size(); ++i) {
    if (a[i].ssid != b[i].ssid || a[i].bssid != b[i].bssid || a[i].freq != b[i].freq ||
        a[i].rssi != b[i].rssi) {
      return false;
    }
  }
  return true;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  resetFuzzLogger();
  WifiScanResult parsed;
  // The same lines, filtered by walking the indexes only: both ways must select the same.
  WifiScanResult walked;
  walked.filterByIndexWalkOnly(true);
  std::list<MeasurementRequestReport> requests;
  std::istringstream lines(textOf(data, size));
  std::string line;
  while (std::getline(lines, line)) {
    std::vector<std::string> f = split(line, '\t');
    if (!f.empty() && f[0] == "F") {
      f.resize(4);
      if (requests.empty() || requests.back().ssid != f[1]) {
        requests.emplace_back();
        requests.back().ssid = f[1];
      }
      std::set<uint16_t>& codes = requests.back().bssidChannels[f[2]];
      for (const std::string& code : split(f[3], ',')) {
        codes.insert(static_cast<uint16_t>(textToInt(code.c_str())));
      }
    } else {
      f.resize(5);
      parsed.addData(f[0], f[1], static_cast<int16_t>(textToInt(f[2].c_str())), f[4]);
      walked.addData(f[0], f[1], static_cast<int16_t>(textToInt(f[2].c_str())), f[4]);
    }
  }
  WifiScanResult result;
  result = std::move(parsed);
  FUZZ_CHECK(parsed.byBssidFreq.empty() && parsed.byFreqBssid.empty());
  result.filterData(requests);
  // Every BSS a filter picked is one that was stored.
  size_t grouped = 0;
  for (const auto& group : result.filteredBySsid) grouped += group.second.size();
  FUZZ_CHECK(grouped <= result.filteredList.size());
  for (const SelectedBss& record : result.filteredList) {
    FUZZ_CHECK(result.byBssidFreq.count(record.bssid + "&" + record.freq) == 1);
  }
  walked.filterData(requests);
  FUZZ_CHECK(sameSelection(walked.filteredList, result.filteredList));
  FUZZ_CHECK(walked.filteredBySsid.size() == result.filteredBySsid.size());
  auto group = result.filteredBySsid.begin();
  for (const auto& [ssid, records] : walked.filteredBySsid) {
    FUZZ_CHECK(group->first == ssid && sameSelection(group->second, records));
    ++group;
  }
  return 0;
}
