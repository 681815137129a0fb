// Values between text and their packed form, through the functions that adapters call. Expected bytes are those of a
// little-endian host.

#include <gtest/gtest.h>

#include <bit>
#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <limits>
#include <memory>
#include <string>
#include <vector>

#include "kyv/data_value.h"
#include "kyv/flat.h"
#include "tests/support/bytes.h"
#include "tests/support/type_settings.h"

namespace {

using enum DataTypes::TypeEnum;
using DataTypes::convertBinaryToHexString;
using DataTypes::convertDoubleToString;
using DataTypes::createFixedDecimal;
using DataTypes::DataValue;
using DataTypes::setDecimalSize;
using DataTypes::unpackValue;
using kyv_test::bytesOf;
using kyv_test::exactly;
using kyv_test::fromHex;
using kyv_test::textOf;
using kyv_test::toHex;
using kyv_test::TypeSettingsGuard;

constexpr std::int64_t kMin = std::numeric_limits<std::int64_t>::min();
constexpr std::int64_t kMax = std::numeric_limits<std::int64_t>::max();
constexpr unsigned int kFailed = 0xFFFFFFFF;
constexpr unsigned char kUntouched = 0xEE;
const unsigned int kDecimal10_2 = createFixedDecimal(10, 2);

struct Formats {
  const char *date = nullptr, *timestamp = nullptr, *bigdatetime = nullptr, *time = nullptr;
};
constexpr Formats kSeconds{"%s", "%s", "%s", "%s"};
constexpr Formats kRowFormats{"%Y-%m-%d %H:%M:%S", "%Y-%m-%d %H:%M:%S", "%Y-%m-%d %H:%M:%S", "%H:%M:%S"};

std::string reversedBytes(std::string bytes) { return {bytes.rbegin(), bytes.rend()}; }

// --- Text to packed bytes -------------------------------------------------------------------------------------------

// The packed bytes, or the message. Checks that no other byte was written, but for the length prefix of a binary value.
std::string packWith(unsigned int type, const char* text, bool swap, std::size_t capacity, const Formats& formats) {
  std::vector<unsigned char> out(capacity, kUntouched);
  const char* error = nullptr;
  const unsigned int bytes =
      DataTypes::convertFromStringAndPack(type, swap, text, out.data(), capacity, error, formats.date,
                                          formats.timestamp, formats.bigdatetime, formats.time);
  const std::size_t written = bytes != kFailed ? bytes : (type == kBinary ? std::min<std::size_t>(4, capacity) : 0);
  EXPECT_LE(written, capacity) << text;
  const std::string rest = textOf(out).substr(written);
  EXPECT_EQ(rest, std::string(rest.size(), static_cast<char>(kUntouched))) << text;
  return bytes == kFailed ? error : textOf(out).substr(0, bytes);
}

// What both packing functions give: a number in decimal, other values in hexadecimal, or the message.
std::string packed(unsigned int type, const char* text, const Formats& formats = {}) {
  const std::string bytes = packWith(type, text, false, 64, formats);
  std::vector<unsigned char> out(64);
  const char* error = "from an earlier call";
  const unsigned int count = DataTypes::packAndAppendValue(out.data(), out.size(), text, type, formats.date,
                                                           formats.timestamp, formats.bigdatetime, formats.time, error);
  EXPECT_EQ(error != nullptr ? error : textOf(out).substr(0, count), bytes) << text;
  EXPECT_EQ(count == 0, error != nullptr) << text;
  if (error != nullptr) return error;
  if (type == kString || type == kBinary || count > 8) return toHex(bytes);
  if (type == kFloat) return std::to_string(std::bit_cast<double>(*reinterpret_cast<const std::uint64_t*>(out.data())));
  std::int64_t value = static_cast<signed char>(bytes.back()) < 0 ? -1 : 0;
  std::memcpy(&value, bytes.data(), bytes.size());
  return std::to_string(value);
}

struct TextRow {
  unsigned int type;
  const char *text, *expected;
};

// What the text of each type may be is known elsewhere; here each type has its own text, messages and size.
TEST(PackValue, ReadsEachTypeOrSaysWhyNot) {
  const TextRow rows[] = {
      {kInt16, "-32768", "-32768"},
      {kInt16, "32768", "16-bit integer constant out of range"},
      {kInt16, " 12", "integer constant does not begin with a legal character"},
      {kInteger, "-2147483648", "-2147483648"},
      {kInteger, "2147483648", "integer constant out of range"},
      {kLong, "-9223372036854775808", "-9223372036854775808"},
      {kLong, "9223372036854775808", "long constant out of range"},
      {kInterval, "-5", "-5"},
      {kInterval, "-", "interval constant does not begin with a legal character"},
      {kFloat, "-.5e1", "-5.000000"},
      {kFloat, "1e400", "float constant out of range"},
      {kFloat, "1e-310", "0.000000"},  // a denormal is accepted
      {kMoney, "-0.5", "-5000"},
      {kMoney2, " 12", "1200"},
      {kMoney2, "1.a", "money constant fractional part does not begin with a digit"},
      {kMoney15, "-9223.372036854775808", "-9223372036854775808"},
      {kBoolean, " \tYes\r\n", "1"},
      {kBoolean, "yess", "not a legal boolean value"},
      {kString, "a b", "61206200"},
      {kString, "", "00"},
      {kBinary, "aB0f", "00000002ab0f"},
      {kBinary, "", "00000000"},
      {kBinary, "ab cd", "00000002abcd"},
      {kDecimal10_2, "1.5", "00000000000000009600000000000000020a000000000000"},
      {kDecimal10_2, "123456789", "input exceeds specified precision"},
      {kUndefined, "1", "conversion to unknown type"},
      {kUnnamed, "1", "conversion to unknown type"},
      {31, "1", "conversion to unknown type"},
      {kDate, "2009-02-13T23:31:30", "1234567890"},
      {kDate, "2009-02-13", "date constant does not match format"},
      {kTime, "23:31:30", "84690"},
      {kTime, "23:31", "time constant does not match format"},
      {kTimestamp, "2000-01-01T00:00:00.12", "946684800120"},
      {kTimestamp, "2000-01-01.5", "timestamp constant does not match format"},
      {kBigDateTime, "1970-01-01T00:00:01.5", "1500000"},
      {kBigDateTime, "", "bigdatetime constant does not match format"},
  };
  for (const TextRow& row : rows) EXPECT_EQ(packed(row.type, row.text), row.expected) << row.type << " " << row.text;
}

TEST(PackValue, AnIntervalBeyondSixtyFourBitsReportsTheIntegerMessage) {
  EXPECT_EQ(packed(kInterval, "9223372036854775808"), "integer constant out of range");
}

TEST(PackValue, BinaryTextThatIsNoneOrHasMuchWhiteSpaceFailsAndWritesNoDigit) {
  const std::string digits = "0123456789abcdefABCDEF0123456789";
  for (const std::string& text :
       {std::string("ab  cd"), std::string("abz"), digits + "zz", digits + "a", digits + "  "})
    EXPECT_EQ(packed(kBinary, text.c_str()),
              "DataType::convertFromStringAndPack() could not convert binary data from hex.");
  EXPECT_EQ(packWith(kBinary, "zz", false, 5, {}),
            "DataType::convertFromStringAndPack() could not convert binary data from hex.");
}

TEST(PackValue, TheSecondsFormatReadsACount) {
  const TextRow rows[] = {
      {kDate, "-5 o'clock", "-5"},        {kTime, "", "time constant does not match standard format"},
      {kTimestamp, "-5.5", "-4500"},      {kTimestamp, "9223372036854776", "timestamp overflow"},
      {kBigDateTime, "-12", "-12000000"}, {kBigDateTime, "9223372036855", "bigdatetime overflow"},
  };
  for (const TextRow& row : rows) EXPECT_EQ(packed(row.type, row.text, kSeconds), row.expected) << row.text;
}

TEST(PackValue, AMissingFormatIsReplacedByTheNextBroader) {
  const TypeSettingsGuard guard;
  DataTypes::setDateFormat("%Y");
  const struct {
    unsigned int type;
    Formats formats;
    const char *text, *expected;
  } rows[] = {
      {kDate, {}, "1971", "31536000"},
      {kTimestamp, {}, "1971", "31536000000"},
      {kBigDateTime, {}, "1971", "31536000000000"},
      {kTime, {"%s", "%s", "%s", nullptr}, "00:00:07", "7"},
      {kTimestamp, {"%s"}, "7", "7000"},
      {kBigDateTime, {"%s"}, "7", "7000000"},
      {kBigDateTime, {"%Y", "%s"}, "7", "7000000"},
      {kBigDateTime, {"%Y", "%Y", "%s"}, "7", "7000000"},
      {kTimestamp, {"%Y", nullptr, "%s"}, "1971", "31536000000"},
  };
  for (const auto& row : rows) EXPECT_EQ(packed(row.type, row.text, row.formats), row.expected) << row.type;
}

struct PackedRow {
  unsigned int type;
  const char *text, *host, *opposite;
};

const PackedRow kPackedRows[] = {
    {kInt16, "-2", "feff", "fffe"},
    {kInteger, "1", "01000000", "00000001"},
    {kLong, "258", "0201000000000000", "0000000000000102"},
    {kFloat, "1.5", "000000000000f83f", "3ff8000000000000"},
    {kMoney2, "1.5", "9600000000000000", "0000000000000096"},
    {kInterval, "-1", "ffffffffffffffff", "ffffffffffffffff"},
    {kBoolean, "on", "01", "01"},
    {kDate, "1970-01-01T00:00:01", "0100000000000000", "0000000000000001"},
    {kTimestamp, "1970-01-01T00:00:01", "e803000000000000", "00000000000003e8"},
    {kBigDateTime, "1970-01-01T00:00:01", "40420f0000000000", "00000000000f4240"},
    {kTime, "00:00:01", "0100000000000000", "0000000000000001"},
    {kString, "ab", "616200", "616200"},
    {kBinary, "abcd", "00000002abcd", "00000002abcd"},
    {kDecimal10_2, "-1.5", "ffffffffffffffff 6affffffffffffff 020a 000000000000",
     "ffffffffffffffff ffffffffffffff6a 0a02 000000000000"},
};

TEST(PackValue, WritesBothByteOrdersIntoExactlyEnoughRoom) {
  for (const PackedRow& row : kPackedRows) {
    const std::string host = fromHex(row.host);
    EXPECT_EQ(toHex(packWith(row.type, row.text, false, host.size(), {})), toHex(host)) << row.type;
    EXPECT_EQ(toHex(packWith(row.type, row.text, true, host.size(), {})), toHex(fromHex(row.opposite))) << row.type;
    EXPECT_EQ(packWith(row.type, row.text, false, host.size() - 1, {}), "output buffer overflow") << row.type;
    if (row.type == kString || row.type == kBinary) continue;
    EXPECT_NE(packWith(row.type, "?", false, 0, {}), "output buffer overflow") << "a bad text is told first";
  }
  TypeSettingsGuard guard;
  DataTypes::setDateSize(4);
  EXPECT_EQ(packWith(kDate, "1970-01-01T00:00:01", false, 7, {}), "output buffer overflow") << "a date takes 8 bytes";
}

// --- Holders --------------------------------------------------------------------------------------------------------

bool hold(unsigned int type, const char* text, DataValue& value, const char*& error) {
  return DataTypes::convertFromString(type, text, value, error, nullptr, nullptr, nullptr, nullptr);
}

TEST(DataValue, TakesPackedValuesAndKeepsThemWhenATextIsBad) {
  DataValue value;
  EXPECT_TRUE(value.null);
  const char* error = nullptr;
  ASSERT_TRUE(hold(kInteger, "-7", value, error));
  EXPECT_FALSE(value.null);
  EXPECT_EQ(static_cast<std::int32_t>(value.value), -7);
  EXPECT_FALSE(hold(kLong, "x", value, error));
  EXPECT_STREQ(error, "long constant does not begin with a legal character");
  EXPECT_EQ(static_cast<std::int32_t>(value.value), -7);
  EXPECT_FALSE(hold(kUndefined, "x", value, error));
  EXPECT_STREQ(error, "conversion to unknown type");
  ASSERT_TRUE(hold(kTimestamp, "1969-12-31T23:59:59.999", value, error));
  EXPECT_EQ(value.value, ~std::uint64_t{0});
  ASSERT_TRUE(hold(kDecimal10_2, "-1.5", value, error));
  EXPECT_EQ(value.value, ~std::uint64_t{0});
  EXPECT_EQ(static_cast<std::int64_t>(value.low), -150);
  EXPECT_EQ(value.precisionScale, 0x0A02u);
}

TEST(DataValue, OwnsTextsAndBytesUntilTheNextOne) {
  DataValue value;
  const char* error = nullptr;
  for (const char* text : {"first", "", "a longer one"}) {
    ASSERT_TRUE(hold(kString, text, value, error));
    EXPECT_STREQ(value.text(), text);
    EXPECT_FALSE(value.null);
  }
  ASSERT_TRUE(hold(kBinary, "ab  cd", value, error)) << "white space only makes the buffer too large";
  EXPECT_EQ(value.low, 2u);
  EXPECT_EQ(toHex({value.text(), 2}), "abcd");
  EXPECT_FALSE(hold(kBinary, "abc", value, error));
  EXPECT_STREQ(error, "DataType::convertFromString() could not convert binary data from hex.");
  EXPECT_TRUE(value.null);
}

TEST(DataValue, UnpacksWithoutOwningAndTouchesOnlyItsSlots) {
  const std::uint64_t ones = ~std::uint64_t{0};
  const struct {
    unsigned int type;
    const char* bytes;
    std::uint64_t value, low, precisionScale;
  } rows[] = {
      {kInt16, "0102", 0xFFFFFFFFFFFF0201, ones, ones},
      {kInteger, "01020304", 0xFFFFFFFF04030201, ones, ones},
      {kBoolean, "01", 0xFFFFFFFFFFFFFF01, ones, ones},
      {kMoney3, "0102030405060708", 0x0807060504030201, ones, ones},
      {kDate, "0102030405060708", 0x0807060504030201, ones, ones},
      {kUndefined, "01", ones, ones, ones},
      {kUnnamed, "01", ones, ones, ones},
      {31, "01", ones, ones, ones},
      {kFixedDecimal, "0100000000000000 0200000000000000 050a 000000000000", 1, 2, 0x0A05},
  };
  for (const auto& row : rows) {
    auto bytes = exactly(fromHex(row.bytes));
    DataValue value{ones, ones, ones, true};
    unpackValue(row.type, bytes.data(), value);
    EXPECT_FALSE(value.null) << row.type;
    EXPECT_EQ(value.value, row.value) << row.type;
    EXPECT_EQ(value.low, row.low) << row.type;
    EXPECT_EQ(value.precisionScale, row.precisionScale) << row.type;
    unpackValue(row.type, nullptr, value);
    EXPECT_TRUE(value.null) << row.type;
    EXPECT_EQ(value.value, row.value) << row.type;
  }
}

TEST(DataValue, UnpackingPointsIntoTheRecord) {
  auto text = exactly(fromHex("616200")), binary = exactly(fromHex("00000102 aabb"));
  DataValue value;
  unpackValue(kString, text.data(), value);
  EXPECT_EQ(value.bytes(), text.data());
  unpackValue(kBinary, binary.data(), value);
  EXPECT_EQ(value.bytes(), binary.data() + 4);
  EXPECT_EQ(value.low, 0x102u) << "the length is big-endian on every host";
  EXPECT_EQ(DataTypes::getLengthFromPackedBinary(binary.data()), 0x102u);
  EXPECT_EQ(DataTypes::getLengthFromPackedBinary(nullptr), 0u);
}

TEST(DataValue, PrecisionOfTheTypeCodeWinsOnlyWhenTheCodeIsGivenAsANumber) {
  auto bytes = exactly(fromHex("0100000000000000 0200000000000000 050a 000000000000"));
  DataValue value;
  unpackValue(kDecimal10_2, bytes.data(), value);
  EXPECT_EQ(value.precisionScale & 0xFFFF, 0x0A02u);
  unpackValue(static_cast<DataTypes::TypeEnum>(kDecimal10_2), bytes.data(), value);
  EXPECT_EQ(value.precisionScale & 0xFFFF, 0x0A05u);
}

// --- Value to text --------------------------------------------------------------------------------------------------

enum Order { kHost, kOpposite };
enum Zone { kNoZone, kZone };

std::string defaultText(unsigned int type, const std::string& bytes, Order order = kHost, Zone zone = kNoZone) {
  auto data = exactly(bytes);
  char out[1024] = "untouched";
  DataTypes::convertToString(type, order == kOpposite, zone == kZone, data.data(), out, sizeof out);
  return out;
}

std::string unpacked(unsigned int type, const std::string& bytes, const Formats& formats = kRowFormats) {
  auto data = exactly(bytes);
  char* const text = DataTypes::unpackToNewString(data.data(), type, formats.date, formats.timestamp,
                                                  formats.bigdatetime, formats.time);
  const std::string copy = text;
  std::free(text);
  return copy;
}

TEST(UnpackValue, PrintsEachTypeTheSameBothWays) {
  const std::int64_t most = 67768036191676799;  // of the seconds that a broken-down time can hold
  const struct {
    unsigned int type;
    std::int64_t value;
    const char* text;
  } rows[] = {
      {kInt16, -32768, "-32768"},
      {kInteger, -2147483648, "-2147483648"},
      {kLong, kMin, "-9223372036854775808"},
      {kInterval, kMax, "9223372036854775807"},
      {kBoolean, 0, "false"},
      {kBoolean, 2, "true"},
      {kMoney, 15000, "1.5000"},
      {kMoney15, kMin, "-9223.372036854775808"},
      {kDate, 1234567890, "2009-02-13 23:31:30"},
      {kDate, most, "2147485547-12-31 23:59:59"},
      {kDate, most + 1, "1970-01-01 00:00:00"},
      {kTime, 84690, "23:31:30"},
      {kTime, -1, "23:59:59"},
      {kTime, kMax, "00:00:00"},
      {kTimestamp, 1234567890123, "2009-02-13 23:31:30.123"},
      {kTimestamp, -1, "1969-12-31 23:59:59.999"},
      {kTimestamp, kMin, "-292275055-05-16 16:47:04.192"},
      {kBigDateTime, -1, "1969-12-31 23:59:59.999999"},
      {kBigDateTime, 1, "1970-01-01 00:00:00.000001"},
  };
  for (const auto& row : rows) {
    const std::string bytes = bytesOf(row.value).substr(0, DataTypes::getAlignment(row.type));
    SCOPED_TRACE(row.text);
    EXPECT_EQ(defaultText(row.type, bytes), row.text);
    EXPECT_EQ(defaultText(row.type, reversedBytes(bytes), kOpposite), row.text);
    EXPECT_EQ(unpacked(row.type, bytes), row.text);
    const bool timed = row.type == kDate || row.type == kTime || row.type == kTimestamp || row.type == kBigDateTime;
    EXPECT_EQ(defaultText(row.type, bytes, kHost, kZone), std::string(row.text) + (timed ? "+00" : ""));
    DataValue held;
    auto data = exactly(bytes);
    unpackValue(row.type, data.data(), held);
    char out[64] = "";
    DataTypes::convertToString(row.type, false, false, held, out, sizeof out);
    EXPECT_STREQ(out, row.text);
  }
}

TEST(UnpackValue, PrintsFloatsWithTheDecimalSize) {
  const TypeSettingsGuard guard;
  const struct {
    unsigned long places;
    double value;
    const char* text;
  } rows[] = {
      {6, 2.5, "2.500000"}, {6, -1e-20, "0.000000"}, {2, 0.009, "0.00"}, {2, -0.01, "-0.01"}, {0, 0.99, "0"},
  };
  for (const auto& row : rows) {
    setDecimalSize(row.places);
    EXPECT_EQ(defaultText(kFloat, bytesOf(row.value)), row.text);
    EXPECT_EQ(defaultText(kFloat, reversedBytes(bytesOf(row.value)), kOpposite), row.text);
    EXPECT_EQ(unpacked(kFloat, bytesOf(row.value)), row.text);
  }
  setDecimalSize(2000);
  EXPECT_EQ(unpacked(kFloat, bytesOf(2.0)), "2." + std::string(1021, '0')) << "cut to the buffer of 1024 bytes";
}

TEST(UnpackValue, PrintsDecimalsByTheTypeCodeOrElseByTheirOwnWord) {
  const struct {
    unsigned int type;
    const char *bytes, *text;
  } rows[] = {
      {kFixedDecimal, "0000000000000000 3930000000000000 020a", "123.45"},
      {createFixedDecimal(10, 3), "0000000000000000 3930000000000000 020a", "12.345"},
      {createFixedDecimal(0, 3), "0000000000000000 3930000000000000 020a", "123.45"},
      {kFixedDecimal, "ffffffffffffffff fbffffffffffffff 020a", "-0.05"},
      {kFixedDecimal, "0000000000000080 0000000000000000 0022", "-170141183460469231731687303715884105728"},
      {kFixedDecimal, "0000000000000000 0000000000000000 0322", "0.000"},
  };
  for (const auto& row : rows) {
    const std::string bytes = fromHex(row.bytes) + "unused";
    EXPECT_EQ(defaultText(row.type, bytes), row.text);
    EXPECT_EQ(unpacked(row.type, bytes), row.text);
    const std::string opposite = reversedBytes(bytes.substr(0, 8)) + reversedBytes(bytes.substr(8, 8)) +
                                 reversedBytes(bytes.substr(16, 2)) + bytes.substr(18);
    EXPECT_EQ(defaultText(row.type, opposite, kOpposite), row.text);
  }
  const std::string manyPlaces = fromHex("0000000000000000 0c00000000000000 ff22 000000000000");
  EXPECT_EQ(unpacked(kFixedDecimal, manyPlaces), "0." + std::string(253, '0') + "12");
}

TEST(UnpackValue, FormatsTimesAsTheRowSays) {
  const std::string x1020(1020, 'x');
  const struct {
    unsigned int type;
    std::int64_t value;
    const char* format;
    std::string text;
  } rows[] = {
      {kDate, 1234567890, "%s", "1234567890"},
      {kTime, -5, "%s", "-5"},
      {kTimestamp, -1, "%s", "-1.999"},
      {kBigDateTime, 1234567890123456, "%s", "1234567890.123456"},
      {kDate, 0, "", ""},
      {kTimestamp, 5, "", ""},
      {kTimestamp, 5, x1020.c_str(), x1020},
  };
  for (const auto& row : rows) {
    const Formats formats{row.format, row.format, row.format, row.format};
    EXPECT_EQ(unpacked(row.type, bytesOf(row.value), formats), row.text) << row.type << " " << row.format;
  }
}

TEST(UnpackValue, ReadsDatesAndTimesOfFourBytes) {
  const TypeSettingsGuard guard;
  DataTypes::setDateSize(4);
  EXPECT_EQ(unpacked(kDate, fromHex("ffffffff")), "1969-12-31 23:59:59");
  EXPECT_EQ(unpacked(kTime, bytesOf(std::int64_t{1} << 32)), "06:28:16") << "times have a size of their own";
  DataTypes::g_timeSize = 4;
  EXPECT_EQ(defaultText(kDate, fromHex("00000001"), kOpposite), "1970-01-01 00:00:01");
  EXPECT_EQ(unpacked(kTime, fromHex("07000000")), "00:00:07");
  EXPECT_EQ(unpacked(kTimestamp, bytesOf(std::int64_t{7})), "1970-01-01 00:00:00.007");
}

TEST(UnpackValue, StringsAndBytesHaveATextOnlyInRows) {
  const struct {
    unsigned int type;
    const char *bytes, *text;
  } rows[] = {
      {kString, "616200", "ab"},
      {kString, "00", ""},
      {kBinary, "00000000", ""},
      {kBinary, "0000000301abff", "01ABFF"},
      {kUndefined, "01", ""},
      {kUnnamed, "01", ""},
      {31, "01", ""},
  };
  for (const auto& row : rows) {
    EXPECT_EQ(unpacked(row.type, fromHex(row.bytes)), row.text) << row.type;
    EXPECT_EQ(defaultText(row.type, fromHex(row.bytes)), "untouched") << row.type;
  }
}

TEST(UnpackValue, ConvertToStringKeepsToItsRoomAndToNull) {
  const unsigned int types[] = {kLong, kFloat, kDate, kMoney, kBoolean};
  for (const unsigned int type : types) {
    auto data = exactly(bytesOf(std::int64_t{0x4142434445464748}));
    char whole[64], none[] = "untouched";
    DataTypes::convertToString(type, false, false, data.data(), whole, sizeof whole);
    DataTypes::convertToString(type, false, false, data.data(), none, 0);
    EXPECT_STREQ(none, "untouched");
    std::vector<char> room(4, 'x');
    ::convertToString(type, false, false, data.data(), room.data(), room.size());
    EXPECT_EQ(std::string(room.data()), std::string(whole, 3)) << type;
    DataValue null;
    DataTypes::convertToString(type, false, false, null, none, sizeof none);
    EXPECT_STREQ(none, "untouched");
  }
}

TEST(UnpackValue, ShortFloatsHaveFifteenDigits) {
  for (const auto& [number, text] : {std::pair{-123.456, "-123.456000000000"}, {1e16, "1.000000000000000e+16"}}) {
    DataValue value{std::bit_cast<std::uint64_t>(number), 0, 0, false};
    char out[64];
    convertDoubleToString(kFloat, false, value, out, sizeof out);
    EXPECT_STREQ(out, text);
    value.value = __builtin_bswap64(value.value);
    std::vector<char> room(5, 'x');
    convertDoubleToString(kFloat, true, value, room.data(), room.size());
    EXPECT_EQ(std::string(room.data()), std::string(text).substr(0, 4));
  }
  DataValue null;
  char out[] = "x";
  convertDoubleToString(kFloat, false, null, out, sizeof out);
  EXPECT_STREQ(out, "");
}

// --- Hexadecimal ----------------------------------------------------------------------------------------------------

TEST(HexFunctions, PairDigitsAndCheckRoomAtEachPair) {
  const struct {
    const char* text;
    unsigned int capacity;
    const char* expected;
  } rows[] = {{"a B\t0\nf\r", 2, "ab0f"}, {"ag", 1, "Invalid hex character"}, {"abcd", 1, "Output buffer too small"}};
  for (const auto& row : rows) {
    std::vector<unsigned char> out(row.capacity);
    const char* error = nullptr;
    const unsigned int count = DataTypes::convertBinaryFromHexString(row.text, out.data(), row.capacity, error);
    EXPECT_EQ(count == kFailed ? error : toHex(textOf(out).substr(0, count)), row.expected) << row.text;
  }
  EXPECT_EQ(DataTypes::getBinaryDataSizeFromHexString(nullptr), 0u);
  EXPECT_EQ(DataTypes::getBinaryDataSizeFromHexString("ab c "), 2u);
}

TEST(HexFunctions, PrintOnlyWhereTheTerminatorFitsToo) {
  const unsigned char bytes[] = {0x01, 0xAB, 0xFF};
  const struct {
    unsigned int length;
    unsigned long room;
    int result;
    const char* text;
  } rows[] = {{3, 7, 6, "01ABFF"}, {3, 6, -1, "x"}, {0, 1, 0, ""}, {0, 0, -1, "x"}};
  for (const auto& row : rows) {
    char out[8] = "x";
    const char* error = nullptr;
    EXPECT_EQ(convertBinaryToHexString(row.room, bytes, row.length, out, error), row.result);
    EXPECT_STREQ(out, row.text);
    const char* const message = "output buffer is too small for binary to hex-string conversion";
    EXPECT_STREQ(error, row.result < 0 ? message : nullptr);
  }
  const char* error = nullptr;
  EXPECT_EQ(convertBinaryToHexString(99, bytes, 3, nullptr, error), -1);
  std::string text = "former";
  convertBinaryToHexString(bytes, 3, text);
  EXPECT_EQ(text, "01ABFF");
  convertBinaryToHexString(bytes, 0, text);
  EXPECT_EQ(text, "");
  EXPECT_EQ(DataTypes::getHexStringSizeForBuffer(0), 1u);
  EXPECT_EQ(DataTypes::getHexStringSizeForBuffer(0xFFFFFFFF), 8589934591u);
}

}  // namespace
