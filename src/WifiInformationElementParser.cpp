#define MDX_LOG_MODULE_ID 10355
#include "WifiInformationElementParser.h"

#include <cstdarg>
#include <cstdio>
#include <cstring>

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

constexpr char kBssLoadName[] = "BSSLoadElement";
constexpr char kHtOperationName[] = "HTOperationElement";
constexpr char kVhtOperationName[] = "VHTOperationElement";

// One byte from two hex characters; the caller has checked that both are there.
uint8_t hexByte(const char* pair) {
  return static_cast<uint8_t>(kHexDigits.value[static_cast<unsigned char>(pair[0])] << 4 |
                              kHexDigits.value[static_cast<unsigned char>(pair[1])]);
}

// One element as the walk reads it: the body decoded in place, never copied.
struct Element {
  uint8_t id = 0;
  size_t size = 0;  // the bytes read into body
  uint8_t body[kMaxElementSize];
};

bool hasHeader(const char* text) {
  // Each test runs only when the characters before it were not the terminator.
  return text[0] != '\0' && text[1] != '\0' && text[2] != '\0' && text[3] != '\0';
}

// Decodes the element at `text`, which has a header. Returns where the next element
// begins, or null when this one is empty or the text ends inside its body (element.size
// then says how far it got).
const char* readElement(const char* text, Element& element) {
  element.id = hexByte(text);
  const size_t length = hexByte(text + 2);
  const char* pairs = text + 4;
  // Only as many bytes as the text holds: one length check, then a plain decode.
  element.size = strnlen(pairs, 2 * length) / 2;
  for (size_t i = 0; i < element.size; ++i) element.body[i] = hexByte(pairs + 2 * i);
  if (length == 0 || element.size < length) return nullptr;
  return pairs + 2 * length;
}

void logElement(const Element& element) {
  // The logger is looked up once for the element's lines, one a body byte.
  NexMsg* const logger = NexMsg::globalLogger;
  if (logger == nullptr) return;
  logger->print(1, MDX_LOG_MODULE_ID, __FILE__, __LINE__, "Parsed TLV: id=%u len=%d ",
                static_cast<unsigned>(element.id), static_cast<int>(element.size));
  for (size_t i = 0; i < element.size; ++i) {
    logger->print(1, MDX_LOG_MODULE_ID, __FILE__, __LINE__, "%u",
                  static_cast<unsigned>(element.body[i]));
  }
}

// Calls handle(element) for each element of the text, after logging it.
template <typename Handle>
void walk(const char* text, Handle handle) {
  Element element;
  while (text != nullptr && hasHeader(text)) {
    text = readElement(text, element);
    if (text == nullptr) break;  // an empty or cut element ends the walk
    logElement(element);
    handle(element);
  }
}

// A to_string() text, bounded like every formatted text of the plug-in.
__attribute__((format(printf, 1, 2))) std::string lineOf(const char* format, ...) {
  char line[kLineSize];
  va_list args;
  va_start(args, format);
  std::vsnprintf(line, sizeof(line), format, args);
  va_end(args);
  return line;
}

// Parses the element as class T. The first element of an id goes into the map; a later
// one is parsed all the same, for its log lines, and dropped. A rejected body still marks
// the element as present, with its fields left at zero.
template <typename T>
void keepFirst(const Element& element, std::map<int, InformationElement*>& map) {
  const auto found = map.lower_bound(element.id);
  if (found != map.end() && found->first == element.id) {
    T duplicate;
    duplicate.parseBody(element.body, element.size);
    return;
  }
  T* object = new T();
  object->parseBody(element.body, element.size);
  map.emplace_hint(found, element.id, object);
}

// Keeps the elements the derived facts need; nobody reads the other ids.
void keepForFacts(const Element& element, std::map<int, InformationElement*>& map) {
  switch (element.id) {
    case kSupportedRatesId:
      return keepFirst<SupportedRateElement>(element, map);
    case kCountryId:
      return keepFirst<CountryElement>(element, map);
    case kErpId:
      return keepFirst<ERPElement>(element, map);
    case kExtendedRatesId:
      return keepFirst<ExtendedSupportedRateElement>(element, map);
    case kHtOperationId:
      return keepFirst<HTOperationElement>(element, map);
    case kInterworkingId:
      return keepFirst<InterworkingElement>(element, map);
    case kVhtOperationId:
      return keepFirst<VHTOperationElement>(element, map);
    default:
      return;
  }
}

std::string formatHessid(const uint8_t* body, size_t first) {
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
  return parseBody(body.data(), body.size());
}
bool BSSLoadElement::parseBody(const uint8_t* body, size_t size) {
  if (size != kBssLoadSize) return false;
  mChannelUtilization = body[2];
  return true;
}
std::string BSSLoadElement::get_name() { return kBssLoadName; }
int BSSLoadElement::get_id() { return kBssLoadId; }
// The *_LINE macros give an element's to_string() line as a format and its arguments, so
// that the walk can hand the line to the logger unformatted.
// Integer division on purpose: the percentage reads 0 below 255 and 1 at 255.
#define BSS_LOAD_LINE(element)                              \
  "%s mChannelUtilization=%u (%u%%)", kBssLoadName,         \
      static_cast<unsigned>((element).mChannelUtilization), \
      static_cast<unsigned>((element).mChannelUtilization / 255)
