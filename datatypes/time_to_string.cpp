#include "kyv/time_to_string.h"

#include <cstring>
#include <optional>

#include "datatypes/model_printer.h"
#include "datatypes/time_zone.h"

namespace kyv_internal {
namespace {

static_assert(sizeof DataTypes::TimestampFields::scratch == kMaxFieldText);

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

// Takes what stands in the scratch buffer; null: it could not be printed.
template <class Fields>
void ToStringParser<Fields>::append(const char* end) {
  if (end == nullptr) return refuse();
  fields.output->append(fields.scratch, static_cast<std::size_t>(end - fields.scratch));
}

template <class Fields>
void ToStringParser<Fields>::printNumber(Token token) {
  const kyv_internal::Number number = kyv_internal::numberOf(token, fields.clock);
  append(kyv_internal::printNumber(kyv_internal::filled(number, fillMode != 0), fields.scratch));
}

// A name or a fraction.
template <class Fields>
void ToStringParser<Fields>::print(Token token, Case letters, char digit) {
  int fraction = 0;
  if constexpr (requires { fields.fraction; }) fraction = fields.fraction;
  append(kyv_internal::printField({token, letters, digit, fillMode != 0},
                                  {fields.clock, fraction, fields.threeDigitFraction}, fields.scratch));
}

template <class Fields>
void ToStringParser<Fields>::printCount(Token token, const ZoneOffset& offset) {
  const auto micros = kyv_internal::wideMicros(*value, Fields::kMicrosPerUnit);
  append(kyv_internal::printZoneField({token, kUpper, 0, fillMode != 0}, micros, offset, fields.scratch));
}

// Each token makes a zone of its own.
template <class Fields>
void ToStringParser<Fields>::printInZone(Token token) {
  const std::optional<Zone> zone = Zone::open(fields.zone.c_str());
  const double instant = kyv_internal::instantOf(*value, Fields::kMicrosPerUnit);
  const std::optional<ZoneOffset> offset = zone ? zone->offsetAt(instant) : std::nullopt;
  if (!offset) return refuse();
  if (kyv_internal::sourceOf(token) == kyv_internal::FieldSource::kZone) return printCount(token, *offset);
  // A name goes straight to the output: those of some languages take more bytes than the scratch buffer has.
  const auto style = token == Token::kTZR ? Zone::NameStyle::kLong : Zone::NameStyle::kShort;
  *fields.output += zone->displayName(offset->daylight, style);
}

// --- The operations, one line each, in the order of the virtual table -----------------------------------------------

// clang-format off
template <class F> bool ToStringParser<F>::IsDone() { return true; }
template <class F> void ToStringParser<F>::OnChar(char c) { fields.output->push_back(c); }
template <class F> void ToStringParser<F>::OnFieldAM(Case letters) { print(Token::kAM, letters); }
template <class F> void ToStringParser<F>::OnFieldPM(Case letters) { print(Token::kPM, letters); }
template <class F> void ToStringParser<F>::OnFieldD() { printNumber(Token::kD); }
template <class F> void ToStringParser<F>::OnFieldDD() { printNumber(Token::kDD); }
template <class F> void ToStringParser<F>::OnFieldDDD() { printNumber(Token::kDDD); }
template <class F> void ToStringParser<F>::OnFieldDAY(Case letters) { print(Token::kDAY, letters); }
template <class F> void ToStringParser<F>::OnFieldDY(Case letters) { print(Token::kDY, letters); }
template <class F> void ToStringParser<F>::OnFieldHH() { printNumber(Token::kHH); }
template <class F> void ToStringParser<F>::OnFieldHH12() { printNumber(Token::kHH12); }
template <class F> void ToStringParser<F>::OnFieldHH24() { printNumber(Token::kHH24); }
template <class F> void ToStringParser<F>::OnFieldMI() { printNumber(Token::kMI); }
template <class F> void ToStringParser<F>::OnFieldMIC() { printCount(Token::kMIC, {}); }
template <class F> void ToStringParser<F>::OnFieldMM() { printNumber(Token::kMM); }
template <class F> void ToStringParser<F>::OnFieldMON(Case letters) { print(Token::kMON, letters); }
template <class F> void ToStringParser<F>::OnFieldMONTH(Case letters) { print(Token::kMONTH, letters); }
template <class F> void ToStringParser<F>::OnFieldMS() { printInZone(Token::kMS); }
template <class F> void ToStringParser<F>::OnFieldRM(Case letters) { print(Token::kRM, letters); }
template <class F> void ToStringParser<F>::OnFieldQ() { printNumber(Token::kQ); }
template <class F> void ToStringParser<F>::OnFieldSS() { printNumber(Token::kSS); }
template <class F> void ToStringParser<F>::OnFieldSE() { printInZone(Token::kSE); }
template <class F> void ToStringParser<F>::OnFieldFF() { print(Token::kFF); }
template <class F> void ToStringParser<F>::OnFieldFFn(char digit) { print(Token::kFFn, kUpper, digit); }
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

TimeFormatParser_TimeToString::TimeFormatParser_TimeToString(long& toPrint, const char* zoneName, std::string& output)
    : ToStringParser(toPrint, zoneName, output) {}

DateFormatParser_DateToString::DateFormatParser_DateToString(long& toPrint, const char* zoneName, std::string& output)
    : ToStringParser(toPrint, zoneName, output) {}

BigDateTimeFormatParser_TimeToString::BigDateTimeFormatParser_TimeToString(long& toPrint, const char* zoneName,
                                                                           std::string& output)
    : ToStringParser(toPrint, zoneName, output) {}

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
