#pragma once

// Text to dates and times by a format model: "YYYY-MM-DD HH24:MI:SS" reads "2009-02-13 23:31:30". docs/date_models.md
// lists every token.
//
// Values are counts since 1970-01-01 00:00:00 UTC. What a model does not name is taken from 1900-01-01 00:00:00.
//
// Threads: everything here may be called from any thread at once; an object is one thread's.

#include <cstdint>
#include <string>

#include "kyv/export.h"
#include "kyv/time_format_parser.h"

namespace kyv_internal {
enum class ModelToken : std::uint8_t;
}  // namespace kyv_internal

namespace DataTypes {

// Each is false, leaving `result` unchanged, when the text does not match the model to its end, when the model has a
// token that cannot be read (D, DDD, Q, W, WW, FF1 to FF9, DAYS, HOURS, MINUTES, SECONDS), names a field twice or does
// not end a quotation, and when the result is beyond 64 bits or the years of a tm.

KYV_EXPORT bool TimestampFromString(const char* text, const char* format, long& result);    // milliseconds
KYV_EXPORT bool DateFromString(const char* text, const char* format, long& result);         // seconds
KYV_EXPORT bool TimeFromString(const char* text, const char* format, long& result);         // seconds, see above
KYV_EXPORT bool BigDateTimeFromString(const char* text, const char* format, long& result);  // microseconds

// --- The parsers behind the four functions --------------------------------------------------------------------------

struct KYV_EXPORT TextInput {
  const char* text = nullptr;  // the caller's
  unsigned long length = 0;
  unsigned long position = 0;  // beyond the length once blanks of a model went past the end
};

// What a text has said so far; -1: nothing.
struct KYV_EXPORT FoundTime {
  int year = -1;
  int month = -1;  // 0 to 11
  int day = -1;    // 1 to 31
  int weekday = -1;
  int hour = -1;  // 1 to 12
  int minute = -1;
  int second = -1;
  int fraction = -1;  // microseconds

  int halfOfDay = 0;  // 0 unknown, 1 AM, 2 PM

  long seconds = 0;  // since 1970; the flags below say which of the counts was given
  long millis = 0;
  long micros = 0;
  int zoneOffset = 0;  // seconds

  std::string zone;

  bool hasMicros = false;
  bool hasSeconds = false;
  bool hasMillis = false;
  bool hasZone = false;
  bool hasZoneHours = false;
  bool hasZoneMinutes = false;
  bool reservedZoneFlag = false;
};

// Reads what a model has between its fields.
class KYV_EXPORT TimeFormatParser_CommonFromString : public TimeFormatParser {
 public:
  // Whether all of the text was read; skips white space at its end first, unless in exact mode.
  bool IsDone() override;
  void OnChar(char c) override;

 protected:
  TimeFormatParser_CommonFromString(const char* text, unsigned long length);
  ~TimeFormatParser_CommonFromString() = default;

  TextInput input;
};

// Reads all of a model into `fields`. Has no virtual destructor: nobody deletes an object of a derived class by it.
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wnon-virtual-dtor"
class KYV_EXPORT TimeFormatParser_TimeFromString : public TimeFormatParser_CommonFromString {
 public:
  // The text outlives the parser, as does what `value` points at from here on: a place for the value, which is for
  // whoever has called Parse to fill from `fields`.
  TimeFormatParser_TimeFromString(const char* text, unsigned long length, long& toFill);

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

  FoundTime fields;

 private:
  void refuse();
  void read(kyv_internal::ModelToken token, Case letters = kCapitalised);
  void readZone(kyv_internal::ModelToken token);
};
#pragma GCC diagnostic pop

}  // namespace DataTypes
