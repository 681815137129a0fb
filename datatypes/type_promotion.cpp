// The common type of two types, and the result types of decimal arithmetic. Promotion is a list of rules, tried in
// order; the first that applies decides.

#include <algorithm>
#include <array>
#include <initializer_list>

#include "datatypes/type_catalogue.h"
#include "kyv/data_types.h"

namespace DataTypes {

namespace {

using kyv_internal::baseOf;
using kyv_internal::precisionOf;
using kyv_internal::scaleOf;

// Most decimal places with which a money type still holds every integer.
constexpr int kMostPlacesForInteger = 9;

// Two types under promotion, by base type.
struct Pair {
  unsigned int left;
  unsigned int right;

  Pair(unsigned int a, unsigned int b) : left(baseOf(a)), right(baseOf(b)) {}

  bool either(unsigned int base) const { return left == base || right == base; }
};

bool isFixedMoney(unsigned int base) { return base >= kMoney1 && base <= kMoney15; }

struct Digits {
  int integer;
  int scale;
};

Digits digitsOf(unsigned int type) {
  if (baseOf(type) == kFixedDecimal) {
    const int scale = static_cast<int>(scaleOf(type));
    return {static_cast<int>(precisionOf(type)) - scale, scale};
  }
  const int places = kyv_internal::moneyScale(type).places;
  return {kyv_internal::typeRow(type).digits - places, places};
}

unsigned int combinedDecimal(unsigned int left, unsigned int right) {
  const Digits a = digitsOf(left);
  const Digits b = digitsOf(right);
  const int integer = std::max(a.integer, b.integer);
  const int scale = std::max(a.scale, b.scale);
  if (integer + scale > kMaxDecimalDigits) return createFixedDecimal(kMaxDecimalDigits, kMaxDecimalDigits - integer);
  return createFixedDecimal(integer + scale, scale);
}

// Whether a money type with that many places takes in values of another base type.
bool moneyHolds(int places, unsigned int other) {
  return other == kBoolean || (other == kInteger && places <= kMostPlacesForInteger);
}

bool promote(unsigned int& type, unsigned int to) {
  type = to;
  return true;
}

// Sets `type` to the first of `order` that either side has.
bool promoteToFirst(unsigned int& type, const Pair& pair, std::initializer_list<TypeEnum> order) {
  const auto found = std::find_if(order.begin(), order.end(), [&](TypeEnum base) { return pair.either(base); });
  return found != order.end() && promote(type, *found);
}

bool maximizeMoney(unsigned int& type, unsigned int other, const Pair& pair, bool leftIsMoney) {
  const int places = kyv_internal::moneyScale(leftIsMoney ? type : other).places;
  if (!moneyHolds(places, leftIsMoney ? pair.right : pair.left)) return false;
  if (!leftIsMoney) type = other;
  return true;
}

// Any type with a money type: which of the two it becomes.
bool maximizeAnyMoney(unsigned int& type, unsigned int other, const Pair& pair) {
  const int legacyPlaces = static_cast<int>(g_legacyMoneyPrecision);
  if (pair.left == kMoney && isFixedMoney(pair.right)) {
    return promote(type, legacyPlaces >= kyv_internal::moneyScale(other).places ? other : kMoney);
  }
  if (isFixedMoney(pair.left) && pair.right == kMoney) {
    return promote(type, kyv_internal::moneyScale(type).places <= legacyPlaces ? type : kMoney);
  }
  if (pair.either(kMoney)) return promote(type, kMoney);
  // Required as is: the money type with the fewest places wins.
  if (isFixedMoney(pair.left) && isFixedMoney(pair.right)) return promote(type, std::min(pair.left, pair.right));
  return promote(type, isFixedMoney(pair.left) ? pair.left : pair.right);
}

bool decimalResult(unsigned int& result, int precision, int scale) {
  result = createFixedDecimal(precision, scale);
  return precisionOf(result) <= kMaxDecimalDigits;
}

// Precision and scale of two operands, as signed numbers.
struct Operands {
  int p1, s1, p2, s2;

  Operands(unsigned int left, unsigned int right)
      : p1(static_cast<int>(precisionOf(left))),
        s1(static_cast<int>(scaleOf(left))),
        p2(static_cast<int>(precisionOf(right))),
        s2(static_cast<int>(scaleOf(right))) {}
};

}  // namespace

bool maximizeType(unsigned int& type, const unsigned int& other) {
  const Pair pair(type, other);
  if (pair.either(kUnnamed)) return false;
  if (pair.right == kUndefined) return true;
  if (pair.left == kUndefined) return promote(type, other);
  if (pair.either(kString) || pair.either(kBinary)) return type == other;
  if (pair.either(kFloat)) return promote(type, kFloat);
  if (pair.either(kFixedDecimal)) return promote(type, combinedDecimal(type, other));
  if (type == other) return true;
  if (pair.left == kMoney) return maximizeMoney(type, other, pair, true);
  if (pair.right == kMoney) return maximizeMoney(type, other, pair, false);
  if (isFixedMoney(pair.left)) return maximizeMoney(type, other, pair, true);
  if (isFixedMoney(pair.right)) return maximizeMoney(type, other, pair, false);
  if (promoteToFirst(type, pair, {kBigDateTime, kTimestamp, kDate, kTime, kInterval, kLong, kInteger})) return true;
  // Required as is: boolean takes int16 in, but int16 does not take boolean in.
  return pair.left == kBoolean;
}

bool maximizeAnyType(unsigned int& type, const unsigned int& other) {
  const Pair pair(type, other);
  if (promoteToFirst(type, pair, {kBinary, kString, kFloat})) return true;
  if (pair.either(kFixedDecimal)) return promote(type, combinedDecimal(type, other));
  if (promoteToFirst(type, pair, {kBigDateTime, kTimestamp, kDate, kTime, kInterval, kLong})) return true;
  const bool money = pair.either(kMoney) || isFixedMoney(pair.left) || isFixedMoney(pair.right);
  if (money) return maximizeAnyMoney(type, other, pair);
  promoteToFirst(type, pair, {kInteger, kInt16, kBoolean, kUndefined});
  return true;
}

unsigned int maximizeTypeToFixedDecimal(unsigned int& type) {
  // Required as is: a decimal is replaced by decimal(0,0) like every type without digits.
  const Digits digits = baseOf(type) == kFixedDecimal ? Digits{0, 0} : digitsOf(type);
  type = createFixedDecimal(digits.integer + digits.scale, digits.scale);
  return type;
}

bool getFixedDecimalAdditionResultType(unsigned int& result, const unsigned int& left, const unsigned int& right) {
  const Operands o(left, right);
  const int scale = std::max(o.s1, o.s2);
  return decimalResult(result, scale + std::max(o.p1 - o.s1, o.p2 - o.s2) + 1, scale);
}

bool getFixedDecimalSubtractionResultType(unsigned int& result, const unsigned int& left, const unsigned int& right) {
  return getFixedDecimalAdditionResultType(result, left, right);
}

bool getFixedDecimalMultiplicationResultType(unsigned int& result, const unsigned int& left,
                                             const unsigned int& right) {
  const Operands o(left, right);
  return decimalResult(result, o.p1 + o.p2 + 1, o.s1 + o.s2);
}

bool getFixedDecimalDivisionResultType(unsigned int& result, const unsigned int& left, const unsigned int& right) {
  const Operands o(left, right);
  return decimalResult(result, o.p1 + o.p2 + o.s2 + 1, o.p2 + o.s1 + 1);
}

}  // namespace DataTypes
