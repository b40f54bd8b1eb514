// Shared by the parsing tests: a host for its log journal, and element hex texts.
#pragma once

#include <gtest/gtest.h>

#include <cstdint>
#include <cstdio>
#include <string>
#include <vector>

#include "WifiParser.h"
#include "framework/Host.h"

class ParserTest : public ::testing::Test {
 protected:
  bool logged(const std::string& text, int level) const {
    const nexhost::LogLine* line = host.logger.find(text);
    return line != nullptr && line->level == level;
  }

  void SetUp() override { host.keepJournals(); }

  nexhost::Host host;
  WifiParser& parser = *WifiParser::getInstance();
};

// One element as hex text, the way a BSS reply's "ie" value holds it.
inline std::string element(uint8_t id, std::vector<uint8_t> body) {
  body.insert(body.begin(), {id, static_cast<uint8_t>(body.size())});
  std::string hex;
  char pair[3];
  for (uint8_t byte : body) hex.append(pair, std::snprintf(pair, sizeof(pair), "%02X", byte));
  return hex;
}
// HT operation (22 bytes, primary channel 6) with the given width byte 2; VHT operation.
inline std::string htOperation(uint8_t byte2) {
  std::vector<uint8_t> body(22, 0);
  body[0] = 6;
  body[2] = byte2;
  return element(61, body);
}
inline std::string vhtOperation(uint8_t width, uint8_t seg1) {
  return element(192, {width, 42, seg1, 0xfc, 0xff});
}

// The "ie" value of a reply in tests/data.
std::string ieOf(const std::string& reply);
