#define MDX_LOG_MODULE_ID 10355
#include "WifiInformationElementParser.h"

#include <algorithm>
#include <cstdarg>
#include <cstdio>
#include <cstring>
#include <type_traits>

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

// The same, scaled for a byte's two digits: a byte is high[first] | low[second]. Words,
// so that the two combine without narrowing, at no cost where the byte indexes a table.
struct ByteDigits {
  uint32_t high[256] = {};
  uint32_t low[256] = {};
  constexpr ByteDigits() {
    for (int c = 0; c < 256; ++c) {
      high[c] = static_cast<uint32_t>(kHexDigits.value[c]) << 4;
      low[c] = kHexDigits.value[c];
    }
  }
};
constexpr ByteDigits kByteDigits;

// "0" to "255": the line of a body byte is its decimal text.
struct ByteTexts {
  char text[256][4] = {};
  constexpr ByteTexts() {
    for (int value = 0; value < 256; ++value) {
      int at = 0;
      if (value >= 100) text[value][at++] = static_cast<char>('0' + value / 100);
      if (value >= 10) text[value][at++] = static_cast<char>('0' + value / 10 % 10);
      text[value][at] = static_cast<char>('0' + value % 10);
    }
  }
};
constexpr ByteTexts kByteTexts;

constexpr char kBssLoadName[] = "BSSLoadElement";
constexpr char kHtOperationName[] = "HTOperationElement";
constexpr char kVhtOperationName[] = "VHTOperationElement";

// One byte from two hex characters; the caller has checked that both are there.
inline uint32_t byteAt(const char* pair) {
  return kByteDigits.high[static_cast<unsigned char>(pair[0])] |
         kByteDigits.low[static_cast<unsigned char>(pair[1])];
}
uint8_t hexByte(const char* pair) { return static_cast<uint8_t>(byteAt(pair)); }

// One element as it stands in the text: its id, and its body as `size` hex pairs, read
// where they are. Only the bytes somebody uses are decoded.
struct Element {
  uint8_t id = 0;
  size_t size = 0;
  const char* pairs = nullptr;
  ElementBody body() const { return ElementBody::ofHexPairs(pairs, size); }
};

// The element at `text`, whose end is `end`; false when the text holds no whole element
// there: no header, an empty body (which ends the walk on purpose), or a body the text
// ends inside.
// Inlined into each walk, as logElement is: both run once an element.
__attribute__((always_inline)) inline bool readElement(const char* text, const char* end,
                                                       Element& element) {
  if (end - text < 4) return false;
  element.id = hexByte(text);
  element.size = hexByte(text + 2);
  element.pairs = text + 4;
  return element.size != 0 && static_cast<size_t>(end - element.pairs) >= 2 * element.size;
}

__attribute__((always_inline)) inline void logElement(NexMsg& logger, const Element& element) {
  logger.print(1, MDX_LOG_MODULE_ID, __FILE__, __LINE__, "Parsed TLV: id=%u len=%d ",
               static_cast<unsigned>(element.id), static_cast<int>(element.size));
  // A byte's line, "%u" of the byte, is handed over already formatted, as a format without
  // directives: the call then passes no argument on the stack, which would cost a quarter
  // of it, and the walk makes one such call a byte. Each byte is decoded as it is logged.
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wformat-security"
#pragma GCC diagnostic ignored "-Wformat-nonliteral"
  // Two bytes a turn: the loop's own test is then paid once for two lines. All three calls
  // are one log statement, so they give the logger one source line.
  const int line = __LINE__;
  const char* pair = element.pairs;
  const char* const end = pair + 2 * element.size;
  for (; end - pair >= 4; pair += 4) {
    logger.print(1, MDX_LOG_MODULE_ID, __FILE__, line, kByteTexts.text[byteAt(pair)]);
    logger.print(1, MDX_LOG_MODULE_ID, __FILE__, line, kByteTexts.text[byteAt(pair + 2)]);
  }
  if (pair != end)
    logger.print(1, MDX_LOG_MODULE_ID, __FILE__, line, kByteTexts.text[byteAt(pair)]);
#pragma GCC diagnostic pop
}

