#include "Inputs.h"

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <map>
#include <sstream>

namespace bench {

namespace {

std::string readFile(const std::string& path) {
  std::ifstream in(path, std::ios::binary);
  if (!in) {
    std::fprintf(stderr, "bench: cannot read %s\n", path.c_str());
    std::exit(2);
  }
  std::ostringstream text;
  text << in.rdbuf();
  return text.str();
}

using Bytes = std::vector<uint8_t>;

void addElement(Bytes& out, uint8_t id, const Bytes& body) {
  out.push_back(id);
  out.push_back(static_cast<uint8_t>(body.size()));
  out.insert(out.end(), body.begin(), body.end());
}

Bytes textBytes(const char* text) {
  Bytes bytes;
  for (const char* c = text; *c != '\0'; ++c) bytes.push_back(static_cast<uint8_t>(*c));
  return bytes;
}

std::string hexText(const Bytes& bytes, bool upperCase) {
  std::string text;
  char pair[3];
  for (uint8_t byte : bytes) {
    std::snprintf(pair, sizeof pair, upperCase ? "%02X" : "%02x", static_cast<unsigned>(byte));
    text += pair;
  }
  return text;
}

std::string composeElements() {
  constexpr std::size_t kSize = 512;
  Bytes ie;
  addElement(ie, 0, textBytes("Pension Lindenhof Gaeste"));
  addElement(ie, 1, {0x82, 0x84, 0x8b, 0x96, 0x0c, 0x12, 0x18, 0x24});
  addElement(ie, 3, {0x24});
  addElement(ie, 5, {0x00, 0x01, 0x00, 0x00});
  addElement(ie, 7,
             {'D', 'E', 0x20, 0x01, 0x0d, 0x14, 0x24, 0x04, 0x17, 0x34, 0x04, 0x1e, 0x64, 0x0c,
              0x1e, 0x95, 0x05, 0x24});
  addElement(ie, 11, {0x07, 0x00, 0x5a, 0x00, 0x00});
  addElement(ie, 42, {0x00});
  addElement(ie, 50, {0x30, 0x48, 0x60, 0x6c});
  addElement(ie, 45,
             {0xef, 0x09, 0x1b, 0xff, 0xff, 0xff, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00,
              0x00, 0x00, 0x00, 0x01, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00});
  addElement(ie, 61, {0x24, 0x05, 0x04, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00,
                      0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00});
  addElement(ie, 127, {0x04, 0x00, 0x08, 0x00, 0x00, 0x00, 0x00, 0x40});
  addElement(ie, 191, {0x91, 0x59, 0x82, 0x0f, 0xea, 0xff, 0x00, 0x00, 0xea, 0xff, 0x00, 0x00});
  addElement(ie, 192, {0x01, 0x2a, 0x00, 0xfc, 0xff});
  addElement(ie, 48, {0x01, 0x00, 0x00, 0x0f, 0xac, 0x04, 0x01, 0x00, 0x00, 0x0f, 0xac, 0x04,
                      0x02, 0x00, 0x00, 0x0f, 0xac, 0x02, 0x00, 0x0f, 0xac, 0x08, 0x8c, 0x00});
  addElement(ie, 107, {0x02, 0x38, 0xe6, 0xf1, 0x00, 0x00, 0x01});
  addElement(ie, 221, {0x00, 0x50, 0xf2, 0x02, 0x01, 0x01, 0x80, 0x00, 0x03, 0xa4, 0x00, 0x00,
                       0x27, 0xa4, 0x00, 0x00, 0x42, 0x43, 0x5e, 0x00, 0x62, 0x32, 0x2f, 0x00});
  addElement(ie, 255,
             {0x23, 0x03, 0x08, 0x00, 0x00, 0x00, 0x00, 0x00, 0x40, 0x0e, 0x00, 0x00, 0x00, 0x00,
              0x00, 0x00, 0x00, 0x00, 0xfa, 0xff, 0xfa, 0xff, 0x39, 0x1c, 0xc7, 0x71, 0x1c, 0x07});
  addElement(ie, 255, {0x24, 0xf4, 0x3f, 0x00, 0x09, 0xfc, 0xff});
  addElement(ie, 70, {0x33, 0x00, 0x00, 0x00, 0x00});
  addElement(ie, 59, {0x73, 0x51, 0x53, 0x54, 0x73, 0x74, 0x75, 0x76, 0x77, 0x78, 0x79, 0x7a});
  // Vendor elements make up the rest, as WPS and other vendor data do on the air.
  uint8_t filler = 0x10;
  while (ie.size() + 2 < kSize) {
    std::size_t size = kSize - ie.size() - 2;
    if (size > 120) size = size - 120 < 3 ? 100 : 120;  // leave room for a non-empty one
    Bytes body = {0x00, 0x50, 0xf2, 0x04};
    while (body.size() < size) body.push_back(filler++);
    body.resize(size);
    addElement(ie, 221, body);
  }
  if (ie.size() != kSize) {
    std::fprintf(stderr, "bench: composed elements are %zu bytes\n", ie.size());
    std::exit(2);
  }
  return hexText(ie, false);
}

std::string composeHostileElements() {
  constexpr std::size_t kSize = 2048;  // bytes: 4 KiB of text
  struct Sample {
    uint8_t id;
    Bytes body;
  };
  Bytes ht(22, 0);
  ht[2] = 0x05;
  // Short elements of every id the walks read, each one logged after parsing or allocated
  // (and mostly freed again as a later duplicate), some with bodies the parsers reject.
  const std::vector<Sample> samples = {
      {11, {0x01, 0x00, 0xc8, 0x00, 0x00}},
      {61, ht},
      {192, {0x01, 0x2a, 0x2a, 0xfc, 0xff}},
      {1, {0x82}},
      {42, {0x00}},
      {50, {0x6c}},
      {107, {0x01}},
      {7, {'D', 'E', 0x20, 0x01}},
      {61, {0x00}},
      {1, {0x01}},
  };
  std::string text;
  std::size_t bytes = 0;
  for (std::size_t i = 0;; ++i) {
    const Sample& sample = samples[i % samples.size()];
    const std::size_t size = 2 + sample.body.size();
    if (bytes + size + 3 > kSize) break;
    Bytes element;
    addElement(element, sample.id, sample.body);
    text += hexText(element, i % 2 == 1);  // both cases of hex digit
    bytes += size;
  }
  // The last element claims 255 bytes and gets the rest, its zero digits written as 'z'
  // (which reads as 0 too).
  Bytes cut = {221, 255};
  while (bytes + cut.size() < kSize) cut.push_back(0x50);
  std::string tail = hexText(cut, false);
  for (std::size_t i = 4; i < tail.size(); i += 2) tail[i + 1] = 'z';
  text += tail;
  if (text.size() != 2 * kSize) {
    std::fprintf(stderr, "bench: hostile elements are %zu characters\n", text.size());
    std::exit(2);
  }
  return text;
}

std::vector<ScanLine> splitScanLines(const std::string& listing) {
  std::vector<ScanLine> lines;
  std::istringstream in(listing);
  std::string line;
  std::getline(in, line);  // header
  while (std::getline(in, line)) {
    std::istringstream columns(line);
    ScanLine scan;
    std::string frequency, level, flags;
    std::getline(columns, scan.bssid, '\t');
    std::getline(columns, frequency, '\t');
    std::getline(columns, level, '\t');
    std::getline(columns, flags, '\t');
    std::getline(columns, scan.ssid);
    scan.frequency = std::atoi(frequency.c_str());
    lines.push_back(scan);
  }
  return lines;
}

}  // namespace

const std::string& recorded(const std::string& name) {
  static std::map<std::string, std::string> cache;
  auto found = cache.find(name);
  if (found == cache.end()) {
    found = cache.emplace(name, readFile(std::string(MDX_RECORDED_DIR) + "/" + name)).first;
  }
  return found->second;
}

const std::string& scanResults() {
  static const std::string text = readFile(std::string(MDX_BENCH_DATA_DIR) + "/scan_results.txt");
  return text;
}

const std::vector<ScanLine>& scanLines() {
  static const std::vector<ScanLine> lines = splitScanLines(scanResults());
  return lines;
}

std::string scanResultsOf(std::size_t count) {
  std::string text = scanResults().substr(0, scanResults().find('\n') + 1);
  std::size_t added = 0;
  for (std::size_t round = 0; added < count; ++round) {
    std::istringstream in(scanResults());
    std::string line;
    std::getline(in, line);  // header
    while (added < count && std::getline(in, line)) {
      if (round > 0) {
        // A locally administered BSSID numbered by the round.
        char prefix[10];
        std::snprintf(prefix, sizeof prefix, "02:%02x:", static_cast<unsigned>(round & 0xff));
        line.replace(0, 6, prefix);
      }
      text += line;
      text += '\n';
      ++added;
    }
  }
  return text;
}

std::string elementsOf(const std::string& bssReply) {
  std::istringstream in(bssReply);
  std::string line;
  while (std::getline(in, line)) {
    if (line.compare(0, 3, "ie=") == 0) return line.substr(3);
  }
  return "";
}

const std::string& composedElements() {
  static const std::string text = composeElements();
  return text;
}

const std::string& hostileElements() {
  static const std::string text = composeHostileElements();
  return text;
}

}  // namespace bench
