#include "kyv/time_to_string.h"

#include <cstring>
#include <optional>

#include "datatypes/civil_time.h"
#include "datatypes/model_printer.h"
#include "datatypes/time_zone.h"

namespace kyv_internal {
namespace {

constexpr long kMicrosPerSecond = 1'000'000;

template <class Fields>
constexpr bool hasFraction = requires(Fields fields) {
  fields.fraction;
};

template <class Fields>
int fractionOf(const Fields& fields) {
  if constexpr (hasFraction<Fields>) return fields.fraction;
  return 0;
}

// Milliseconds since 1970, as the zone library counts them.
template <class Fields>
double instantOf(long value) {
  if constexpr (Fields::kMicrosPerUnit < 1000) return static_cast<double>(value / (1000 / Fields::kMicrosPerUnit));
  return static_cast<double>(value) * (Fields::kMicrosPerUnit / 1000);
}

// What clocks of a zone show; nothing where the calendar ends. Zones are whole seconds away from UTC.
std::optional<std::tm> clockOf(long seconds, const std::string& zoneName) {
  const std::optional<Zone> zone = Zone::open(zoneName.c_str());
  if (!zone || !hasCalendarYear(seconds)) return std::nullopt;
  const std::optional<ZoneOffset> offset = zone->offsetAt(static_cast<double>(seconds) * 1000);
  return offset ? brokenDownTime(seconds + offset->total() / 1000) : std::nullopt;
}

template <class Parser>
void printValue(long value, const char* format, const char* zone, std::string& out) {
  if (!DataTypes::isValidTimezone(zone)) {
    out.clear();
    return;
  }
  const std::size_t length = std::strlen(format);
  out.reserve(length + 1);
  Parser parser(value, zone, out);
  if (!parser.Parse(format, length)) out.clear();
}

}  // namespace
}  // namespace kyv_internal

