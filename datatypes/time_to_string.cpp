#include "kyv/time_to_string.h"

#include <cstring>
#include <optional>

#include "datatypes/model_printer.h"
#include "datatypes/time_zone.h"

namespace kyv_internal {
namespace {

static_assert(sizeof DataTypes::TimestampFields::scratch == kMaxFieldText);

Padding paddingOf(int fillMode) { return fillMode != 0 ? Padding::kFill : Padding::kFull; }

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
using kyv_internal::paddingOf;
using kyv_internal::Zone;
using kyv_internal::ZoneOffset;
using Token = kyv_internal::ModelToken;

template <class Fields>
ToStringParser<Fields>::ToStringParser(long& toPrint, const char* zoneName, std::string& output) {
  const auto [seconds, micros] = kyv_internal::splitValue(toPrint, Fields::kMicrosPerUnit);
  value = &toPrint;
  fields.output = &output;
  fields.zone = zoneName != nullptr ? zoneName : "UTC";
  if constexpr (requires { fields.fraction; }) fields.fraction = micros;
  const std::optional<Zone> zone = Zone::open(zoneName);
  const std::optional<std::tm> clock = zone ? kyv_internal::clockOf(seconds, *zone) : std::nullopt;
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
  append(kyv_internal::printNumber(kyv_internal::numberOf(token, fields.clock), paddingOf(fillMode), fields.scratch));
}

template <class Fields>
void ToStringParser<Fields>::printName(Token token, Case letters) {
  append(kyv_internal::printName(token, letters, fields.clock, paddingOf(fillMode), fields.scratch));
}

template <class Fields>
void ToStringParser<Fields>::printFraction(Token token, char digit) {
  int micros = 0;
  if constexpr (requires { fields.fraction; }) micros = fields.fraction;
  const Number whole = fields.threeDigitFraction ? Number{micros % 1000, 3} : Number{micros, 6};
  const Number number = token == Token::kFFn ? kyv_internal::roundedFraction(micros, digit - '0') : whole;
  append(kyv_internal::printFraction(number, paddingOf(fillMode), fields.scratch));
}

template <class Fields>
void ToStringParser<Fields>::printMicros() {
  const auto number = kyv_internal::microsOf(kyv_internal::wideMicros(*value, Fields::kMicrosPerUnit));
  if (!number) return refuse();
  append(kyv_internal::printNumber(*number, paddingOf(fillMode), fields.scratch));
}

// Each token makes a zone of its own.
template <class Fields>
void ToStringParser<Fields>::printInZone(Token token) {
  const std::optional<Zone> zone = Zone::open(fields.zone.c_str());
  const double instant = kyv_internal::instantOf(*value, Fields::kMicrosPerUnit);
  const std::optional<ZoneOffset> offset = zone ? zone->offsetAt(instant) : std::nullopt;
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
  const auto micros = kyv_internal::wideMicros(*value, Fields::kMicrosPerUnit);
  const std::optional<Number> number = kyv_internal::zoneNumberOf(token, micros, offset);
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