std::string BSSLoadElement::to_string() { return lineOf(BSS_LOAD_LINE(*this)); }

// ---- HT operation: the width is byte 2 taken whole; users only test it for zero.

bool HTOperationElement::parse(std::vector<uint8_t> body) {
  return parseBody(body.data(), body.size());
}
bool HTOperationElement::parseBody(const uint8_t* body, size_t size) {
  if (size != kHtOperationSize) return false;
  mPrimaryChannel = body[0];
  mChannelWidth = body[2];
  return true;
}
std::string HTOperationElement::get_name() { return kHtOperationName; }
int HTOperationElement::get_id() { return kHtOperationId; }
#define HT_OPERATION_LINE(element)                            \
  "%s mPrimaryChannel=%u mChannelWidth=%u", kHtOperationName, \
      static_cast<unsigned>((element).mPrimaryChannel),       \
      static_cast<unsigned>((element).mChannelWidth)
std::string HTOperationElement::to_string() { return lineOf(HT_OPERATION_LINE(*this)); }

// ---- VHT operation: width, centre segment 0, centre segment 1, basic MCS set (2 bytes)

bool VHTOperationElement::parse(std::vector<uint8_t> body) {
  return parseBody(body.data(), body.size());
}
bool VHTOperationElement::parseBody(const uint8_t* body, size_t size) {
  if (size != kVhtOperationSize) return false;
  mChannelWidth = body[0];
  mSeg1CenterFreq = body[2];
  return true;
}
std::string VHTOperationElement::get_name() { return kVhtOperationName; }
int VHTOperationElement::get_id() { return kVhtOperationId; }
#define VHT_OPERATION_LINE(element)                            \
  "%s mChannelWidth=%u mSeg1CenterFreq=%u", kVhtOperationName, \
      static_cast<unsigned>((element).mChannelWidth),          \
      static_cast<unsigned>((element).mSeg1CenterFreq)
std::string VHTOperationElement::to_string() { return lineOf(VHT_OPERATION_LINE(*this)); }

// ---- ERP: only its presence matters.

bool ERPElement::parse(std::vector<uint8_t> body) { return parseBody(body.data(), body.size()); }
bool ERPElement::parseBody(const uint8_t* /*body*/, size_t size) { return size != 0; }
std::string ERPElement::get_name() { return "ERPElement"; }
int ERPElement::get_id() { return kErpId; }

// ---- Supported and extended supported rates: both hold at most 8 rates.

bool SupportedRateElement::parse(std::vector<uint8_t> body) {
  return parseBody(body.data(), body.size());
}
bool SupportedRateElement::parseBody(const uint8_t* body, size_t size) {
  if (size == 0 || size > kMaxRates) {
    MDX_LOG(1, "Invalid length of rate");
    return false;
  }
  for (size_t i = 0; i < size; ++i) {
    const int32_t rate = getRateFromByte(body[i]);
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
  return parseBody(body.data(), body.size());
}
bool InterworkingElement::parseBody(const uint8_t* body, size_t size) {
  switch (size) {
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
  return parseBody(body.data(), body.size());
}
bool CountryElement::parseBody(const uint8_t* body, size_t size) {
  if (size < 4) {
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
  if (text == nullptr || id == nullptr || body == nullptr || !hasHeader(text)) return nullptr;
  Element element;
  const char* next = readElement(text, element);
  *id = element.id;
  body->assign(element.body, element.body + element.size);  // what was read, also when cut
  return next == nullptr ? nullptr : text + (next - text);  // next, as the caller's char*
}

void parse(char* text, BssLoad& load) {
  uint8_t htWidth = 0;
  uint8_t vhtWidth = 0;
  // The log lines are the elements' to_string() texts, handed to the logger unformatted.
  walk(text, [&](const Element& element) {
    switch (element.id) {
      case kBssLoadId: {
        BSSLoadElement parsed;
        if (parsed.parseBody(element.body, element.size)) {
          load.channelUtilization = parsed.mChannelUtilization;
          MDX_LOG(1, "--- " BSS_LOAD_LINE(parsed));
        }
        break;
      }
      case kHtOperationId: {
        HTOperationElement parsed;
        if (parsed.parseBody(element.body, element.size)) {
          htWidth = parsed.mChannelWidth;
          MDX_LOG(1, "--- " HT_OPERATION_LINE(parsed));
        }
        break;
      }
      case kVhtOperationId: {
        VHTOperationElement parsed;
        if (parsed.parseBody(element.body, element.size)) {
          vhtWidth = parsed.mChannelWidth;
          load.lowestChannel = convert_lowest(parsed.mSeg1CenterFreq);
          MDX_LOG(1, "--- " VHT_OPERATION_LINE(parsed));
        }
        break;
      }
      default:
        break;
    }
  });
  // The field is 16 bits wide: 80 and 160 MHz arrive as 14464 and 28928.
  load.channelBandwidth = static_cast<uint16_t>(calc_freq(htWidth, vhtWidth));
}

void parse(char* text, std::map<int, InformationElement*>& map) {
  walk(text, [&map](const Element& element) { keepForFacts(element, map); });
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
