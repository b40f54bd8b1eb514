#include "framework/FilterCommands.h"

#include <strings.h>

#include <cstdlib>
#include <set>
#include <vector>

namespace nexhost {

namespace {

std::vector<std::string> splitItems(const std::string& text) {
  std::vector<std::string> items;
  std::size_t start = 0;
  for (;;) {
    const std::size_t comma = text.find(',', start);
    std::string item = text.substr(start, comma == std::string::npos ? comma : comma - start);
    const std::size_t first = item.find_first_not_of(" \t");
    const std::size_t last = item.find_last_not_of(" \t");
    if (first != std::string::npos) items.push_back(item.substr(first, last - first + 1));
    if (comma == std::string::npos) return items;
    start = comma + 1;
  }
}

// A whole band as the range of its edges in MHz.
const char* bandRange(unsigned long code) {
  switch (code) {
    case 1:
      return "2400-2500";
    case 2:
      return "3650-3700";
    case 3:
      return "5150-5895";
    default:
      return nullptr;
  }
}

constexpr unsigned long kAnyFrequency = 65535;
const std::string kBroadcast = "ff:ff:ff:ff:ff:ff";

}  // namespace

std::string scanFrequencies(const std::string& filter) {
  std::string list;
  std::set<std::string> seen;
  for (const std::string& item : splitItems(filter)) {
    char* end = nullptr;
    const unsigned long code = std::strtoul(item.c_str(), &end, 10);
    // The whole item must be the number: a NUL inside it ends strtoul, not the item.
    const bool whole = end != item.c_str() && end == item.c_str() + item.size();
    if (!whole || code == 0 || code > kAnyFrequency) continue;
    if (code == kAnyFrequency) return "";
    const char* band = bandRange(code);
    const std::string range = band != nullptr ? band : std::to_string(code);
    if (!seen.insert(range).second) continue;
    if (!list.empty()) list += ",";
    list += range;
  }
  return list;
}

std::string bssidFilterValue(const std::string& filter) {
  std::string value;
  for (const std::string& item : splitItems(filter)) {
    if (item.size() == kBroadcast.size() && strcasecmp(item.c_str(), kBroadcast.c_str()) == 0) {
      return "";
    }
    if (!value.empty()) value += " ";
    value += item;
  }
  return value;
}

}  // namespace nexhost