// Calls handle(element) for each element of the text [text, end), after logging it, up
// to the first empty or cut element.
template <typename Handle>
void walk(const char* text, const char* end, Handle handle) {
  // The logger is looked up once for the walk's lines, one a body byte.
  NexMsg* const logger = NexMsg::globalLogger;
  Element element;
  while (readElement(text, end, element)) {
    if (logger != nullptr) logElement(*logger, element);
    handle(element);
    text = element.pairs + 2 * element.size;
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
    // Parsed all the same for its log lines; a class whose fields take heap only checks.
    if constexpr (std::is_base_of_v<SupportedRateElement, T> ||
                  std::is_same_v<T, InterworkingElement>) {
      T::checkBody(element.body());
    } else {
      T duplicate;
      duplicate.parseBody(element.body());
    }
    return;
  }
  T* object = new T();
  object->parseBody(element.body());
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

void formatHessid(const ElementBody& body, size_t first, char (&text)[18]) {
  std::snprintf(text, sizeof(text), "%02x:%02x:%02x:%02x:%02x:%02x",
                static_cast<unsigned>(body[first]), static_cast<unsigned>(body[first + 1]),
                static_cast<unsigned>(body[first + 2]), static_cast<unsigned>(body[first + 3]),
                static_cast<unsigned>(body[first + 4]), static_cast<unsigned>(body[first + 5]));
}

}  // namespace

// ---- Bodies

ElementBody ElementBody::ofHexPairs(const char* pairs, size_t size) {
  ElementBody body;
  body.pairs_ = pairs;
  body.size_ = size;
  return body;
}

uint8_t ElementBody::operator[](size_t i) const {
  return bytes_ != nullptr ? bytes_[i] : hexByte(pairs_ + 2 * i);
}

// ---- Base

std::string InformationElement::to_string() { return "ERR"; }

// ---- BSS load: station count (2 bytes), channel utilisation, admission capacity (2 bytes)

