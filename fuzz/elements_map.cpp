// Element hex text into the element map, then everything read from it.
#include <cstring>

#include "FuzzSupport.h"
#include "WifiParser.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  resetFuzzLogger();
  std::vector<char> text = writableTextOf(data, size);
  WifiInfoMap map;
  WifiInformationElementParser::parse(text.data(), map);
  for (const auto& [id, element] : map) {
    FUZZ_CHECK(element != nullptr && element->get_id() == id);
    FUZZ_CHECK(!element->get_name().empty() && !element->to_string().empty());
  }
  WifiParser* parser = WifiParser::getInstance();
  const int32_t mode = parser->getWifiMode(map, 2412);
  FUZZ_CHECK(mode == -1 || mode == 2 || mode == 3 || mode == 5 || mode == 7);
  FUZZ_CHECK(parser->getCountryCode(map).size() <= 2);
  FUZZ_CHECK(parser->getHESSIDInfo(map).size() % 17 == 0);
  // The facts walk, which a BSS reply's parse takes, reads what the map holds.
  WifiInformationElementParser::ElementFacts fromMap;
  WifiInformationElementParser::factsOf(map, fromMap);
  WifiInformationElementParser::ElementFacts walked;
  WifiInformationElementParser::parse(text.data(), std::strlen(text.data()), walked);
  FUZZ_CHECK(walked.any() == !map.empty());
  FUZZ_CHECK(walked.supportedRates == fromMap.supportedRates &&
             walked.extendedRates == fromMap.extendedRates && walked.erp == fromMap.erp &&
             walked.htOperation == fromMap.htOperation &&
             walked.vhtOperation == fromMap.vhtOperation &&
             walked.interworking == fromMap.interworking && walked.country == fromMap.country);
  FUZZ_CHECK(walked.supportedLastRate == fromMap.supportedLastRate &&
             walked.extendedLastRate == fromMap.extendedLastRate);
  FUZZ_CHECK(walked.hessid == fromMap.hessid && walked.countryCode == fromMap.countryCode);
  for (auto& entry : map) delete entry.second;
  return 0;
}