namespace DataTypes {

using kyv_internal::Zone;
using kyv_internal::ZoneOffset;
using Token = kyv_internal::ModelToken;

// Required as is: the fraction keeps the value's sign, and the seconds are those nearer to 1970.
template <class Fields>
ToStringParser<Fields>::ToStringParser(long& toPrint, const char* zone, std::string& output) {
  constexpr long unitsPerSecond = kyv_internal::kMicrosPerSecond / Fields::kMicrosPerUnit;
  value = &toPrint;
  fields.output = &output;
  fields.zone = zone != nullptr ? zone : "UTC";
  if constexpr (kyv_internal::hasFraction<Fields>) {
    fields.fraction = static_cast<int>(toPrint % unitsPerSecond * Fields::kMicrosPerUnit);
  }
  const std::optional<std::tm> clock = kyv_internal::clockOf(toPrint / unitsPerSecond, fields.zone);
  if (clock) fields.clock = *clock;
  status = clock.has_value();
}

// Takes what stands in the scratch buffer; null: it could not be printed.
template <class Fields>
void ToStringParser<Fields>::append(const char* end) {
  if (end == nullptr) return refuse();
  fields.output->append(fields.scratch, static_cast<std::size_t>(end - fields.scratch));
}

template <class Fields>
void ToStringParser<Fields>::print(Token token, Case letters, char digit) {
  append(kyv_internal::printField({token, letters, digit, fillMode != 0},
                                  {fields.clock, kyv_internal::fractionOf(fields), fields.threeDigitFraction},
                                  fields.scratch));
}

template <class Fields>
void ToStringParser<Fields>::printCount(Token token, const ZoneOffset& offset) {
  const auto micros = kyv_internal::WideMicros{*value} * Fields::kMicrosPerUnit;
  append(kyv_internal::printZoneField({token, kUpper, 0, fillMode != 0}, micros, offset, fields.scratch));
}

// Each token makes a zone of its own.
template <class Fields>
void ToStringParser<Fields>::printInZone(Token token) {
  const std::optional<Zone> zone = Zone::open(fields.zone.c_str());
  const std::optional<ZoneOffset> offset =
      zone ? zone->offsetAt(kyv_internal::instantOf<Fields>(*value)) : std::nullopt;
  if (!offset) return refuse();
  if (kyv_internal::sourceOf(token) == kyv_internal::FieldSource::kZone) return printCount(token, *offset);
  // A name goes straight to the output: those of some languages take more bytes than the scratch buffer has.
  *fields.output +=
      zone->displayName(offset->daylight, token == Token::kTZR ? Zone::NameStyle::kLong : Zone::NameStyle::kShort);
}

// --- The operations, one line each, in the order of the virtual table -----------------------------------------------

// clang-format off
template <class F> bool ToStringParser<F>::IsDone() { return true; }
template <class F> void ToStringParser<F>::OnChar(char c) { fields.output->push_back(c); }
template <class F> void ToStringParser<F>::OnFieldAM(Case letters) { print(Token::kAM, letters); }
template <class F> void ToStringParser<F>::OnFieldPM(Case letters) { print(Token::kPM, letters); }
template <class F> void ToStringParser<F>::OnFieldD() { print(Token::kD); }
template <class F> void ToStringParser<F>::OnFieldDD() { print(Token::kDD); }
template <class F> void ToStringParser<F>::OnFieldDDD() { print(Token::kDDD); }
template <class F> void ToStringParser<F>::OnFieldDAY(Case letters) { print(Token::kDAY, letters); }
template <class F> void ToStringParser<F>::OnFieldDY(Case letters) { print(Token::kDY, letters); }
template <class F> void ToStringParser<F>::OnFieldHH() { print(Token::kHH); }
template <class F> void ToStringParser<F>::OnFieldHH12() { print(Token::kHH12); }
template <class F> void ToStringParser<F>::OnFieldHH24() { print(Token::kHH24); }
template <class F> void ToStringParser<F>::OnFieldMI() { print(Token::kMI); }
template <class F> void ToStringParser<F>::OnFieldMIC() { printCount(Token::kMIC, {}); }
template <class F> void ToStringParser<F>::OnFieldMM() { print(Token::kMM); }
template <class F> void ToStringParser<F>::OnFieldMON(Case letters) { print(Token::kMON, letters); }
template <class F> void ToStringParser<F>::OnFieldMONTH(Case letters) { print(Token::kMONTH, letters); }
template <class F> void ToStringParser<F>::OnFieldMS() { printInZone(Token::kMS); }
template <class F> void ToStringParser<F>::OnFieldRM(Case letters) { print(Token::kRM, letters); }
template <class F> void ToStringParser<F>::OnFieldQ() { print(Token::kQ); }
template <class F> void ToStringParser<F>::OnFieldSS() { print(Token::kSS); }
template <class F> void ToStringParser<F>::OnFieldSE() { printInZone(Token::kSE); }
template <class F> void ToStringParser<F>::OnFieldFF() { print(Token::kFF); }
template <class F> void ToStringParser<F>::OnFieldFFn(char digit) { print(Token::kFFn, kCapitalised, digit); }
template <class F> void ToStringParser<F>::OnFieldSSSSS() { print(Token::kSSSSS); }
template <class F> void ToStringParser<F>::OnFieldTZD() { printInZone(Token::kTZD); }
template <class F> void ToStringParser<F>::OnFieldTZH() { printInZone(Token::kTZH); }
template <class F> void ToStringParser<F>::OnFieldTZM() { printInZone(Token::kTZM); }
template <class F> void ToStringParser<F>::OnFieldTZR() { printInZone(Token::kTZR); }
template <class F> void ToStringParser<F>::OnFieldW() { print(Token::kW); }
template <class F> void ToStringParser<F>::OnFieldWW() { print(Token::kWW); }
template <class F> void ToStringParser<F>::OnFieldRR() { refuse(); }
template <class F> void ToStringParser<F>::OnFieldRRRR() { refuse(); }
template <class F> void ToStringParser<F>::OnFieldY() { print(Token::kY); }
template <class F> void ToStringParser<F>::OnFieldYY() { print(Token::kYY); }
template <class F> void ToStringParser<F>::OnFieldYYY() { print(Token::kYYY); }
template <class F> void ToStringParser<F>::OnFieldYYYY() { print(Token::kYYYY); }
template <class F> void ToStringParser<F>::OnFieldDAYS() { refuse(); }
template <class F> void ToStringParser<F>::OnFieldHOURS() { refuse(); }
template <class F> void ToStringParser<F>::OnFieldMINUTES() { refuse(); }
template <class F> void ToStringParser<F>::OnFieldSECONDS() { refuse(); }
template <class F> void ToStringParser<F>::OnEndOfParse() {}

template <class F> void ToStringParser<F>::refuse() { status = false; }
// clang-format on

template class ToStringParser<TimestampFields>;
template class ToStringParser<DateFields>;
template class ToStringParser<BigDateTimeFields>;

void TimestampToString(long value, const char* format, const char* zone, std::string& out) {
  kyv_internal::printValue<TimeFormatParser_TimeToString>(value, format, zone, out);
}

void DateToString(long value, const char* format, const char* zone, std::string& out) {
  kyv_internal::printValue<DateFormatParser_DateToString>(value, format, zone, out);
}

void BigDateTimeToString(long value, const char* format, const char* zone, std::string& out) {
  kyv_internal::printValue<BigDateTimeFormatParser_TimeToString>(value, format, zone, out);
}

}  // namespace DataTypes
