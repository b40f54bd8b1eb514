#define MDX_LOG_MODULE_ID 10355
// The walk of element text: each element is logged, byte by byte, and read for the BSS
// load, for the map of elements, or for the facts derived from them.
#include "WifiInformationElementParser.h"

#include <algorithm>
#include <cstring>
#include <type_traits>

#include "ElementCodes.h"
#include "Log.h"

namespace WifiInformationElementParser {

namespace {

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

}  // namespace

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
