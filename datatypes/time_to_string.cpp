#include "kyv/time_to_string.h"

#include <algorithm>
#include <cstring>
#include <optional>
#include <string_view>

#include "datatypes/civil_time.h"
#include "datatypes/model_printer.h"
#include "datatypes/time_zone.h"

namespace kyv_internal {
namespace {

constexpr long kMicrosPerSecond = 1'000'000;
static_assert(sizeof DataTypes::TimestampFields::scratch == kMaxFieldText);

template <class Fields>
constexpr bool hasFraction = requires(Fields fields) {
  fields.fraction;
};

template <class Fields>
int fractionOf(const Fields& fields) {
  if constexpr (hasFraction<Fields>) return fields.fraction;
  return 0;
}

template <class Fields>
WideMicros wideMicros(long value) {
  return WideMicros{value} * Fields::kMicrosPerUnit;
}

// Milliseconds since 1970, as the zone library counts them.
template <class Fields>
double instantOf(long value) {
  if constexpr (Fields::kMicrosPerUnit < 1000) return static_cast<double>(value / (1000 / Fields::kMicrosPerUnit));
  return static_cast<double>(value) * (Fields::kMicrosPerUnit / 1000);
}

// What clocks of a zone show; nothing where the calendar ends. Zones are whole seconds away from UTC.
std::optional<std::tm> clockOf(long seconds, const char* zoneName) {
  const std::optional<Zone> zone = Zone::open(zoneName);
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

using kyv_internal::Number;
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
  const std::optional<std::tm> clock = kyv_internal::clockOf(toPrint / unitsPerSecond, zone);
  if (clock) fields.clock = *clock;
  status = clock.has_value();
}

// Takes what stands in the scratch buffer.
template <class Fields>
void ToStringParser<Fields>::append(const char* end) {
  fields.output->append(fields.scratch, static_cast<std::size_t>(end - fields.scratch));
}

template <class Fields>
void ToStringParser<Fields>::printNumber(Token token) {
  const Number number = kyv_internal::numberOf(token, fields.clock);
  append(kyv_internal::printNumber(fillMode != 0 ? kyv_internal::filled(number) : number, fields.scratch));
}

template <class Fields>
void ToStringParser<Fields>::printName(Token token, Case letters) {
  const std::string_view name = kyv_internal::nameOf(token, letters, fields.clock);
  const std::size_t blanks = fillMode != 0 ? 0 : kyv_internal::blanksBefore(token, name);
  append(std::ranges::copy(name, std::fill_n(fields.scratch, blanks, ' ')).out);
}

template <class Fields>
void ToStringParser<Fields>::printFraction(Token token, char digit) {
  const int micros = kyv_internal::fractionOf(fields);
  const Number whole = fields.threeDigitFraction ? Number{micros % 1000, 3} : Number{micros, 6};
  const Number number = token == Token::kFFn ? kyv_internal::roundedFraction(micros, digit - '0') : whole;
  append(fillMode != 0 ? kyv_internal::printTrimmed(number, fields.scratch)
                       : kyv_internal::printNumber(number, fields.scratch));
}

template <class Fields>
void ToStringParser<Fields>::printMicros() {
  const std::optional<Number> number = kyv_internal::microsOf(kyv_internal::wideMicros<Fields>(*value));
  if (!number) return refuse();
  append(kyv_internal::printNumber(fillMode != 0 ? kyv_internal::filled(*number) : *number, fields.scratch));
}

// Each token makes a zone of its own.
template <class Fields>
void ToStringParser<Fields>::printInZone(Token token) {
  const std::optional<Zone> zone = Zone::open(fields.zone.c_str());
  const std::optional<ZoneOffset> offset =
      zone ? zone->offsetAt(kyv_internal::instantOf<Fields>(*value)) : std::nullopt;
  if (!offset) return refuse();
  // A name goes straight to the output: those of some languages take more bytes than the scratch buffer has.
  if (token == Token::kTZR) {
    *fields.output += zone->displayName(offset->daylight, Zone::NameStyle::kLong);
  } else if (token == Token::kTZD) {
    *fields.output += zone->displayName(offset->daylight, Zone::NameStyle::kShort);
  } else {
    printZoneNumber(token, *offset);
  }
}

template <class Fields>
void ToStringParser<Fields>::printZoneNumber(Token token, const ZoneOffset& offset) {
  const std::optional<Number> number =
      kyv_internal::zoneNumberOf(token, kyv_internal::wideMicros<Fields>(*value), offset);
  if (!number) return refuse();
  append(kyv_internal::printNumber(*number, fields.scratch));
}

// --- The operations, one line each, in the order of the virtual table -----------------------------------------------

// clang-format off
template <class F> bool ToStringParser<F>::IsDone() { return true; }
template <class F> void ToStringParser<F>::OnChar(char c) { fields.output->push_back(c); }
template <class F> void ToStringParser<F>::OnFieldAM(Case letters) { printName(Token::kAM, letters); }
template <class F> void ToStringParser<F>::OnFieldPM(Case letters) { printName(Token::kPM, letters); }
template <class F> void ToStringParser<F>::OnFieldD() { printNumber(Token::kD); }
template <class F> void ToStringParser<F>::OnFieldDD() { printNumber(Token::kDD); }
template <class F> void ToStringParser<F>::OnFieldDDD() { printNumber(Token::kDDD); }
template <class F> void ToStringParser<F>::OnFieldDAY(Case letters) { printName(Token::kDAY, letters); }
template <class F> void ToStringParser<F>::OnFieldDY(Case letters) { printName(Token::kDY, letters); }
template <class F> void ToStringParser<F>::OnFieldHH() { printNumber(Token::kHH); }
template <class F> void ToStringParser<F>::OnFieldHH12() { printNumber(Token::kHH12); }
template <class F> void ToStringParser<F>::OnFieldHH24() { printNumber(Token::kHH24); }
template <class F> void ToStringParser<F>::OnFieldMI() { printNumber(Token::kMI); }
template <class F> void ToStringParser<F>::OnFieldMIC() { printMicros(); }
template <class F> void ToStringParser<F>::OnFieldMM() { printNumber(Token::kMM); }
template <class F> void ToStringParser<F>::OnFieldMON(Case letters) { printName(Token::kMON, letters); }
template <class F> void ToStringParser<F>::OnFieldMONTH(Case letters) { printName(Token::kMONTH, letters); }
template <class F> void ToStringParser<F>::OnFieldMS() { printInZone(Token::kMS); }
template <class F> void ToStringParser<F>::OnFieldRM(Case letters) { printName(Token::kRM, letters); }
template <class F> void ToStringParser<F>::OnFieldQ() { printNumber(Token::kQ); }
template <class F> void ToStringParser<F>::OnFieldSS() { printNumber(Token::kSS); }
template <class F> void ToStringParser<F>::OnFieldSE() { printInZone(Token::kSE); }
template <class F> void ToStringParser<F>::OnFieldFF() { printFraction(Token::kFF); }
template <class F> void ToStringParser<F>::OnFieldFFn(char digit) { printFraction(Token::kFFn, digit); }
template <class F> void ToStringParser<F>::OnFieldSSSSS() { printNumber(Token::kSSSSS); }
template <class F> void ToStringParser<F>::OnFieldTZD() { printInZone(Token::kTZD); }
template <class F> void ToStringParser<F>::OnFieldTZH() { printInZone(Token::kTZH); }
template <class F> void ToStringParser<F>::OnFieldTZM() { printInZone(Token::kTZM); }
template <class F> void ToStringParser<F>::OnFieldTZR() { printInZone(Token::kTZR); }
template <class F> void ToStringParser<F>::OnFieldW() { printNumber(Token::kW); }
template <class F> void ToStringParser<F>::OnFieldWW() { printNumber(Token::kWW); }
template <class F> void ToStringParser<F>::OnFieldRR() { refuse(); }
template <class F> void ToStringParser<F>::OnFieldRRRR() { refuse(); }
template <class F> void ToStringParser<F>::OnFieldY() { printNumber(Token::kY); }
template <class F> void ToStringParser<F>::OnFieldYY() { printNumber(Token::kYY); }
template <class F> void ToStringParser<F>::OnFieldYYY() { printNumber(Token::kYYY); }
template <class F> void ToStringParser<F>::OnFieldYYYY() { printNumber(Token::kYYYY); }
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
