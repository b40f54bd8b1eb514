#pragma once

#include <cstddef>
#include <cstdint>
#include <map>
#include <string>
#include <string_view>
#include <vector>

#include "WifiStatus.h"

// Walks the hex text of 802.11 information elements (the "ie" value of a BSS reply).
namespace WifiInformationElementParser {

// An element's body, read byte by byte: bytes already decoded, or the hex pairs of the
// text itself, decoded as they are read, so that the walk neither copies nor decodes a
// body beyond what its element class reads.
class ElementBody {
 public:
  ElementBody(const uint8_t* bytes, size_t size) : bytes_(bytes), size_(size) {}
  static ElementBody ofHexPairs(const char* pairs, size_t size) {
    ElementBody body;
    body.pairs_ = pairs;
    body.size_ = size;
    return body;
  }
  size_t size() const { return size_; }
  bool empty() const { return size_ == 0; }
  uint8_t operator[](size_t i) const;

 private:
  ElementBody() = default;
  const uint8_t* bytes_ = nullptr;
  const char* pairs_ = nullptr;
  size_t size_ = 0;
};

class InformationElement {
 public:
  virtual ~InformationElement() = default;
  virtual bool parse(std::vector<uint8_t> body) = 0;
  virtual std::string get_name() = 0;
  virtual int get_id() = 0;
  virtual std::string to_string();
  // Each element class also reads a body in place with parseBody(body), as its parse()
  // does with a vector, so that the walk copies no body.
};

class BSSLoadElement : public InformationElement {
 public:
  bool parse(std::vector<uint8_t> body) override;
  bool parseBody(const ElementBody& body);
  std::string get_name() override;
  int get_id() override;
  std::string to_string() override;
  uint8_t mChannelUtilization = 0;
};

class HTOperationElement : public InformationElement {
 public:
  bool parse(std::vector<uint8_t> body) override;
  bool parseBody(const ElementBody& body);
  std::string get_name() override;
  int get_id() override;
  std::string to_string() override;
  uint8_t mPrimaryChannel = 0;
  uint8_t mChannelWidth = 0;
};

class VHTOperationElement : public InformationElement {
 public:
  bool parse(std::vector<uint8_t> body) override;
  bool parseBody(const ElementBody& body);
  std::string get_name() override;
  int get_id() override;
  std::string to_string() override;
  uint8_t mChannelWidth = 0;
  uint8_t mSeg1CenterFreq = 0;
};

class ERPElement : public InformationElement {
 public:
  bool parse(std::vector<uint8_t> body) override;
  bool parseBody(const ElementBody& body);
  std::string get_name() override;
  int get_id() override;
};

class SupportedRateElement : public InformationElement {
 public:
  bool parse(std::vector<uint8_t> body) override;
  bool parseBody(const ElementBody& body);
  std::string get_name() override;
  int get_id() override;
  // Checks a body as parseBody does, with the same log lines, and keeps nothing but, when
  // asked, the last rate parseBody would keep (0 for none).
  static bool checkBody(const ElementBody& body, int32_t* lastRate = nullptr);
  // Rate in bit/s of a rates byte (mandatory flag ignored), -1 when unknown.
  static int32_t getRateFromByte(int rateByte);
  std::vector<int32_t> mRates;

 private:
  static bool readRates(const ElementBody& body, std::vector<int32_t>* rates, int32_t* lastRate);
};

class ExtendedSupportedRateElement : public SupportedRateElement {
 public:
  std::string get_name() override;
  int get_id() override;
};

class InterworkingElement : public InformationElement {
 public:
  bool parse(std::vector<uint8_t> body) override;
  bool parseBody(const ElementBody& body);
  std::string get_name() override;
  int get_id() override;
  // Checks a body as parseBody does, with the same log lines, and keeps nothing but, when
  // asked, the HESSID text parseBody would keep (left as it was when there is none).
  static bool checkBody(const ElementBody& body, char (*hessid)[18] = nullptr);
  std::string mHessid;

 private:
  static bool readHessid(const ElementBody& body, char (*hessid)[18]);
};

class CountryElement : public InformationElement {
 public:
  bool parse(std::vector<uint8_t> body) override;
  bool parseBody(const ElementBody& body);
  std::string get_name() override;
  int get_id() override;
  std::string mCountryCode;
};

// What the derived facts read of the elements: whether each id they use is there, and of
// the first element of an id, the last rate of a rates list (0 for none), the HESSID and
// the country code ("" when that element has none). The texts may be views of the facts'
// own buffers, so facts are not copied.
struct ElementFacts {
  ElementFacts() = default;
  ElementFacts(const ElementFacts&) = delete;
  ElementFacts& operator=(const ElementFacts&) = delete;
  bool any() const {
    return supportedRates || extendedRates || erp || htOperation || vhtOperation || interworking ||
           country;
  }
  bool supportedRates = false;
  bool extendedRates = false;
  bool erp = false;
  bool htOperation = false;
  bool vhtOperation = false;
  bool interworking = false;
  bool country = false;
  int32_t supportedLastRate = 0;
  int32_t extendedLastRate = 0;
  std::string_view hessid;
  std::string_view countryCode;
  char hessidText[18] = "";
  char countryText[3] = "";
};

uint8_t hex_to_dec(char c);
// Reads one element at `text`; returns where the next one begins, or null.
char* parse_next_tlv(char* text, uint8_t* id, std::vector<uint8_t>* body);
// Fills channel utilisation, bandwidth and lowest channel.
void parse(char* text, BssLoad& load);
// Adds the elements the derived facts need (ids 1, 7, 42, 50, 61, 107, 192), first wins.
void parse(char* text, std::map<int, InformationElement*>& map);
// The same walks over the `length` characters at `text`, which need no terminator: a value
// inside a reply, read where it is.
void parse(const char* text, size_t length, BssLoad& load);
void parse(const char* text, size_t length, std::map<int, InformationElement*>& map);
// The facts the map walk's map would give, with the same log lines, and nothing on the heap.
void parse(const char* text, size_t length, ElementFacts& facts);
// The facts of a map of elements, such as the map walk fills; the texts are views of the
// map's elements. Logs nothing.
void factsOf(const std::map<int, InformationElement*>& map, ElementFacts& facts);
uint32_t calc_freq(uint8_t htWidth, uint8_t vhtWidth);
uint8_t convert_lowest(uint8_t centreChannel);

}  // namespace WifiInformationElementParser

using WifiInfoMap = std::map<int, WifiInformationElementParser::InformationElement*>;
