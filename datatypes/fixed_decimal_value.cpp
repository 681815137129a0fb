#include <algorithm>

#include "datatypes/decimal_text.h"
#include "kyv/data_value.h"

namespace DataTypes {

bool FixedDecimalValue::setDecimalValue(int precision, int scale, const char* text) {
  const auto parsed = kyv_internal::parseDecimal(text, precision, scale);
  if (parsed.error != nullptr) return false;
  *this =
      FixedDecimalValue(kyv_internal::highWord(parsed.value), kyv_internal::lowWord(parsed.value), precision, scale);
  return true;
}

std::string FixedDecimalValue::toString() const {
  char text[kyv_internal::kMaxDecimalText];
  const int scale = std::clamp(scale_, 0, kyv_internal::kMaxDecimalScale);
  return {text, kyv_internal::printDecimal(kyv_internal::makeCoefficient(high_, low_), scale, text)};
}

}  // namespace DataTypes
