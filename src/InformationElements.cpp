#define MDX_LOG_MODULE_ID 10355
// The element classes: how each reads its body, and its name, id and log line.
#include <cstdarg>
#include <cstdio>

#include "ElementCodes.h"
#include "Log.h"
#include "WifiInformationElementParser.h"

namespace WifiInformationElementParser {

namespace {

// The one-line log texts are bounded like every formatted text of the plug-in.
constexpr size_t kLineSize = 1024;

// A to_string() text, bounded like every formatted text of the plug-in.
__attribute__((format(printf, 1, 2))) std::string lineOf(const char* format, ...) {
  char line[kLineSize];
  va_list args;
  va_start(args, format);
  std::vsnprintf(line, sizeof(line), format, args);
  va_end(args);
  return line;
}

void formatHessid(const ElementBody& body, size_t first, char (&text)[18]) {
  std::snprintf(text, sizeof(text), "%02x:%02x:%02x:%02x:%02x:%02x",
                static_cast<unsigned>(body[first]), static_cast<unsigned>(body[first + 1]),
                static_cast<unsigned>(body[first + 2]), static_cast<unsigned>(body[first + 3]),
                static_cast<unsigned>(body[first + 4]), static_cast<unsigned>(body[first + 5]));
}

}  // namespace

// ---- Bodies

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
}  // namespace WifiInformationElementParser
