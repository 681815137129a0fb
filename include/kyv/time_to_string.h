#pragma once

// Dates and times to text by a format model: "YYYY-MM-DD HH24:MI:SS.FF3" prints 1970-01-01 00:00:00.001 for a timestamp
// of 1. docs/date_models.md lists every token.
//
// Values are counts since 1970-01-01 00:00:00 UTC: milliseconds (timestamp), seconds (date), microseconds
// (bigdatetime). What is printed is what clocks of the given zone show; zones are ICU's, and a zone object is made
// wherever one is needed, none is kept.
//
// Threads: everything here may be called from any thread at once; an object is one thread's.

#include <cstdint>
#include <ctime>
#include <string>

#include "kyv/export.h"
#include "kyv/time_format_parser.h"

namespace kyv_internal {
enum class ModelToken : std::uint8_t;
struct ZoneOffset;
}  // namespace kyv_internal

namespace DataTypes {

// Each appends the text of `value` to `out`, which callers pass empty, as it is produced. A null or empty zone is
// "UTC". `out` is empty after a failure: a zone that isValidTimezone refuses, a model that has a token which cannot be
// printed (RR, RRRR, DAYS, HOURS, MINUTES, SECONDS) or a quotation without end, a date beyond the years of a tm, a
// count (MIC, MS, SE) beyond 64 bits. Neither `format` nor the zone's name may lie in `out`.
KYV_EXPORT void TimestampToString(long value, const char* format, const char* zone, std::string& out);
KYV_EXPORT void DateToString(long value, const char* format, const char* zone, std::string& out);
KYV_EXPORT void BigDateTimeToString(long value, const char* format, const char* zone, std::string& out);

// True for null and the empty name; otherwise when ICU knows a zone that has exactly this name.
KYV_EXPORT bool isValidTimezone(const char* name);

// Turns what clocks of the zone `from` show into what those of the zone `to` show then, in microseconds as from 1970;
// whole milliseconds count, what is below is dropped. Null and the empty name are UTC. False, leaving `result`
// unchanged, for a name that ICU does not know, when ICU reports an error, or when the result is beyond 64 bits.
KYV_EXPORT bool toTimeZone(long micros, const char* from, const char* to, long& result);

// --- The parsers behind the three functions -------------------------------------------------------------------------

// What each of them holds beside the scanner's state.

struct KYV_EXPORT TimestampFields {
  static constexpr long kMicrosPerUnit = 1000;

  std::tm clock{};                  // what clocks of the zone show
  std::string* output = nullptr;    // the caller's
  char scratch[64];                 // one field's text
  int fraction = 0;                 // microseconds of the second, with the value's sign
  std::string zone;                 // its name; empty is UTC
  bool threeDigitFraction = false;  // FF prints the fraction's last three digits
};

struct KYV_EXPORT DateFields {
  static constexpr long kMicrosPerUnit = 1'000'000;

  std::tm clock{};
  std::string* output = nullptr;
  char scratch[64];
  std::string zone;
  bool threeDigitFraction = false;
};

struct KYV_EXPORT BigDateTimeFields {
  static constexpr long kMicrosPerUnit = 1;

  std::tm clock{};
  int fraction = 0;
  std::string* output = nullptr;
  char scratch[64];
  std::string zone;
  bool threeDigitFraction = false;
};

// The operations, which the three parsers below have in common.
template <class Fields>
class KYV_EXPORT ToStringParser : public TimeFormatParser {
 public:
  bool IsDone() override;
  void OnChar(char c) override;
  void OnFieldAM(Case letters) override;
  void OnFieldPM(Case letters) override;
  void OnFieldD() override;
  void OnFieldDD() override;
  void OnFieldDDD() override;
  void OnFieldDAY(Case letters) override;
  void OnFieldDY(Case letters) override;
  void OnFieldHH() override;
  void OnFieldHH12() override;
  void OnFieldHH24() override;
  void OnFieldMI() override;
  void OnFieldMIC() override;
  void OnFieldMM() override;
  void OnFieldMON(Case letters) override;
  void OnFieldMONTH(Case letters) override;
  void OnFieldMS() override;
  void OnFieldRM(Case letters) override;
  void OnFieldQ() override;
  void OnFieldSS() override;
  void OnFieldSE() override;
  void OnFieldFF() override;
  void OnFieldFFn(char digit) override;
  void OnFieldSSSSS() override;
  void OnFieldTZD() override;
  void OnFieldTZH() override;
  void OnFieldTZM() override;
  void OnFieldTZR() override;
  void OnFieldW() override;
  void OnFieldWW() override;
  void OnFieldRR() override;
  void OnFieldRRRR() override;
  void OnFieldY() override;
  void OnFieldYY() override;
  void OnFieldYYY() override;
  void OnFieldYYYY() override;
  void OnFieldDAYS() override;
  void OnFieldHOURS() override;
  void OnFieldMINUTES() override;
  void OnFieldSECONDS() override;
  void OnEndOfParse() override;

  Fields fields;

 protected:
  ToStringParser(long& toPrint, const char* zoneName, std::string& output);
  ~ToStringParser() = default;

 private:
  void refuse();
  void append(const char* end);
  void printNumber(kyv_internal::ModelToken token);
  void print(kyv_internal::ModelToken token, Case letters = kUpper, char digit = 0);
  void printCount(kyv_internal::ModelToken token, const kyv_internal::ZoneOffset& offset);
  void printInZone(kyv_internal::ModelToken token);
};

extern template class ToStringParser<TimestampFields>;
extern template class ToStringParser<DateFields>;
extern template class ToStringParser<BigDateTimeFields>;

// Each prints one value by one model: Parse appends to the output and says whether all of it could be printed.
//
// Constructors take the value apart for the zone (null or empty: UTC). Both `toPrint` and `output` outlive the parser.
// They clear `status` when ICU does not know the zone or the calendar does not reach to the date.
//
// They may be derived from, but have no virtual destructor: nobody deletes an object of a derived class by one of them.
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wnon-virtual-dtor"

class KYV_EXPORT TimeFormatParser_TimeToString : public ToStringParser<TimestampFields> {
 public:
  TimeFormatParser_TimeToString(long& toPrint, const char* zoneName, std::string& output);
};

class KYV_EXPORT DateFormatParser_DateToString : public ToStringParser<DateFields> {
 public:
  DateFormatParser_DateToString(long& toPrint, const char* zoneName, std::string& output);
};

class KYV_EXPORT BigDateTimeFormatParser_TimeToString : public ToStringParser<BigDateTimeFields> {
 public:
  BigDateTimeFormatParser_TimeToString(long& toPrint, const char* zoneName, std::string& output);
};

#pragma GCC diagnostic pop

}  // namespace DataTypes
