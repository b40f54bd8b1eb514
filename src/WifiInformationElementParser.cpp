#define MDX_LOG_MODULE_ID 10355
#include "WifiInformationElementParser.h"

#include <cstdio>

#include "Log.h"

namespace WifiInformationElementParser {

namespace {

constexpr int kSupportedRatesId = 1;
constexpr int kCountryId = 7;
constexpr int kBssLoadId = 11;
constexpr int kErpId = 42;
constexpr int kExtendedRatesId = 50;
constexpr int kHtOperationId = 61;
constexpr int kInterworkingId = 107;
constexpr int kVhtOperationId = 192;

constexpr size_t kBssLoadSize = 5;
constexpr size_t kHtOperationSize = 22;
constexpr size_t kVhtOperationSize = 5;
constexpr size_t kMaxRates = 8;
constexpr size_t kMaxElementSize = 255;  // the length is one byte

// The one-line log texts are bounded like every formatted text of the plug-in.
constexpr size_t kLineSize = 1024;

// hex_to_dec as a table: the walk decodes every character of every element.
struct HexDigits {
  uint8_t value[256] = {};
  constexpr HexDigits() {
    for (int c = '1'; c <= '9'; ++c) value[c] = static_cast<uint8_t>(c - '0');
    for (int c = 'A'; c <= 'F'; ++c) value[c] = static_cast<uint8_t>(c - 'A' + 10);
    for (int c = 'a'; c <= 'f'; ++c) value[c] = static_cast<uint8_t>(c - 'a' + 10);
  }
};
constexpr HexDigits kHexDigits;

// One byte from two hex characters; the caller has checked that both are there.
uint8_t hexByte(const char* pair) {
  return static_cast<uint8_t>(kHexDigits.value[static_cast<unsigned char>(pair[0])] << 4 |
                              kHexDigits.value[static_cast<unsigned char>(pair[1])]);
}

void logElement(uint8_t id, const std::vector<uint8_t>& body) {
  MDX_LOG(1, "Parsed TLV: id=%u len=%d ", static_cast<unsigned>(id), static_cast<int>(body.size()));
  for (uint8_t byte : body) MDX_LOG(1, "%u", static_cast<unsigned>(byte));
}

// The element object that keeps what the derived facts need, or null for ids nobody reads.
InformationElement* newElementFor(uint8_t id) {
  switch (id) {
    case kSupportedRatesId:
      return new SupportedRateElement();
    case kCountryId:
      return new CountryElement();
    case kErpId:
      return new ERPElement();
    case kExtendedRatesId:
      return new ExtendedSupportedRateElement();
    case kHtOperationId:
      return new HTOperationElement();
    case kInterworkingId:
      return new InterworkingElement();
    case kVhtOperationId:
      return new VHTOperationElement();
    default:
      return nullptr;
  }
}

std::string formatHessid(const std::vector<uint8_t>& body, size_t first) {
  char text[18];
  std::snprintf(text, sizeof(text), "%02x:%02x:%02x:%02x:%02x:%02x",
                static_cast<unsigned>(body[first]), static_cast<unsigned>(body[first + 1]),
                static_cast<unsigned>(body[first + 2]), static_cast<unsigned>(body[first + 3]),
                static_cast<unsigned>(body[first + 4]), static_cast<unsigned>(body[first + 5]));
  return text;
}

}  // namespace

// ---- Base

std::string InformationElement::to_string() { return "ERR"; }

// ---- BSS load: station count (2 bytes), channel utilisation, admission capacity (2 bytes)

bool BSSLoadElement::parse(std::vector<uint8_t> body) {
  if (body.size() != kBssLoadSize) return false;
  mChannelUtilization = body[2];
  return true;
}
std::string BSSLoadElement::get_name() { return "BSSLoadElement"; }
int BSSLoadElement::get_id() { return kBssLoadId; }
std::string BSSLoadElement::to_string() {
  char line[kLineSize];
  // Integer division on purpose: the percentage reads 0 below 255 and 1 at 255.
  std::snprintf(line, sizeof(line), "%s mChannelUtilization=%u (%u%%)", get_name().c_str(),
                static_cast<unsigned>(mChannelUtilization),
                static_cast<unsigned>(mChannelUtilization / 255));
  return line;
}

// ---- HT operation: the width is byte 2 taken whole; users only test it for zero.

bool HTOperationElement::parse(std::vector<uint8_t> body) {
  if (body.size() != kHtOperationSize) return false;
  mPrimaryChannel = body[0];
  mChannelWidth = body[2];
  return true;
}
std::string HTOperationElement::get_name() { return "HTOperationElement"; }
int HTOperationElement::get_id() { return kHtOperationId; }
std::string HTOperationElement::to_string() {
  char line[kLineSize];
  std::snprintf(line, sizeof(line), "%s mPrimaryChannel=%u mChannelWidth=%u", get_name().c_str(),
                static_cast<unsigned>(mPrimaryChannel), static_cast<unsigned>(mChannelWidth));
  return line;
}

// ---- VHT operation: width, centre segment 0, centre segment 1, basic MCS set (2 bytes)

bool VHTOperationElement::parse(std::vector<uint8_t> body) {
  if (body.size() != kVhtOperationSize) return false;
  mChannelWidth = body[0];
  mSeg1CenterFreq = body[2];
  return true;
}
std::string VHTOperationElement::get_name() { return "VHTOperationElement"; }
int VHTOperationElement::get_id() { return kVhtOperationId; }
std::string VHTOperationElement::to_string() {
  char line[kLineSize];
  std::snprintf(line, sizeof(line), "%s mChannelWidth=%u mSeg1CenterFreq=%u", get_name().c_str(),
                static_cast<unsigned>(mChannelWidth), static_cast<unsigned>(mSeg1CenterFreq));
  return line;
}

// ---- ERP: only its presence matters.

bool ERPElement::parse(std::vector<uint8_t> body) { return !body.empty(); }
std::string ERPElement::get_name() { return "ERPElement"; }
int ERPElement::get_id() { return kErpId; }

// ---- Supported and extended supported rates: both hold at most 8 rates.

bool SupportedRateElement::parse(std::vector<uint8_t> body) {
  if (body.empty() || body.size() > kMaxRates) {
    MDX_LOG(1, "Invalid length of rate");
    return false;
  }
  for (uint8_t byte : body) {
    const int32_t rate = getRateFromByte(byte);
    if (rate < 1) {
      MDX_LOG(1, "Invalid rate present");
      return false;  // the rates before it stay
    }
    mRates.push_back(rate);
  }
  return true;
}
std::string SupportedRateElement::get_name() { return "SupportedRateElement"; }
int SupportedRateElement::get_id() { return kSupportedRatesId; }

int32_t SupportedRateElement::getRateFromByte(int rateByte) {
  // The top bit marks a rate the BSS requires; the rate itself is in 500 kbit/s units.
  switch (rateByte & 0x7F) {
    case 2:
      return 1000000;
    case 4:
      return 2000000;
    case 11:
      return 5500000;
    case 12:
      return 6000000;
    case 18:
      return 9000000;
    case 22:
      return 11000000;
    case 24:
      return 12000000;
    case 36:
      return 18000000;
    case 44:
      return 22000000;
    case 48:
      return 24000000;
    case 66:
      return 33000000;
    case 72:
      return 36000000;
    case 96:
      return 48000000;
    case 108:
      return 54000000;
    default:
      return -1;
  }
}

std::string ExtendedSupportedRateElement::get_name() { return "ExtendedSupportedRateElement"; }
int ExtendedSupportedRateElement::get_id() { return kExtendedRatesId; }

// ---- Interworking: access network options, then an optional venue (2 bytes), then an
// optional HESSID (6 bytes).

bool InterworkingElement::parse(std::vector<uint8_t> body) {
  switch (body.size()) {
    case 1:
    case 3:
      MDX_LOG(1, "HESSID not present");
      return true;
    case 7:
      mHessid = formatHessid(body, 1);
      return true;
    case 9:
      mHessid = formatHessid(body, 3);
      return true;
    default:
      MDX_LOG(1, "Invalid Interworking element length");
      return false;
  }
}
std::string InterworkingElement::get_name() { return "InterworkingElement"; }
int InterworkingElement::get_id() { return kInterworkingId; }

// ---- Country: two code characters, an environment byte, then channel triplets.

bool CountryElement::parse(std::vector<uint8_t> body) {
  if (body.size() < 4) {
    MDX_LOG(1, "Country Code not present");
    return false;
  }
  MDX_LOG(1, "Valid country code value is present");
  const char code[3] = {static_cast<char>(body[0]), static_cast<char>(body[1]), '\0'};
  MDX_LOG(1, "WifiInformationElementParser: CountryCode %s", code);
  mCountryCode = code;
  return true;
}
std::string CountryElement::get_name() { return "CountryElement"; }
int CountryElement::get_id() { return kCountryId; }

// ---- The walk

uint8_t hex_to_dec(char c) {
  // '0' and every character that is not a hex digit read as 0.
  return kHexDigits.value[static_cast<unsigned char>(c)];
}

char* parse_next_tlv(char* text, uint8_t* id, std::vector<uint8_t>* body) {
  if (text == nullptr || id == nullptr || body == nullptr) return nullptr;
  // Each test runs only when the characters before it were not the terminator.
  if (text[0] == '\0' || text[1] == '\0' || text[2] == '\0' || text[3] == '\0') return nullptr;
  *id = hexByte(text);
  const size_t length = hexByte(text + 2);
  body->clear();
  if (length == 0) return nullptr;  // a zero-length element ends the walk
  body->resize(length);  // the walk reuses one vector: no allocation once it is large enough
  uint8_t* byte = body->data();
  const char* pair = text + 4;
  for (size_t i = 0; i < length; ++i, pair += 2) {
    if (pair[0] == '\0' || pair[1] == '\0') {
      body->resize(i);  // what was read before the text ended
      return nullptr;
    }
    byte[i] = hexByte(pair);
  }
  return text + 4 + 2 * length;
}

void parse(char* text, BssLoad& load) {
  uint8_t htWidth = 0;
  uint8_t vhtWidth = 0;
  uint8_t id = 0;
  std::vector<uint8_t> body;
  body.reserve(kMaxElementSize);  // one allocation for the whole walk
  for (char* next = parse_next_tlv(text, &id, &body); next != nullptr;
       next = parse_next_tlv(next, &id, &body)) {
    logElement(id, body);
    switch (id) {
      case kBssLoadId: {
        BSSLoadElement element;
        if (element.parse(body)) {
          load.channelUtilization = element.mChannelUtilization;
          MDX_LOG(1, "--- %s", element.to_string().c_str());
        }
        break;
      }
      case kHtOperationId: {
        HTOperationElement element;
        if (element.parse(body)) {
          htWidth = element.mChannelWidth;
          MDX_LOG(1, "--- %s", element.to_string().c_str());
        }
        break;
      }
      case kVhtOperationId: {
        VHTOperationElement element;
        if (element.parse(body)) {
          vhtWidth = element.mChannelWidth;
          load.lowestChannel = convert_lowest(element.mSeg1CenterFreq);
          MDX_LOG(1, "--- %s", element.to_string().c_str());
        }
        break;
      }
      default:
        break;
    }
  }
  // The field is 16 bits wide: 80 and 160 MHz arrive as 14464 and 28928.
  load.channelBandwidth = static_cast<uint16_t>(calc_freq(htWidth, vhtWidth));
}

void parse(char* text, std::map<int, InformationElement*>& map) {
  uint8_t id = 0;
  std::vector<uint8_t> body;
  body.reserve(kMaxElementSize);
  for (char* next = parse_next_tlv(text, &id, &body); next != nullptr;
       next = parse_next_tlv(next, &id, &body)) {
    logElement(id, body);
    InformationElement* element = newElementFor(id);
    if (element == nullptr) continue;
    // A rejected body still marks the element as present, with its fields left at zero.
    element->parse(body);
    if (!map.emplace(id, element).second) delete element;  // the first of an id wins
  }
}

uint32_t calc_freq(uint8_t htWidth, uint8_t vhtWidth) {
  if (htWidth == 0) return 20000;
  switch (vhtWidth) {
    case 0:
      return 40000;
    case 1:
      return 80000;
    case 2:
      return 160000;
    case 3:
      return 0;
    default:
      MDX_LOG(1, "ERR Bad Frequency Value\n");
      return 20000;
  }
}

uint8_t convert_lowest(uint8_t centreChannel) {
  return centreChannel > 6 ? static_cast<uint8_t>(centreChannel - 6) : 0;
}

}  // namespace WifiInformationElementParser
