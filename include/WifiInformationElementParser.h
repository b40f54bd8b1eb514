#pragma once

#include <cstddef>
#include <cstdint>
#include <map>
#include <string>
#include <vector>

#include "WifiStatus.h"

// Walks the hex text of 802.11 information elements (the "ie" value of a BSS reply).
namespace WifiInformationElementParser {

class InformationElement {
 public:
  virtual ~InformationElement() = default;
  virtual bool parse(std::vector<uint8_t> body) = 0;
  virtual std::string get_name() = 0;
  virtual int get_id() = 0;
  virtual std::string to_string();
  // Each element class also reads its body in place with parseBody(body, size), as its
  // parse() does with a vector, so that the walk copies no body.
};

class BSSLoadElement : public InformationElement {
 public:
  bool parse(std::vector<uint8_t> body) override;
  bool parseBody(const uint8_t* body, size_t size);
  std::string get_name() override;
  int get_id() override;
  std::string to_string() override;
  uint8_t mChannelUtilization = 0;
};

class HTOperationElement : public InformationElement {
 public:
  bool parse(std::vector<uint8_t> body) override;
  bool parseBody(const uint8_t* body, size_t size);
  std::string get_name() override;
  int get_id() override;
  std::string to_string() override;
  uint8_t mPrimaryChannel = 0;
  uint8_t mChannelWidth = 0;
};

class VHTOperationElement : public InformationElement {
 public:
  bool parse(std::vector<uint8_t> body) override;
  bool parseBody(const uint8_t* body, size_t size);
  std::string get_name() override;
  int get_id() override;
  std::string to_string() override;
  uint8_t mChannelWidth = 0;
  uint8_t mSeg1CenterFreq = 0;
};

class ERPElement : public InformationElement {
 public:
  bool parse(std::vector<uint8_t> body) override;
  bool parseBody(const uint8_t* body, size_t size);
  std::string get_name() override;
  int get_id() override;
};

class SupportedRateElement : public InformationElement {
 public:
  bool parse(std::vector<uint8_t> body) override;
  bool parseBody(const uint8_t* body, size_t size);
  std::string get_name() override;
  int get_id() override;
  // Rate in bit/s of a rates byte (mandatory flag ignored), -1 when unknown.
  static int32_t getRateFromByte(int rateByte);
  std::vector<int32_t> mRates;
};

class ExtendedSupportedRateElement : public SupportedRateElement {
 public:
  std::string get_name() override;
  int get_id() override;
};

class InterworkingElement : public InformationElement {
 public:
  bool parse(std::vector<uint8_t> body) override;
  bool parseBody(const uint8_t* body, size_t size);
  std::string get_name() override;
  int get_id() override;
  std::string mHessid;
};

class CountryElement : public InformationElement {
 public:
  bool parse(std::vector<uint8_t> body) override;
  bool parseBody(const uint8_t* body, size_t size);
  std::string get_name() override;
  int get_id() override;
  std::string mCountryCode;
};

uint8_t hex_to_dec(char c);
// Reads one element at `text`; returns where the next one begins, or null.
char* parse_next_tlv(char* text, uint8_t* id, std::vector<uint8_t>* body);
// Fills channel utilisation, bandwidth and lowest channel.
void parse(char* text, BssLoad& load);
// Adds the elements the derived facts need (ids 1, 7, 42, 50, 61, 107, 192), first wins.
void parse(char* text, std::map<int, InformationElement*>& map);
uint32_t calc_freq(uint8_t htWidth, uint8_t vhtWidth);
uint8_t convert_lowest(uint8_t centreChannel);

}  // namespace WifiInformationElementParser

using WifiInfoMap = std::map<int, WifiInformationElementParser::InformationElement*>;
