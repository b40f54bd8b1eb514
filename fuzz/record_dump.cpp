// Modem records as `nexhost decode` reads them from standard input: hex lines, records
// wrapped over lines, xxd and hexdump -C dumps, TYPE: prefixes. Every record handed on
// has its type's size and decodes; anything else is refused with one line naming where.
#include <cstdio>
#include <cstring>
#include <string>

#include "FuzzSupport.h"
#include "modem/RecordInput.h"
#include "text/ByteText.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  std::string text = textOf(data, size);
  std::FILE* in = fmemopen(text.empty() ? nullptr : text.data(), text.size(), "r");
  if (in == nullptr) return 0;
  nexhost::RecordInputLimits limits;
  limits.lineBytes = 16 * 1024;
  limits.records = 64;
  std::size_t records = 0;
  const std::string error = nexhost::readRecordStream(
      in, "standard input", nullptr, limits,
      [&](const nexhost::RecordBytes& record) {
        ++records;
        FUZZ_CHECK(record.kind != nullptr && record.bytes.size() == record.kind->size);
        const nexhost::Json fields = record.kind->decode(record.bytes.data(), record.bytes.size());
        FUZZ_CHECK(fields.is_object());
        FUZZ_CHECK(nexhost::hexText(record.bytes.data(), record.bytes.size()).size() ==
                   2 * record.bytes.size());
      },
      [] { return true; });
  std::fclose(in);
  FUZZ_CHECK(records <= limits.records);
  FUZZ_CHECK(std::strchr(error.c_str(), '\n') == nullptr && error.size() < 4096);
  return 0;
}