bool BSSLoadElement::parse(std::vector<uint8_t> body) {
  return parseBody(ElementBody(body.data(), body.size()));
}
bool BSSLoadElement::parseBody(const ElementBody& body) {
  if (body.size() != kBssLoadSize) return false;
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
  return parseBody(ElementBody(body.data(), body.size()));
}
bool HTOperationElement::parseBody(const ElementBody& body) {
  if (body.size() != kHtOperationSize) return false;
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
  return parseBody(ElementBody(body.data(), body.size()));
}
bool VHTOperationElement::parseBody(const ElementBody& body) {
  if (body.size() != kVhtOperationSize) return false;
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

bool ERPElement::parse(std::vector<uint8_t> body) {
  return parseBody(ElementBody(body.data(), body.size()));
}
bool ERPElement::parseBody(const ElementBody& body) { return !body.empty(); }
std::string ERPElement::get_name() { return "ERPElement"; }
int ERPElement::get_id() { return kErpId; }

// ---- Supported and extended supported rates: both hold at most 8 rates.

bool SupportedRateElement::parse(std::vector<uint8_t> body) {
  return parseBody(ElementBody(body.data(), body.size()));
}
bool SupportedRateElement::parseBody(const ElementBody& body) {
  return readRates(body, &mRates, nullptr);
}
bool SupportedRateElement::checkBody(const ElementBody& body, int32_t* lastRate) {
  return readRates(body, nullptr, lastRate);
}
bool SupportedRateElement::readRates(const ElementBody& body, std::vector<int32_t>* rates,
                                     int32_t* lastRate) {
  if (body.empty() || body.size() > kMaxRates) {
    MDX_LOG(1, "Invalid length of rate");
    return false;
  }
  // The rates before the first unknown byte stay: one block holds them.
  size_t known = 0;
  while (known < body.size() && getRateFromByte(body[known]) >= 1) ++known;
  if (rates != nullptr && known != 0) {
    rates->reserve(rates->size() + known);
    for (size_t i = 0; i < known; ++i) rates->push_back(getRateFromByte(body[i]));
  }
  if (lastRate != nullptr) *lastRate = known == 0 ? 0 : getRateFromByte(body[known - 1]);
  if (known < body.size()) {
    MDX_LOG(1, "Invalid rate present");
    return false;
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
  return parseBody(ElementBody(body.data(), body.size()));
}
bool InterworkingElement::parseBody(const ElementBody& body) {
  char hessid[18] = "";
  const bool valid = readHessid(body, &hessid);
  if (hessid[0] != '\0') mHessid = hessid;
  return valid;
}
bool InterworkingElement::checkBody(const ElementBody& body, char (*hessid)[18]) {
  return readHessid(body, hessid);
}
bool InterworkingElement::readHessid(const ElementBody& body, char (*hessid)[18]) {
  switch (body.size()) {
    case 1:
    case 3:
      MDX_LOG(1, "HESSID not present");
      return true;
    case 7:
      if (hessid != nullptr) formatHessid(body, 1, *hessid);
      return true;
    case 9:
      if (hessid != nullptr) formatHessid(body, 3, *hessid);
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
  return parseBody(ElementBody(body.data(), body.size()));
}
bool CountryElement::parseBody(const ElementBody& body) {
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
  // Only as much text as the element can use is looked at: header and body.
  const char* const end = text + strnlen(text, 4 + 2 * kMaxElementSize);
  if (end - text < 4) return nullptr;
  Element element;
  const bool whole = readElement(text, end, element);
  *id = element.id;
  // What was read, also of a cut element.
  const size_t read = std::min(element.size, static_cast<size_t>(end - element.pairs) / 2);
  body->clear();
  for (size_t i = 0; i < read; ++i) body->push_back(hexByte(element.pairs + 2 * i));
  return whole ? text + 4 + 2 * element.size : nullptr;
}

void parse(char* text, BssLoad& load) {
  parse(text, text == nullptr ? 0 : std::strlen(text), load);
}

void parse(char* text, std::map<int, InformationElement*>& map) {
  parse(text, text == nullptr ? 0 : std::strlen(text), map);
}

void parse(const char* text, size_t length, BssLoad& load) {
  uint8_t htWidth = 0;
  uint8_t vhtWidth = 0;
  // The log lines are the elements' to_string() texts, handed to the logger unformatted.
  walk(text, text + length, [&](const Element& element) {
    switch (element.id) {
      case kBssLoadId: {
        BSSLoadElement parsed;
        if (parsed.parseBody(element.body())) {
          load.channelUtilization = parsed.mChannelUtilization;
          MDX_LOG(1, "--- " BSS_LOAD_LINE(parsed));
        }
        break;
      }
      case kHtOperationId: {
        HTOperationElement parsed;
        if (parsed.parseBody(element.body())) {
          htWidth = parsed.mChannelWidth;
          MDX_LOG(1, "--- " HT_OPERATION_LINE(parsed));
        }
        break;
      }
      case kVhtOperationId: {
        VHTOperationElement parsed;
        if (parsed.parseBody(element.body())) {
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

void parse(const char* text, size_t length, std::map<int, InformationElement*>& map) {
  walk(text, text + length, [&map](const Element& element) { keepForFacts(element, map); });
}

void parse(const char* text, size_t length, ElementFacts& facts) {
  // As keepForFacts, with the same log lines: every element of a kept id is parsed, the
  // first of its id is read. Whether it is the first: `seen` says, and is set.
  const auto first = [](bool& seen) { return !seen && (seen = true); };
  walk(text, text + length, [&](const Element& element) {
    const ElementBody body = element.body();
    switch (element.id) {
      case kSupportedRatesId: {
        const bool isFirst = first(facts.supportedRates);
        SupportedRateElement::checkBody(body, isFirst ? &facts.supportedLastRate : nullptr);
        break;
      }
      case kExtendedRatesId: {
        const bool isFirst = first(facts.extendedRates);
        SupportedRateElement::checkBody(body, isFirst ? &facts.extendedLastRate : nullptr);
        break;
      }
      case kInterworkingId: {
        const bool isFirst = first(facts.interworking);
        InterworkingElement::checkBody(body, isFirst ? &facts.hessidText : nullptr);
        if (isFirst) facts.hessid = facts.hessidText;
        break;
      }
      case kCountryId: {
        CountryElement parsed;  // its two letters fit in the text itself
        parsed.parseBody(body);
        if (first(facts.country)) {
          std::memcpy(facts.countryText, parsed.mCountryCode.c_str(),
                      std::min(sizeof(facts.countryText), parsed.mCountryCode.size() + 1));
          facts.countryCode = facts.countryText;
        }
        break;
      }
      // Their presence is what counts; their bodies are read without a log line.
      case kErpId:
        facts.erp = true;
        break;
      case kHtOperationId:
        facts.htOperation = true;
        break;
      case kVhtOperationId:
        facts.vhtOperation = true;
        break;
      default:
        break;
    }
  });
}

void factsOf(const std::map<int, InformationElement*>& map, ElementFacts& facts) {
  const auto lastRate = [&map](int id, bool& present) {
    const auto found = map.find(id);
    present = found != map.end();
    const auto* rates = present ? dynamic_cast<SupportedRateElement*>(found->second) : nullptr;
    return (rates == nullptr || rates->mRates.empty()) ? 0 : rates->mRates.back();
  };
  facts.supportedLastRate = lastRate(kSupportedRatesId, facts.supportedRates);
  facts.extendedLastRate = lastRate(kExtendedRatesId, facts.extendedRates);
  facts.erp = map.count(kErpId) != 0;
  facts.htOperation = map.count(kHtOperationId) != 0;
  facts.vhtOperation = map.count(kVhtOperationId) != 0;
  const auto interworking = map.find(kInterworkingId);
  facts.interworking = interworking != map.end();
  if (facts.interworking) {
    if (const auto* element = dynamic_cast<InterworkingElement*>(interworking->second)) {
      facts.hessid = element->mHessid;
    }
  }
  const auto country = map.find(kCountryId);
  facts.country = country != map.end();
  if (facts.country) {
    if (const auto* element = dynamic_cast<CountryElement*>(country->second)) {
      facts.countryCode = element->mCountryCode;
    }
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
