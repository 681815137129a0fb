// Any "%" format with any text and any time. Texts are read as the C library's strptime reads them where it keeps to
// its description, times printed as its strftime prints them; a row's compiled format and a single conversion agree.
//
// Input: a line with the format, a line with the seconds to print, then the text to read.

#include "datatypes/percent_format.h"

#include <cstdlib>
#include <ctime>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "fuzz/fuzz_input.h"
#include "kyv/connection_row_by_order.h"
#include "kyv/data_value.h"
#include "kyv/stream_schema.h"
#include "row2/row2_layout.h"
#include "services/malloc_ptr.h"
#include "tests/support/time_by_c.h"

namespace {

using kyv_fuzz::require;

struct Case {
  std::string format;
  std::int64_t seconds;
  std::string text;
};

std::tm epoch() {
  std::tm time{};
  time.tm_mday = 1;
  time.tm_year = 70;
  time.tm_wday = 4;
  return time;
}

bool sameFields(const std::tm& a, const std::tm& b) {
  return a.tm_year == b.tm_year && a.tm_mon == b.tm_mon && a.tm_mday == b.tm_mday && a.tm_hour == b.tm_hour &&
         a.tm_min == b.tm_min && a.tm_sec == b.tm_sec;
}

// --- Text to time ---------------------------------------------------------------------------------------------------

// Whether the C library can be asked how to read by a format: its conversions are plain ones, and none of those where
// it leaves its tables (%j), overflows (%s) or has wrong weekdays in the year 0 (%U and %W).
bool libraryReads(std::string_view format) {
  constexpr std::string_view kLetters = "%ABCDFGHIMRSTVXYZabcdeghklmnprtuwxyz";
  for (std::size_t at = format.find('%'); at != std::string_view::npos; at = format.find('%', at + 2))
    if (at + 1 == format.size() || kLetters.find(format[at + 1]) == std::string_view::npos) return false;
  return true;
}

std::optional<std::tm> read(const Case& test) {
  std::tm time = epoch();
  const std::vector<char> text = kyv_fuzz::terminated(test.text);
  const std::vector<char> format = kyv_fuzz::terminated(test.format);
  const char* const end = DataTypes::strptime(text.data(), format.data(), &time);
  require(end == nullptr || end == text.data() + test.text.size(), "a text matches to its end");
  require(end != nullptr || sameFields(time, epoch()), "a text that does not match changes nothing");
  return end != nullptr ? std::optional(time) : std::nullopt;
}

void checkFields(const std::tm& time) {
  require(time.tm_sec >= 0 && time.tm_sec <= 61 && time.tm_min >= 0 && time.tm_min <= 59 && time.tm_hour >= 0 &&
              time.tm_hour <= 23,
          "a time has hours, minutes and seconds");
  require(time.tm_mday >= 1 && time.tm_mday <= 31 && time.tm_wday >= 0 && time.tm_wday <= 6, "a day is one of a month");
}

std::optional<std::tm> checkReading(const Case& test) {
  const std::optional<std::tm> time = read(test);
  if (time) checkFields(*time);
  if (!libraryReads(test.format)) return time;
  const std::optional<std::tm> expected = kyv_test::fieldsByC(test.text, test.format);
  require(time.has_value() == expected.has_value(), "a text matches when the C library says so");
  require(!time || sameFields(*time, *expected), "fields are those that the C library reads");
  return time;
}

// --- Time to text ---------------------------------------------------------------------------------------------------

std::string print(const Case& test) {
  unsigned char bytes[sizeof test.seconds];
  kyv_internal::store(bytes, test.seconds);
  const char* const format = test.format.c_str();
  const kyv_internal::MallocPtr<char> text(
      DataTypes::unpackToNewString(bytes, DataTypes::kDate, format, format, format, format));
  return text.get();
}

void checkPrinting(const Case& test) {
  const std::string expected =
      test.format == "%s" ? std::to_string(test.seconds) : kyv_test::textByC(test.seconds, test.format);
  require(print(test) == expected, "a time prints as in C");
}

// --- A row ----------------------------------------------------------------------------------------------------------

using Record = kyv_internal::MallocPtr<void>;

// A row with one date column and a format that is compiled once.
class DateRow {
 public:
  explicit DateRow(const std::string& format) : schema_("Days", 1, {{"Day", DataTypes::kDate}}) {
    row_.setStreamType(&schema_, false);
    row_.setDateFormat(format.c_str());
  }

  Record recordOf(const std::string& text) {
    row_.clearData();
    row_.appendFieldAsString(text);
    ConnectionErrors errors;
    Record record(row_.toRow(1, &errors));
    require((record != nullptr) == errors.empty(), "a row gives a record or a message");
    return record;
  }

  std::string textOf(const Record& record) {
    ConnectionErrors errors;
    std::string text;
    require(row_.fromRow(record.get(), 1, &errors) && row_.getFieldAsString(0, text), "a date has a text");
    return text;
  }

 private:
  kyv::StreamSchema schema_;
  ConnectionRowByOrder row_;
};

// `time` is what a single conversion makes of the text.
void checkRow(const Case& test, const std::optional<std::tm>& time) {
  DateRow row(test.format), seconds("%s");
  require(row.textOf(seconds.recordOf(std::to_string(test.seconds))) == print(test), "a row prints as one conversion");
  const Record record = row.recordOf(test.text);
  if (test.format == "%s") return;  // a row reads a sign before the seconds and does not mind what is behind them
  require((record != nullptr) == time.has_value(), "a row reads what one conversion reads");
  if (record == nullptr) return;
  require(seconds.textOf(record) == std::to_string(DataTypes::tm2sec(&*time)), "a row has the seconds of its fields");
}

// The C library counts "%s" in the process's time zone.
void useUtc() {
  static const bool done = setenv("TZ", "UTC0", 1) == 0;
  require(done, "there is a time zone");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  useUtc();
  kyv_fuzz::FuzzInput input(data, size);
  const std::string format = input.line();
  const std::int64_t seconds = input.number();
  const Case test{format, seconds, input.text()};
  checkPrinting(test);
  checkRow(test, checkReading(test));
  return 0;
}
