// Reading a record back from the text a modem log or nexhost prints: its kind from the
// TYPE: prefix, the default kind or its length, and its bytes from the hex.
#include <gtest/gtest.h>

#include <string>

#include "modem/Records.h"

namespace {

using nexhost::readRecordText;
using nexhost::recordKindNamed;

TEST(RecordsTest, ARecordsKindComesFromItsPrefixThenTheDefaultThenItsLength) {
  const auto* stop = recordKindNamed("stop");  // 4 bytes, the only kind of that size
  const auto* status = recordKindNamed("wqe_profile_quality_status");
  ASSERT_NE(stop, nullptr);
  ASSERT_NE(status, nullptr);
  const std::string statusHex(2 * status->size, '0');
  const struct {
    std::string text;
    const nexhost::RecordKind* defaultKind;
    const char* kind;  // null: refused
    const char* error;
  } cases[] = {
      {"07000000", nullptr, "stop", ""},
      {"  stop :07 00 00 00", nullptr, "stop", ""},  // blanks around the type and between pairs
      {"stop:07000000", status, "stop", ""},         // the prefix wins over the default
      {statusHex, status, "wqe_profile_quality_status", ""},
      {":07000000", status, "stop", ""},  // an empty prefix: the kind of its length
      {"07000000", status, nullptr, "4 bytes, but a wqe_profile_quality_status record is"},
      {"Stop:07000000", nullptr, nullptr, "unknown record type \"Stop\" (known: wifi_meas_report,"},
      {"", nullptr, nullptr, "0 bytes is the size of no record"},
  };
  for (const auto& c : cases) {
    std::string error;
    const auto record = readRecordText(c.text, c.defaultKind, &error);
    if (c.kind == nullptr) {
      EXPECT_FALSE(record) << c.text;
      EXPECT_EQ(error.rfind(c.error, 0), 0u) << c.text << ": " << error;
      continue;
    }
    ASSERT_TRUE(record) << c.text << ": " << error;
    EXPECT_STREQ(record->kind->name, c.kind) << c.text;
    EXPECT_EQ(record->bytes.size(), record->kind->size) << c.text;
  }
}

// The fields a record decodes to, through its row of the table; a record cut short reads
// as zero-filled, and a name of no kind says so.
TEST(RecordsTest, DecodeGoesThroughTheKindsRow) {
  const uint8_t stop[] = {7, 0, 0, 0};
  EXPECT_EQ(nexhost::decodeRecord("stop", stop, sizeof stop), nexhost::Json({{"wifi_meas_id", 7}}));
  EXPECT_EQ(nexhost::decodeRecord("stop", stop, 1), nexhost::Json({{"wifi_meas_id", 7}}));
  EXPECT_EQ(nexhost::decodeRecord("bogus", stop, sizeof stop),
            nexhost::Json({{"unknown_type", "bogus"}, {"size", 4}}));
}

}  // namespace
