// The order of virtual operations and of members, which callers built with these headers rely on.

#include <gmock/gmock.h>
#include <kyv/adapter_util.h>

#include <array>
#include <cstddef>
#include <cstring>
#include <numeric>
#include <string>
#include <vector>

namespace {

// The complete and the deleting destructor come before all that is named here.
constexpr std::size_t kDestructorSlots = 2;

constexpr std::size_t kNotVirtual = ~std::size_t{0};

// A virtual operation's place in the virtual table. The Itanium C++ ABI keeps it in the first word of a pointer to
// member, as one more than the offset in bytes; the word of any other operation is an address, which is even.
template <class Operation>
std::size_t slotOf(Operation operation) {
  std::size_t word = 0;
  std::memcpy(&word, &operation, sizeof word);
  return word % 2 == 1 ? (word - 1) / sizeof(void*) : kNotVirtual;
}

template <class... Operations>
std::vector<std::size_t> slotsOf(Operations... operations) {
  return {slotOf(operations)...};
}

struct Slot {
  const char* operation;
  std::size_t slot;
};

template <class Operation>
Slot slot(const char* name, Operation operation) {
  return {name, slotOf(operation)};
}

using Row = ConnectionRow;
using SetText = void (Row::*)(const char*);
using SetString = void (Row::*)(const std::string&);
template <class Key>
using GetString = bool (Row::*)(Key, std::string&);
template <class Key>
using GetText = bool (Row::*)(Key, const char**);
template <class Key>
using PutString = bool (Row::*)(Key, const std::string&);
template <class Key>
using PutText = bool (Row::*)(Key, const char*);
using ToRowWithCallback = void* (Row::*)(ConnectionCallback*, unsigned long, ConnectionErrors&);
using ToRow = void* (Row::*)(unsigned long, ConnectionErrors*);
using FromRowWithCallback = bool (Row::*)(void*, ConnectionCallback*, unsigned long, ConnectionErrors&);
using FromRow = bool (Row::*)(void*, unsigned long, ConnectionErrors*);

const std::vector<Slot>& rowSlots() {
  static const std::vector<Slot> slots = {
      slot("clear", &Row::clear),
      slot("clearData", &Row::clearData),
      slot("createNew", &Row::createNew),
      slot("setTimeFormat", &Row::setTimeFormat),
      slot("setDateFormat", &Row::setDateFormat),
      slot("setTimestampFormat", &Row::setTimestampFormat),
      slot<SetText>("setStreamName(text)", &Row::setStreamName),
      slot<SetString>("setStreamName(string)", &Row::setStreamName),
      slot("getStreamName", &Row::getStreamName),
      slot("setStreamType", &Row::setStreamType),
      slot("getStreamType", &Row::getStreamType),
      slot<GetString<const char*>>("getFieldAsString(name, string)", &Row::getFieldAsString),
      slot<GetText<const char*>>("getFieldAsString(name, text)", &Row::getFieldAsString),
      slot<PutString<const char*>>("setFieldAsString(name, string)", &Row::setFieldAsString),
      slot<PutText<const char*>>("setFieldAsString(name, text)", &Row::setFieldAsString),
      slot<GetString<int>>("getFieldAsString(index, string)", &Row::getFieldAsString),
      slot<GetText<int>>("getFieldAsString(index, text)", &Row::getFieldAsString),
      slot<PutString<int>>("setFieldAsString(index, string)", &Row::setFieldAsString),
      slot<PutText<int>>("setFieldAsString(index, text)", &Row::setFieldAsString),
      slot<bool (Row::*)(const std::string&)>("appendFieldAsString(string)", &Row::appendFieldAsString),
      slot<bool (Row::*)(const char*)>("appendFieldAsString(text)", &Row::appendFieldAsString),
      slot("getOp", &Row::getOp),
      slot("setOp", &Row::setOp),
      slot("getFlagsAsString", &Row::getFlagsAsString),
      slot("setFlagsAsString", &Row::setFlagsAsString),
      slot("size", &Row::size),
      slot("setSeparator", &Row::setSeparator),
      slot("setWithService", &Row::setWithService),
      slot("allocBuffer", &Row::allocBuffer),
      slot("setBuffer", &Row::setBuffer),
      slot("setRow", &Row::setRow),
      slot("allocRow", &Row::allocRow),
      slot("adoptRow", &Row::adoptRow),
      slot<bool (Row::*)(ConnectionErrors&)>("validate(reference)", &Row::validate),
      slot<bool (Row::*)(ConnectionErrors*)>("validate(pointer)", &Row::validate),
      slot("getRow", &Row::getRow),
      slot("getRowSize", &Row::getRowSize),
      slot<ToRowWithCallback>("toRow(callback)", &Row::toRow),
      slot<ToRow>("toRow", &Row::toRow),
      slot<FromRowWithCallback>("fromRow(callback)", &Row::fromRow),
      slot<FromRow>("fromRow", &Row::fromRow),
      slot("enableGDMode", &Row::enableGDMode),
      slot("setSequenceNumberColumnName", &Row::setSequenceNumberColumnName),
      slot("setOpcodeColumnName", &Row::setOpcodeColumnName),
      slot("getSequenceNumber", &Row::getSequenceNumber),
  };
  return slots;
}

TEST(VirtualOrder, OfConnectionRow) {
  for (std::size_t i = 0; i < rowSlots().size(); ++i) {
    EXPECT_EQ(rowSlots()[i].slot, kDestructorSlots + i) << rowSlots()[i].operation;
  }
}

TEST(VirtualOrder, OfConnectionRowType) {
  using Type = ConnectionRowType;
  EXPECT_THAT(slotsOf(&Type::getColumnCount, &Type::getColumnName, &Type::getColumnType, &Type::clone, &Type::reserved,
                      &Type::getStreamName, &Type::getStreamId),
              testing::ElementsAre(2, 3, 4, 5, 6, 7, 8));
}

TEST(VirtualOrder, OrderedRowsAppendOneOperation) {
  EXPECT_EQ(slotOf(&ConnectionRowByOrder::getSequenceNumberfromRow), rowSlots().size() + kDestructorSlots);
}

TEST(VirtualOrder, OfTimeFormatParserWhichHasNoDestructorAmongThem) {
  using Parser = DataTypes::TimeFormatParser;
  const std::vector<std::size_t> slots =
      slotsOf(&Parser::OnFieldFM, &Parser::IsDone, &Parser::OnChar, &Parser::OnFieldAM, &Parser::OnFieldPM,
              &Parser::OnFieldD, &Parser::OnFieldDD, &Parser::OnFieldDDD, &Parser::OnFieldDAY, &Parser::OnFieldDY,
              &Parser::OnFieldHH, &Parser::OnFieldHH12, &Parser::OnFieldHH24, &Parser::OnFieldMI, &Parser::OnFieldMIC,
              &Parser::OnFieldMM, &Parser::OnFieldMON, &Parser::OnFieldMONTH, &Parser::OnFieldMS, &Parser::OnFieldRM,
              &Parser::OnFieldQ, &Parser::OnFieldSS, &Parser::OnFieldSE, &Parser::OnFieldFF, &Parser::OnFieldFFn,
              &Parser::OnFieldSSSSS, &Parser::OnFieldTZD, &Parser::OnFieldTZH, &Parser::OnFieldTZM, &Parser::OnFieldTZR,
              &Parser::OnFieldW, &Parser::OnFieldWW, &Parser::OnFieldRR, &Parser::OnFieldRRRR, &Parser::OnFieldY,
              &Parser::OnFieldYY, &Parser::OnFieldYYY, &Parser::OnFieldYYYY, &Parser::OnFieldDAYS,
              &Parser::OnFieldHOURS, &Parser::OnFieldMINUTES, &Parser::OnFieldSECONDS, &Parser::OnEndOfParse);
  std::vector<std::size_t> expected(slots.size());
  std::iota(expected.begin(), expected.end(), 0);
  EXPECT_EQ(slots, expected);
}

// Overrides what it must and nothing else, and shows the members that subclasses see.
class BareRow : public ConnectionRow {
 public:
  ConnectionRow* createNew() override { return nullptr; }
  void* toRow(ConnectionCallback*, unsigned long, ConnectionErrors&) override { return nullptr; }
  void* toRow(unsigned long, ConnectionErrors*) override { return nullptr; }

