#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "kyv/data_types.h"
#include "kyv/flat.h"
#include "tests/support/type_settings.h"

namespace {

using DataTypes::createFixedDecimal;
using kyv_test::TypeSettingsGuard;

constexpr unsigned int kBeyond = 31;  // the first code that no type has

// The rows of a table in one text, which a semicolon and a blank part.
std::vector<std::string_view> split(std::string_view rows) {
  std::vector<std::string_view> pieces;
  for (std::size_t end = 0; end != rows.npos; rows.remove_prefix(end == rows.npos ? rows.size() : end + 2)) {
    end = rows.find("; ");
    pieces.push_back(rows.substr(0, end));
  }
  return pieces;
}

std::string decimalName(const char* word, int precision, int scale) {
  return std::string(word) + "(" + std::to_string(precision) + "," + std::to_string(scale) + ")";
}

struct TypeFacts {
  unsigned int code;
  const char *name, *upper, *legacy, *legacyUpper, *constant;
  unsigned long size;
  const char* classes;  // n: numeric, i: integer, d: generic date
};

void expectFacts(const TypeFacts& row) {
  const unsigned int code = row.code;
  SCOPED_TRACE(code);
  EXPECT_EQ(DataTypes::typeToString(code), row.name);
  EXPECT_STREQ(DataTypes::typeToStringUpper(code), row.upper);
  EXPECT_EQ(DataTypes::typeToLegacyString(code), row.legacy);
  EXPECT_STREQ(DataTypes::typeToLegacyStringUpper(code), row.legacyUpper);
  EXPECT_EQ(DataTypes::typeToTypeConstString(code), row.constant);
  EXPECT_EQ((code & 0xFF) < kBeyond ? DataTypes::g_column_lengths[code & 0xFF] : 0, row.size);
  EXPECT_EQ(DataTypes::getAlignment(code), row.size == 0 ? 1 : row.size);
  EXPECT_EQ(DataTypes::getAlignmentMask(code), row.size == 0 ? 0 : row.size - 1);
  const std::string_view classes = row.classes;
  EXPECT_EQ(DataTypes::numericType(code), classes.find('n') != classes.npos);
  EXPECT_EQ(DataTypes::integerType(code), classes.find('i') != classes.npos);
  EXPECT_EQ(DataTypes::genericDateType(code), classes.find('d') != classes.npos);
}

TEST(TypeCatalogue, KnowsNamesSizesAndClassesOfEveryCode) {
  const TypeFacts rows[] = {
      {0, "int16", "INT16", "int16", "INT16", "&intConst", 2, "ni"},
      {1, "integer", "INTEGER", "int32", "INT32", "&intConst", 4, "ni"},
      {2, "long", "LONG", "int64", "INT64", "&intConst", 8, "ni"},
      {3, "float", "FLOAT", "double", "DOUBLE", "&floatConst", 8, "n"},
      {4, "date", "DATE", "date", "DATE", "&dateConst", 8, "nd"},
      {5, "string", "STRING", "string", "STRING", "&stringConst", 0, ""},
      {6, "N/A", "UNKNOWN", "N/A", "UNKNOWN", "N/A", 0, "nid"},
      {7, "money", "MONEY", "money", "MONEY", "&moneyConst", 8, "n"},
      {8, "timestamp", "TIMESTAMP", "timestamp", "TIMESTAMP", "&timestampConst", 8, "n"},
      {9, "N/A", "UNKNOWN", "N/A", "UNKNOWN", "N/A", 0, ""},
      {10, "boolean", "BOOLEAN", "boolean", "BOOLEAN", "&boolConst", 1, "ni"},
      {26, "interval", "INTERVAL", "interval", "INTERVAL", "&intervalConst", 8, "n"},
      {27, "bigdatetime", "BIGDATETIME", "bigdatetime", "BIGDATETIME", "&bigdatetimeConst", 8, "nd"},
      {28, "binary", "BINARY", "binary", "BINARY", "&binaryConst", 0, ""},
      {29, "time", "TIME", "time", "TIME", "&timeConst", 8, "n"},
      {kBeyond, "N/A", "UNKNOWN", "N/A", "UNKNOWN", "N/A", 0, ""},
      {255, "N/A", "UNKNOWN", "N/A", "UNKNOWN", "N/A", 0, ""},
  };
  for (const TypeFacts& row : rows) expectFacts(row);
  for (unsigned int places = 1; places <= 15; ++places) {
    const std::string name = "money(" + std::to_string(places) + ")";
    const std::string upper = "MONEY(" + std::to_string(places) + ")";
    const unsigned int code = 10 + places;
    expectFacts({code, name.c_str(), upper.c_str(), name.c_str(), upper.c_str(), "&moneyConst", 8, "n"});
    EXPECT_EQ(DataTypes::stringToType(name), code);
  }
  const char *name = "decimal(10,2)", *upper = "DECIMAL(10,2)";
  expectFacts({createFixedDecimal(10, 2), name, upper, name, upper, "&fixeddecimalConst", 24, "n"});
}

TEST(TypeCatalogue, DecimalAlignmentIsNoPowerOfTwo) {
  EXPECT_EQ(DataTypes::getAlignment(createFixedDecimal(34, 34)), 24u);
  EXPECT_EQ(DataTypes::getAlignmentMask(createFixedDecimal(34, 34)), 23u);
}

TEST(TypeCatalogue, NamesDecimalsUpToThirtyFourDigits) {
  for (int precision = 0; precision <= 34; ++precision) {
    for (int scale = 0; scale <= 34; ++scale) {
      const bool named = scale <= precision;
      const std::string lower = named ? decimalName("decimal", precision, scale) : "";
      const std::string upper = named ? decimalName("DECIMAL", precision, scale) : "";
      const int index = scale + 35 * precision;
      EXPECT_EQ(DataTypes::decimalLower[index], lower);
      EXPECT_EQ(DataTypes::decimalUpper[index], upper);
      EXPECT_EQ(DataTypes::typeToString(createFixedDecimal(precision, scale)), lower);
      EXPECT_EQ(DataTypes::typeToLegacyStringUpper(createFixedDecimal(precision, scale)), upper);
    }
  }
  for (const unsigned int type :
       {createFixedDecimal(35, 0), createFixedDecimal(35, 35), createFixedDecimal(16383, 63)}) {
    EXPECT_EQ(DataTypes::typeToString(type), "");
    EXPECT_STREQ(DataTypes::typeToStringUpper(type), "");
  }
}

TEST(TypeCatalogue, ReadsTypeNames) {
  const unsigned int ten = 30 + (10 << 14);
  const struct {
    unsigned int type;
    const char* names;
  } rows[] = {{0, "int16"},
              {1, "int32; integer"},
              {2, "int64; long"},
              {3, "float; double"},
              {4, "date"},
              {5, "string"},
              {7, "money"},
              {8, "timestamp"},
              {10, "boolean"},
              {26, "interval"},
              {27, "bigdatetime"},
              {28, "binary"},
              {29, "time"},
              {6, "Integer; LONG; long ; N/A; ; money(0); money(16); money(01); money( 1); Decimal(1); DECIMAL(10,2)"},
              {30, "decimal; decimal(; decimal(,); decimal(x,y); no decimal"},
              {ten, "decimal(10); decimal(10,0); decimal(10,z)"},
              {ten + (2 << 8), "decimal(10,2); decimal( 10, 2); decimal(10x,2y); a decimal(10,2)!; decimal(16394,66)"}};
  for (const auto& row : rows) {
    for (const std::string_view name : split(row.names)) {
      EXPECT_EQ(DataTypes::stringToType(std::string(name)), row.type) << name;
    }
  }
}

// --- Promotion ------------------------------------------------------------------------------------------------------

unsigned int typeOf(std::string_view name) {
  if (name == "undefined") return DataTypes::kUndefined;
  if (name == "unnamed") return DataTypes::kUnnamed;
  return DataTypes::stringToType(std::string(name));
}

std::string nameOf(unsigned int type) {
  if (type == DataTypes::kUndefined) return "undefined";
  if (type == DataTypes::kUnnamed) return "unnamed";
  return DataTypes::typeToString(type);
}

using Promotion = bool (*)(unsigned int&, const unsigned int&);

// Rows read "a + b = result", or "refused".
void expectPromotions(Promotion promote, std::string_view rows) {
  for (const std::string_view row : split(rows)) {
    const std::size_t plus = row.find(" + "), equals = row.find(" = ");
    const unsigned int left = typeOf(row.substr(0, plus));
    unsigned int type = left;
    const bool accepted = promote(type, typeOf(row.substr(plus + 3, equals - plus - 3)));
    EXPECT_EQ(accepted ? nameOf(type) : "refused", row.substr(equals + 3)) << row;
    EXPECT_TRUE(accepted || type == left) << row;
  }
}

TEST(TypePromotion, MaximizeTypeTakesTheFirstRuleThatApplies) {
  expectPromotions(
      DataTypes::maximizeType,
      "unnamed + unnamed = refused; undefined + unnamed = refused; unnamed + undefined = refused; "
      "float + unnamed = refused; long + undefined = long; undefined + money(3) = money(3); "
      "undefined + string = string; string + undefined = string; undefined + undefined = undefined; "
      "string + string = string; binary + binary = binary; string + binary = refused; "
      "string + float = refused; long + string = refused; binary + decimal(3,1) = refused; "
      "float + boolean = float; date + float = float; money + float = float; decimal(9,2) + float = float; "
      "integer + integer = integer; int16 + int16 = int16; bigdatetime + timestamp = bigdatetime; "
      "timestamp + date = timestamp; date + time = date; time + interval = time; "
      "interval + long = interval; long + integer = long; integer + int16 = integer; int16 + long = long; "
      "boolean + integer = integer; boolean + time = time; int16 + date = date");
}

TEST(TypePromotion, BooleanTakesInt16InButNotTheOtherWayRound) {
  expectPromotions(DataTypes::maximizeType, "boolean + int16 = boolean; int16 + boolean = refused");
}

TEST(TypePromotion, MoneyTakesInIntegersOnlyWithNinePlacesAtMost) {
  const TypeSettingsGuard guard;
  expectPromotions(DataTypes::maximizeType,
                   "money(9) + integer = money(9); integer + money(9) = money(9); money(10) + integer = refused; "
                   "integer + money(10) = refused; money(15) + boolean = money(15); boolean + money(15) = money(15); "
                   "money(1) + money(2) = refused; money(2) + money(2) = money(2); money + money(4) = refused; "
                   "money(4) + money = refused; money(3) + int16 = refused; long + money(1) = refused; "
                   "date + money(1) = refused; money + int16 = refused; money + long = refused; "
                   "timestamp + money = refused; money + money = money");
  for (const unsigned long places : {0UL, 9UL}) {
    DataTypes::setLegacyMoneyPrecision(places);
    expectPromotions(DataTypes::maximizeType, "money + integer = money; integer + money = money");
  }
  DataTypes::setLegacyMoneyPrecision(10);
  expectPromotions(DataTypes::maximizeType,
                   "money + integer = refused; integer + money = refused; money + boolean = money; "
                   "boolean + money = money");
}

TEST(TypePromotion, ADecimalTakesTheWiderOfBothParts) {
  for (const Promotion promote : {DataTypes::maximizeType, DataTypes::maximizeAnyType}) {
    expectPromotions(promote,
                     "decimal(10,2) + integer = decimal(12,2); long + decimal(10,2) = decimal(21,2); "
                     "decimal(5,2) + decimal(4,3) = decimal(6,3); decimal(5,2) + money(3) = decimal(19,3); "
                     "money + decimal(5,4) = decimal(19,4); money + decimal(5,5) = decimal(20,5); "
                     "boolean + decimal(3,3) = decimal(4,3); date + decimal(1,0) = decimal(19,0); "
                     "decimal(20,1) + time = decimal(20,1); interval + decimal(2,1) = decimal(20,1); "
                     "decimal(34,30) + long = decimal(34,15); decimal(9,2) + decimal(9,2) = decimal(9,2)");
    unsigned int wide = createFixedDecimal(40, 0);
    EXPECT_TRUE(promote(wide, DataTypes::kLong));
    EXPECT_EQ(wide, createFixedDecimal(34, 64 - 6)) << "a scale below zero keeps six bits";
  }
}

TEST(TypePromotion, Int16HasNoDigitsBesideADecimal) {
  expectPromotions(DataTypes::maximizeType, "int16 + decimal(2,2) = decimal(2,2); decimal(3,2) + int16 = decimal(3,2)");
}

TEST(TypePromotion, MaximizeAnyTypeNeverRefuses) {
  const TypeSettingsGuard guard;
  expectPromotions(DataTypes::maximizeAnyType,
                   "string + binary = binary; binary + long = binary; string + float = string; "
                   "unnamed + string = string; float + decimal(3,1) = float; undefined + float = float; "
                   "timestamp + bigdatetime = bigdatetime; timestamp + date = timestamp; date + time = date; "
                   "time + interval = time; long + interval = interval; money + long = long; date + money(3) = date; "
                   "integer + money = money; money + undefined = money; money + money(3) = money(3); "
                   "money + money(4) = money(4); money + money(5) = money; money(3) + money = money(3); "
                   "money(4) + money = money(4); money(5) + money = money; integer + money(7) = money(7); "
                   "money(7) + int16 = money(7); unnamed + money(7) = money(7); integer + int16 = integer; "
                   "int16 + boolean = int16; boolean + int16 = int16; boolean + undefined = boolean; "
                   "unnamed + undefined = undefined; undefined + unnamed = undefined; unnamed + unnamed = unnamed; "
                   "unnamed + integer = integer");
  DataTypes::setLegacyMoneyPrecision(2);
  expectPromotions(DataTypes::maximizeAnyType, "money + money(3) = money; money(2) + money = money(2)");
}

TEST(TypePromotion, OfTwoMoneyTypesTheOneWithFewerPlacesWins) {
  expectPromotions(DataTypes::maximizeAnyType, "money(3) + money(5) = money(3); money(15) + money(1) = money(1)");
}

TEST(TypePromotion, EveryTypeBecomesADecimalAndADecimalLosesItsDigits) {
  const TypeSettingsGuard guard;
  DataTypes::setLegacyMoneyPrecision(18);
  const struct {
    const char *type, *decimal;
  } rows[] = {
      {"integer", "decimal(10,0)"},     {"boolean", "decimal(1,0)"},     {"long", "decimal(19,0)"},
      {"date", "decimal(19,0)"},        {"timestamp", "decimal(19,0)"},  {"interval", "decimal(19,0)"},
      {"bigdatetime", "decimal(19,0)"}, {"time", "decimal(19,0)"},       {"money", "decimal(19,18)"},
      {"money(1)", "decimal(19,1)"},    {"money(15)", "decimal(19,15)"}, {"decimal(10,2)", "decimal(0,0)"},
      {"int16", "decimal(0,0)"},        {"float", "decimal(0,0)"},       {"string", "decimal(0,0)"},
      {"binary", "decimal(0,0)"},       {"undefined", "decimal(0,0)"},   {"unnamed", "decimal(0,0)"},
  };
  for (const auto& row : rows) {
    unsigned int type = typeOf(row.type);
    const unsigned int result = DataTypes::maximizeTypeToFixedDecimal(type);
    EXPECT_EQ(nameOf(result), row.decimal) << row.type;
    EXPECT_EQ(type, result) << row.type;
  }
}

TEST(TypePromotion, DecimalArithmeticFitsUpToThirtyFourDigits) {
  using Result = bool (*)(unsigned int&, const unsigned int&, const unsigned int&);
  const Result add = DataTypes::getFixedDecimalAdditionResultType,
               sub = DataTypes::getFixedDecimalSubtractionResultType;
  const Result mul = DataTypes::getFixedDecimalMultiplicationResultType;
  const Result div = DataTypes::getFixedDecimalDivisionResultType;
  const struct {
    Result operation;
    unsigned int left, right;
    int precision, scale;
    bool fits;
  } rows[] = {
      {add, createFixedDecimal(10, 2), createFixedDecimal(8, 4), 13, 4, true},
      {sub, createFixedDecimal(8, 4), createFixedDecimal(10, 2), 13, 4, true},
      {sub, createFixedDecimal(33, 0), createFixedDecimal(1, 0), 34, 0, true},
      {add, createFixedDecimal(34, 33), createFixedDecimal(1, 0), 35, 33, false},
      {mul, createFixedDecimal(20, 2), createFixedDecimal(20, 2), 41, 4, false},
      {mul, createFixedDecimal(16, 2), createFixedDecimal(17, 3), 34, 5, true},
      {div, createFixedDecimal(10, 2), createFixedDecimal(8, 3), 22, 11, true},
      {div, createFixedDecimal(34, 34), createFixedDecimal(34, 34), 103, 69 - 64, false},
      {mul, createFixedDecimal(8191, 0), createFixedDecimal(8192, 0), 0, 0, true},  // 14 bits are kept, then compared
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(DataTypes::typeToString(row.left) + " and " + DataTypes::typeToString(row.right));
    unsigned int result = row.left;  // the result may take the place of an operand
    EXPECT_EQ(row.operation(result, result, row.right), row.fits);
    EXPECT_EQ(result, createFixedDecimal(row.precision, row.scale));
  }
}

// --- Settings and flat functions ------------------------------------------------------------------------------------

TEST(TypeSettings, IgnoreWhatTheyCannotBe) {
  const TypeSettingsGuard guard;
  for (const unsigned long places : {19UL, ~0UL}) DataTypes::setLegacyMoneyPrecision(places);
  EXPECT_EQ(DataTypes::g_legacyMoneyPrecision, 4u);
  EXPECT_EQ(DataTypes::g_legacyMoneyFactor, 10000);
  DataTypes::setLegacyMoneyPrecision(18);
  EXPECT_EQ(DataTypes::g_legacyMoneyFactor, 1000000000000000000);
  DataTypes::setLegacyMoneyPrecision(0);
  EXPECT_EQ(DataTypes::g_legacyMoneyFactor, 1);
  for (const unsigned long size : {6UL, 0UL, 16UL}) DataTypes::setDateSize(size);
  EXPECT_EQ(DataTypes::g_dateSize, 8u);
  DataTypes::setDateSize(4);
  EXPECT_EQ(DataTypes::g_dateSize, 4u);
}

TEST(TypeSettings, DecimalSizeSetsTheToleranceToo) {
  const TypeSettingsGuard guard;
  EXPECT_EQ(DataTypes::g_tolerance, 0.000001);
  DataTypes::setDecimalSize(2);
  EXPECT_EQ(DataTypes::getDecimalSize(), 2u);
  EXPECT_DOUBLE_EQ(DataTypes::g_tolerance, 0.01);
}

TEST(TypeSettings, DateFormatIsCopied) {
  const TypeSettingsGuard guard;
  std::string format = "%d.%m.%Y";
  DataTypes::setDateFormat(format.c_str());
  format.assign("changed");
  EXPECT_TRUE(DataTypes::g_date_format_allocated);
  EXPECT_STREQ(DataTypes::g_date_format, "%d.%m.%Y");
  DataTypes::setDateFormat(DataTypes::g_date_format);
  EXPECT_STREQ(DataTypes::g_date_format, "%d.%m.%Y") << "the former copy may be given back";
  EXPECT_STREQ(DataTypes::g_time_format, "%H:%M:%S");
}

TEST(FlatTypes, EveryNumberThatIsNoPlainTypeIsATimestamp) {
  for (int number = 0; number <= 9; ++number) EXPECT_EQ(getDataType(number), static_cast<unsigned int>(number));
  for (const int number : {-1, 10, 42, 30, 2147483647}) EXPECT_EQ(getDataType(number), 8u) << number;
  const auto name = [](int number) { return std::string(std::unique_ptr<char[]>(typeToString(number)).get()); };
  EXPECT_EQ(name(2) + name(9) + name(10), "longN/Atimestamp");
  EXPECT_STREQ(typeToStringUpper(28), "TIMESTAMP");
}

}  // namespace
