// Facts derived from the connected BSS's elements: its Wi-Fi mode, HESSID and country code.
#include <algorithm>

#include "Log.h"
#include "WifiParser.h"

namespace {

using WifiInformationElementParser::factsOf;

// Below it a BSS's rates are only 802.11b ones.
constexpr int32_t kOfdmRate = 24000000;  // bit/s

}  // namespace

int32_t WifiParser::getWifiMode(WifiInfoMap wifiInfoMap, uint16_t frequency) {
  ElementFacts facts;
  factsOf(wifiInfoMap, facts);
  return wifiModeOf(facts, frequency);
}

std::string WifiParser::getHESSIDInfo(WifiInfoMap wifiInfoMap) {
  ElementFacts facts;
  factsOf(wifiInfoMap, facts);
  return std::string(hessidOf(facts));
}

std::string WifiParser::getCountryCode(WifiInfoMap wifiInfoMap) {
  ElementFacts facts;
  factsOf(wifiInfoMap, facts);
  return std::string(countryCodeOf(facts));
}

int32_t WifiParser::wifiModeOf(const ElementFacts& facts, uint16_t frequency) {
  // Presence by id decides, even for an element whose body was rejected.
  if (facts.vhtOperation) {
    MDX_LOG(1, "Found VHTOperation Element in wifiInfoMap");
    return kMode11ac;
  }
  if (facts.htOperation) {
    MDX_LOG(1, "Found HTOperation Element in wifiInfoMap");
    return kMode11n;
  }
  if (facts.erp) {
    MDX_LOG(1, "Found ERP Element in wifiInfoMap");
    return kMode11g;
  }
  if (frequency > 2999) {
    MDX_LOG(1, " Frequency is greater than 3000");
    return kMode11a;
  }
  // The last rate stands for the fastest: access points list their rates ascending.
  if (facts.supportedRates) MDX_LOG(1, "Found SupportedRate Element in wifiInfoMap");
  if (facts.extendedRates) MDX_LOG(1, "Found ExtendedSupportedRate Element in wifiInfoMap");
  if (!facts.supportedRates) return kModeUnknown;
  return std::max(facts.supportedLastRate, facts.extendedLastRate) < kOfdmRate ? kMode11b
                                                                               : kMode11g;
}

std::string_view WifiParser::hessidOf(const ElementFacts& facts) {
  if (facts.interworking) MDX_LOG(1, "Found Interworking Element in wifiInfoMap");
  const std::string_view hessid = facts.hessid;
  MDX_LOG(1, "getHESSIDInfo: Returned HESSID: %.*s", static_cast<int>(hessid.size()),
          hessid.data());
  return hessid;
}

std::string_view WifiParser::countryCodeOf(const ElementFacts& facts) {
  if (facts.country) MDX_LOG(1, "Found Country Element in wifiInfoMap");
  const std::string_view countryCode = facts.countryCode;
  MDX_LOG(1, "getCountryCode: Returned countryCode: %.*s", static_cast<int>(countryCode.size()),
          countryCode.data());
  return countryCode;
}