  std::vector<const void*> members() const {
    return {&streamName_,
            &streamType_,
            &ownsStreamType_,
            &timeFormat_,
            &dateFormat_,
            &timestampFormat_,
            &poolNext,
            &poolTag_,
            &gdMode_,
            &sequenceNumber_,
            &sequenceNumberColumnName_,
            &opcodeColumnName_,
            &prepared_,
            &poolGeneration_};
  }
};

// The code behind each operation of rowSlots(), read from the object's virtual table.
std::vector<void*> implementations(const ConnectionRow& row) {
  void** table = nullptr;
  std::memcpy(&table, &row, sizeof table);
  return std::vector<void*>(table + kDestructorSlots, table + kDestructorSlots + rowSlots().size());
}

std::vector<std::string> operationsThatDifferFromTheBase(const ConnectionRow& row) {
  const BareRow bare;
  const std::vector<void*> base = implementations(bare);
  const std::vector<void*> own = implementations(row);
  std::vector<std::string> names;
  for (std::size_t i = 0; i < own.size(); ++i) {
    if (own[i] != base[i]) names.emplace_back(rowSlots()[i].operation);
  }
  return names;
}

TEST(VirtualOrder, RowsOverrideTheOperationsOfTheirExternalForm) {
  EXPECT_THAT(operationsThatDifferFromTheBase(ConnectionRowByOrder()),
              testing::ElementsAre(
                  "clear", "clearData", "createNew", "getFieldAsString(index, string)", "getFieldAsString(index, text)",
                  "setFieldAsString(index, string)", "setFieldAsString(index, text)", "appendFieldAsString(string)",
                  "appendFieldAsString(text)", "getOp", "setOp", "getFlagsAsString", "setFlagsAsString", "size",
                  "toRow(callback)", "toRow", "fromRow(callback)", "fromRow"));
  EXPECT_THAT(operationsThatDifferFromTheBase(ConnectionRowByNames()),
              testing::ElementsAre("clear", "clearData", "createNew", "getFieldAsString(name, string)",
                                   "getFieldAsString(name, text)", "setFieldAsString(name, string)",
                                   "setFieldAsString(name, text)", "toRow(callback)", "toRow"));
  EXPECT_THAT(operationsThatDifferFromTheBase(ConnectionRowCsv()),
              testing::ElementsAre("clear", "clearData", "createNew", "setSeparator", "setWithService", "allocBuffer",
                                   "setBuffer", "toRow(callback)", "toRow"));
  EXPECT_THAT(operationsThatDifferFromTheBase(ConnectionRowBinary()),
              testing::ElementsAre("clear", "clearData", "createNew", "setRow", "allocRow", "adoptRow",
                                   "validate(reference)", "validate(pointer)", "getRow", "getRowSize",
                                   "toRow(callback)", "toRow", "fromRow(callback)", "fromRow"));
}

TEST(MemberOrder, OfConnectionRow) {
  const BareRow row;
  EXPECT_THAT(row.members(), testing::WhenSorted(testing::ElementsAreArray(row.members())));
}

TEST(MemberOrder, OfDataValue) {
  using DataTypes::DataValue;
  EXPECT_THAT((std::array{offsetof(DataValue, value), offsetof(DataValue, low), offsetof(DataValue, precisionScale),
                          offsetof(DataValue, null), sizeof(DataValue)}),
              testing::ElementsAre(0, 8, 16, 24, 32));
}

// Where a member lies: the Itanium C++ ABI keeps its offset in a pointer to it.
template <class Member>
std::ptrdiff_t offsetOf(Member member) {
  std::ptrdiff_t offset = 0;
  static_assert(sizeof member == sizeof offset);
  std::memcpy(&offset, &member, sizeof offset);
  return offset;
}

struct ScannerMembers : DataTypes::TimeFormatParser {
  static std::vector<std::ptrdiff_t> offsets() {
    using Members = ScannerMembers;
    return {offsetOf(&Members::state),  offsetOf(&Members::fillMode),      offsetOf(&Members::exactMode),
            offsetOf(&Members::status), offsetOf(&Members::fractionDigit), offsetOf(&Members::value)};
  }

 protected:
  ~ScannerMembers() = default;
};

template <class Fields>
std::vector<std::ptrdiff_t> toStringMembers() {
  std::vector<std::ptrdiff_t> offsets = {offsetOf(&Fields::clock), offsetOf(&Fields::output),
                                         offsetOf(&Fields::scratch), offsetOf(&Fields::zone),
                                         offsetOf(&Fields::threeDigitFraction)};
  if constexpr (requires { &Fields::fraction; }) offsets.push_back(offsetOf(&Fields::fraction));
  return offsets;
}

TEST(MemberOrder, OfTheToStringParsers) {
  EXPECT_THAT(toStringMembers<DataTypes::TimestampFields>(), testing::ElementsAre(0, 56, 64, 136, 168, 128));
  EXPECT_THAT(toStringMembers<DataTypes::DateFields>(), testing::ElementsAre(0, 56, 64, 128, 160));
  EXPECT_THAT(toStringMembers<DataTypes::BigDateTimeFields>(), testing::ElementsAre(0, 64, 72, 136, 168, 56));
  EXPECT_EQ(sizeof(DataTypes::TimeFormatParser_TimeToString),
            sizeof(DataTypes::TimeFormatParser) + sizeof(DataTypes::TimestampFields));
  EXPECT_EQ(sizeof(DataTypes::DateFormatParser_DateToString),
            sizeof(DataTypes::TimeFormatParser) + sizeof(DataTypes::DateFields));
  EXPECT_EQ(sizeof(DataTypes::BigDateTimeFormatParser_TimeToString),
            sizeof(DataTypes::TimeFormatParser) + sizeof(DataTypes::BigDateTimeFields));
}

TEST(MemberOrder, OfTheFromStringParsers) {
  using DataTypes::FoundTime;
  using DataTypes::TextInput;
  EXPECT_THAT((std::array{offsetof(TextInput, text), offsetof(TextInput, length), offsetof(TextInput, position)}),
              testing::ElementsAre(0, 8, 16));
  EXPECT_THAT((std::array{offsetof(FoundTime, year), offsetof(FoundTime, month), offsetof(FoundTime, day),
                          offsetof(FoundTime, weekday), offsetof(FoundTime, hour), offsetof(FoundTime, minute),
                          offsetof(FoundTime, second), offsetof(FoundTime, fraction), offsetof(FoundTime, halfOfDay),
                          offsetof(FoundTime, seconds), offsetof(FoundTime, millis), offsetof(FoundTime, micros),
                          offsetof(FoundTime, zoneOffset), offsetof(FoundTime, zone)}),
              testing::ElementsAre(0, 4, 8, 12, 16, 20, 24, 28, 32, 40, 48, 56, 64, 72));
  EXPECT_THAT(
      (std::array{offsetof(FoundTime, hasMicros), offsetof(FoundTime, hasSeconds), offsetof(FoundTime, hasMillis),
                  offsetof(FoundTime, hasZone), offsetof(FoundTime, hasZoneHours), offsetof(FoundTime, hasZoneMinutes),
                  offsetof(FoundTime, reservedZoneFlag)}),
      testing::ElementsAre(104, 105, 106, 107, 108, 109, 110));
  EXPECT_EQ(sizeof(DataTypes::TimeFormatParser_TimeFromString),
            sizeof(DataTypes::TimeFormatParser) + sizeof(TextInput) + sizeof(FoundTime));
}

TEST(MemberOrder, OfTimeFormatParser) {
  EXPECT_THAT(ScannerMembers::offsets(), testing::ElementsAre(8, 12, 16, 20, 21, 24));
  EXPECT_EQ(sizeof(DataTypes::TimeFormatParser), 32);
}

class PermutationMembers : public ConnectionPermutation {
 public:
  std::vector<const void*> members() const {
    return {&platToExtNames, &extToPlatNames, &platOrder,      &extOrder,      &direct,
            &failed,         &prepared,       &platToExtIndex, &extToPlatIndex};
  }
};

TEST(MemberOrder, OfConnectionPermutation) {
  const PermutationMembers permutation;
  EXPECT_EQ(permutation.members().front(), &permutation) << "no virtual table";
  EXPECT_THAT(permutation.members(), testing::WhenSorted(testing::ElementsAreArray(permutation.members())));
}

struct DeliveryMembers : GDSupport {
  std::vector<const void*> members() const {
    return {&uri, &error, &project, &subscriber, &publisher, &stream, &schema, &numColumns, &writer, &rowWriter};
  }
};

TEST(MemberOrder, OfGDSupport) {
  const DeliveryMembers support;
  EXPECT_EQ(support.members().front(), &support) << "no virtual table";
  EXPECT_THAT(support.members(), testing::WhenSorted(testing::ElementsAreArray(support.members())));
  EXPECT_EQ(sizeof(GDSupport), 10 * sizeof(void*));
}

struct StatisticsMembers : AdapterStatisticsMap {
  static std::vector<std::ptrdiff_t> offsets() {
    return {offsetOf(&StatisticsMembers::statistics), offsetOf(&StatisticsMembers::ownedCopies)};
  }
};

TEST(MemberOrder, OfAdapterStatisticsMap) {
  EXPECT_THAT(StatisticsMembers::offsets(),
              testing::ElementsAre(sizeof(void*), sizeof(void*) + sizeof(AdapterStatisticsMap::HashMap)));
  EXPECT_EQ(slotOf(&AdapterStatisticsMap::cleanUpData), kDestructorSlots);
}

}  // namespace
