// Every class and conversion when memory is exhausted, at each place where memory is asked for: the result is a failure
// or the right one, nothing but std::bad_alloc is thrown, nothing is lost, and afterwards the same object works.

#include <cstdlib>
#include <cstring>
#include <iterator>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "kyv/adapter_statistics_map.h"
#include "kyv/byte_buffer.h"
#include "kyv/connection_permutation.h"
#include "kyv/connection_row_binary.h"
#include "kyv/connection_row_by_names.h"
#include "kyv/connection_row_by_order.h"
#include "kyv/connection_row_csv.h"
#include "kyv/connection_row_pool.h"
#include "kyv/data_value.h"
#include "kyv/record_printer.h"
#include "kyv/string_utility.h"
#include "kyv/time_from_string.h"
#include "kyv/time_model.h"
#include "kyv/time_to_string.h"
#include "services/malloc_ptr.h"
#include "tests/faults/fault_driver.h"
#include "tests/support/cells.h"
#include "tests/support/in_child.h"

namespace {

using kyv_internal::MallocPtr;
using kyv_test::Cell;
using kyv_test::Ending;
using kyv_test::kCells;
using kyv_test::kGaveUp;
using kyv_test::lineOfCells;
using kyv_test::refuseInTurn;
using kyv_test::schemaOfCells;
using kyv_test::Throws;

constexpr auto kMayThrow = Throws::kBadAlloc;

// What rows make of the cells, the same for every kind of row.
const std::string& recordOfCells() {
  static const std::string record = [] {
    kyv::StreamSchema schema = schemaOfCells();
    ConnectionRowCsv row;
    row.setStreamType(&schema, false);
    ConnectionErrors errors;
    kyv::ByteBuffer out;
    EXPECT_TRUE(row.appendRow(lineOfCells(), 1, errors, out)) << errors.report();
    return std::string(out.view());
  }();
  return record;
}

Ending compare(const void* record, const std::string& expected) {
  return std::memcmp(record, expected.data(), expected.size()) == 0 ? nullptr : "another record";
}

// A record that was made, or the reason that there is none. Exhausted memory is no message about the row.
Ending judge(void* made, const ConnectionErrors& errors, const std::string& expected = recordOfCells()) {
  const MallocPtr<void> record(made);
  if (record != nullptr) return compare(record.get(), expected);
  return errors.empty() ? kGaveUp : "exhausted memory passes for a bad row";
}

// A row of some kind with its schema, and its collector.
template <class Row>
struct Converter {
  kyv::StreamSchema schema = schemaOfCells();
  Row row;
  ConnectionErrors errors;
  kyv::ByteBuffer out;

  Converter() { row.setStreamType(&schema, false); }
};

// Turns a work on a state of this type, which is made before memory is refused, into what the driver takes.
template <class State, class Work>
void refuseAll(const char* name, Work work) {
  const auto make = [work] { return [work, state = std::make_unique<State>()] { return work(*state); }; };
  refuseInTurn(name, kMayThrow, make);
}

struct Nothing {};

constexpr char kDate[] = "%Y-%m-%d %H:%M:%S";
constexpr char kTime[] = "%H:%M:%S";

// The text of each type as a packed value, and as a held one.
TEST(ConversionFaults, TextsToValues) {
  for (const Cell& cell : kCells) {
    if (cell.text == nullptr) continue;
    const unsigned int type = cell.column.type;
    refuseAll<Nothing>(cell.column.name.c_str(), [&](Nothing&) -> Ending {
      unsigned char packed[128] = "";
      const char* error = nullptr;
      const bool isString = type == DataTypes::kString;
      isString
          ? DataTypes::packAndAppendValue(packed, sizeof packed, cell.text, type, kDate, kDate, kDate, kTime, error)
          : DataTypes::convertFromStringAndPack(type, false, cell.text, packed, sizeof packed, error, kDate, kDate,
                                                kDate, kTime);
      if (error != nullptr) return error;
      const MallocPtr<char> text(DataTypes::unpackToNewString(packed, type, kDate, kDate, kDate, kTime));
      return text == nullptr ? kGaveUp : nullptr;
    });
    refuseAll<DataTypes::DataValue>(cell.column.name.c_str(), [&](DataTypes::DataValue& value) -> Ending {
      const char* error = "no message";
      const bool good = DataTypes::convertFromString(type, cell.text, value, error, kDate, kDate, kDate, kTime);
      const bool owns = good && (type == DataTypes::kString || type == DataTypes::kBinary);
      if (owns) std::free(value.text());
      value.null = true;
      return good ? nullptr : std::strstr(error, "memory") != nullptr ? kGaveUp : error;
    });
  }
}

TEST(ConversionFaults, TextsInPieces) {
  refuseAll<Nothing>("split", [](Nothing&) -> Ending {
    char* date = nullptr;
    char* fraction = nullptr;
    DataTypes::splitTimestamp("2024-01-02 09:30:00.5", date, fraction);
    const MallocPtr<char> owned[] = {MallocPtr<char>(date), MallocPtr<char>(fraction)};
    return std::strcmp(fraction, "500") == 0 ? nullptr : "another fraction";
  });
  refuseAll<Nothing>("hexadecimal", [](Nothing&) -> Ending {
    std::string out;
    const unsigned char bytes[20] = {1, 2, 3};
    DataTypes::convertBinaryToHexString(bytes, sizeof bytes, out);
    return out.starts_with("010203") ? nullptr : "other digits";
  });
  refuseAll<Nothing>("decimal", [](Nothing&) -> Ending {
    DataTypes::FixedDecimalValue value;
    const char digits[] = "12345678901234567890.123456789";
    return value.setDecimalValue(34, 9, digits) && value.toString() == digits ? nullptr : "another number";
  });
  refuseAll<Nothing>("texts", [](Nothing&) -> Ending {
    std::string text = "one,two and a piece that is longer than a short string,three";
    std::vector<std::string> parts;
    std::string joined;
    DALVON::Kyv::splitString(text, ',', parts);
    DALVON::Kyv::joinString(parts, ',', joined);
    const std::string longText = DALVON::Kyv::strprintf("%s %2000d", joined.c_str(), 7);
    return joined == text && longText.ends_with("7") && longText.size() == text.size() + 2001 ? nullptr : "other texts";
  });
}

TEST(ConversionFaults, DateModels) {
  constexpr char kModel[] = "FMDay, DD Month YYYY HH24:MI:SS.FF TZH:TZM \"a text longer than a short string\"";
  constexpr char kText[] = "Tuesday, 5 March 2024 2:8:9.12 -05:00 a text longer than a short string";
  constexpr long kMillis = 1709622489120;
  refuseAll<Nothing>("printed", [&](Nothing&) -> Ending {
    std::string out;
    DataTypes::TimestampToString(kMillis, kModel, "America/New_York", out);
    return out == kText ? nullptr : out.empty() ? kGaveUp : "another text";
  });
  refuseAll<Nothing>("read", [&](Nothing&) -> Ending {
    long value = -1;
    const bool good =
        DataTypes::TimestampFromString("2024-03-05 07:08:09 America/New_York", "YYYY-MM-DD HH24:MI:SS TZR", value);
    return !good && value == -1 ? kGaveUp : good && value == 1709604489000 ? nullptr : "another value";
  });
  refuseAll<Nothing>("zones", [&](Nothing&) -> Ending {
    long result = -1;
    const bool good = DataTypes::toTimeZone(0, "America/New_York", "Asia/Kolkata", result);
    return !good && result == -1 ? kGaveUp : good && result == 37800000000 ? nullptr : "another time";
  });
}

// What a model says of a summer and a winter, of years with changes of their own and of years that are all alike.
std::string compileAndPrint() {
  try {
    const kyv::TimeModel model("YYYY-MM-DD HH24:MI TZH \"a text longer than a short string\"", "America/New_York");
    if (model.formatFault()) return kGaveUp;
    for (const auto& [seconds, text] : {std::pair{-299160000L, "1960-07-09 08:00 -04"},
                                        {1709622489, "2024-03-05 02:08 -05"},
                                        {1720000000, "2024-07-03 05:46 -04"},
                                        {4120000000, "2100-07-23 00:26 -04"}}) {
      char room[256];
      const auto printed = model.format(kyv::TimeType::kDate, seconds, room);
      if (!printed || !printed->starts_with(text)) return "another text";
    }
    return "";
  } catch (const std::bad_alloc&) {
    return kGaveUp;
  }
}

// ICU itself does not survive every refusal while it reads a zone's changes, so each is tried in a process that may
// die. Nothing comes of a zone that lacks some of them.
TEST(ConversionFaults, CompiledModelsAreNeverWrong) {
  constexpr long kEach = 120;  // of these each; then comes the same again and again, for each change
  constexpr long kStride = 101;
  std::string said;
  for (long number = 1; said != "none refused"; number += number < kEach ? 1 : kStride) {
    said = kyv_test::inChild({}, [&] {
      (void)compileAndPrint();
      kyv_test::refuseRequest(number, kyv_test::Refusal::kOnce);
      const std::string ending = compileAndPrint();
      return kyv_test::stopRefusing() == 0 ? "none refused" : ending;
    });
    EXPECT_NE(said, "another text") << "request " << number;
    kyv_test::refusedRequests += said != "none refused" ? 1 : 0;
  }
}

// Exhausted memory is no reason to say that the row is bad, and a bad row is never dropped without a word.
TEST(RowFaults, ToRecords) {
  refuseAll<Converter<ConnectionRowByOrder>>("by order", [](auto& by) -> Ending {
    by.row.clearData();
    for (const Cell& cell : kCells) by.row.appendFieldAsString(cell.text);
    by.row.setFlagsAsString("");
    return judge(by.row.toRow(1, &by.errors), by.errors);
  });
  refuseAll<Converter<ConnectionRowByOrder>>("appended by order", [](auto& by) -> Ending {
    by.row.clearData();
    by.out.clear();
    for (const Cell& cell : kCells) by.row.appendFieldAsString(cell.text);
    if (!by.row.appendRow(1, by.errors, by.out)) return by.errors.empty() ? kGaveUp : "a bad row";
    return compare(by.out.data(), recordOfCells());
  });
  refuseAll<Converter<ConnectionRowByNames>>("by names", [](auto& by) -> Ending {
    by.row.clearData();
    for (const Cell& cell : kCells) {
      if (cell.text != nullptr) by.row.setFieldAsString(cell.column.name.c_str(), cell.text);
    }
    return judge(by.row.toRow(1, &by.errors), by.errors);
  });
  refuseAll<Converter<ConnectionRowCsv>>("a line", [](auto& by) -> Ending {
    std::string line = lineOfCells();
    by.row.setBuffer(line.data());
    return judge(by.row.toRow(1, &by.errors), by.errors);
  });
  refuseAll<Converter<ConnectionRowCsv>>("an appended line", [](auto& by) -> Ending {
    by.out.clear();
    if (!by.row.appendRow(lineOfCells(), 1, by.errors, by.out)) return by.errors.empty() ? kGaveUp : "a bad row";
    return compare(by.out.data(), recordOfCells());
  });
  refuseAll<Converter<ConnectionRowBinary>>("a record", [](auto& by) -> Ending {
    std::string record = recordOfCells();
    by.row.setRow(record.data(), 0);
    std::memcpy(by.row.allocRow(64), record.data() + 4, 60);
    by.row.fromRow(record.data(), 1, &by.errors);
    return judge(by.row.toRow(1, &by.errors), by.errors);
  });
}

TEST(RowFaults, BadRowsAreToldOrThrow) {
  refuseAll<Converter<ConnectionRowCsv>>("bad lines", [](auto& by) -> Ending {
    by.errors.clear();
    kyv::ByteBuffer out;
    for (const char* line : {"1,2", "x,1,2,3,,,,,,,,,,,", "1,2,3,4,tomorrow,,,,,,,,,,"}) {
      if (by.row.appendRow(line, 1, by.errors, out)) return "a bad row was taken";
    }
    return by.errors.size() == 3 ? nullptr : "a bad row was dropped without a word";
  });
  refuseAll<Converter<ConnectionRowByOrder>>("bad letters", [](auto& by) -> Ending {
    by.errors.clear();
    StreamInterface::StreamOperations operation = StreamInterface::Insert;
    char letter = '\0';
    const bool taken = by.row.parseOp(operation, 'x', 1, by.errors) || by.row.printOp(letter, 2, 1, by.errors);
    return !taken && by.errors.report().size() > 80 ? nullptr : "a bad operation was dropped without a word";
  });
}

TEST(RowFaults, FromRecords) {
  refuseAll<Converter<ConnectionRowByOrder>>("fields", [](auto& by) -> Ending {
    std::string record = recordOfCells();
    by.errors.clear();
    // Required as is: a value without memory for its text is told like one that cannot be converted.
    if (!by.row.fromRow(record.data(), 1, &by.errors)) return kGaveUp;
    for (int i = 0; i < by.row.size(); ++i) {
      std::string text;
      const char* const expected = kCells[static_cast<std::size_t>(i)].text;
      if (by.row.getFieldAsString(i, text) != (expected != nullptr)) return "another NULL";
    }
    return by.row.size() == static_cast<int>(kCells.size()) ? nullptr : "fields are missing";
  });
  refuseAll<kyv::StreamSchema*>("lines", [](auto&) -> Ending {
    kyv::RecordPrinter printer(schemaOfCells());
    printer.setDateFormat("%A, %d %B %Y");
    ConnectionErrors errors;
    kyv::ByteBuffer out;
    const bool good = printer.appendDelimited(recordOfCells().data(), 1, errors, out) &&
                      printer.appendJson(recordOfCells().data(), 1, errors, out);
    return good && out.view().find("Tuesday, 02 January 2024") != std::string_view::npos ? nullptr : "other lines";
  });
}

TEST(RowFaults, Settings) {
  refuseAll<Nothing>("copies", [](Nothing&) -> Ending {
    ConnectionRowCsv row;
    row.setStreamType(std::make_unique<kyv::StreamSchema>(schemaOfCells()).release(), true);
    row.setStreamName("a name that is longer than a short string");
    row.setTimestampFormat("%Y-%m-%d %H:%M:%S, a format");
    row.setDateModel(kyv::TimeModel("YYYY-MM-DD HH24:MI:SS"));
    const std::unique_ptr<ConnectionRow> copy(row.createNew());
    return copy->getStreamName() == row.getStreamName() ? nullptr : "another name";
  });
  refuseAll<Converter<ConnectionRowByNames>>("fields by name", [](auto& by) -> Ending {
    by.row.setFieldAsString("Name", std::string(100, 'x'));
    by.row.setFieldAsString("KYV_OPS", "d");
    std::string text;
    return by.row.getFieldAsString("Name", text) && text.size() == 100 ? nullptr : "another text";
  });
}

TEST(GroupFaults, Pools) {
  struct Pool {
    ConnectionRowPool pool;
    ConnectionTrans rows;
    Pool() {
      auto prototype = std::make_unique<ConnectionRowCsv>();
      prototype->setStreamType(new kyv::StreamSchema(schemaOfCells()), true);
      pool.setPrototype(prototype.release());
    }
    ~Pool() { pool.freeTrans(&rows); }
  };
  refuseAll<Pool>("rows", [](Pool& held) -> Ending {
    if (!held.pool.allocTrans(&held.rows, 5) || held.rows.size() != 5) return "rows are missing";
    held.pool.freeTrans(&held.rows);
    held.pool.free(held.pool.alloc());
    return nullptr;
  });
  refuseAll<ConnectionRawTrans>("records", [](ConnectionRawTrans& records) -> Ending {
    records.clear();
    for (int i = 0; i < 20; ++i) {
      if (void* const record = std::malloc(8); record != nullptr) records.pushBack(record);
    }
    return records.size() == 20 ? nullptr : kGaveUp;
  });
}

TEST(GroupFaults, Permutations) {
  constexpr char kPairs[] = "a platform column of some length=an external field of some length:b=B:c=C";
  struct Lines {
    ConnectionPermutation permutation;
    std::string error;
    std::string compact;  // a record of four columns, all NULL
    Lines() : compact("\x16\0\0\0\x01\0", 6) { compact.resize(22, '\0'); }
  };
  refuseAll<Lines>("lines and records", [&](Lines& held) -> Ending {
    ConnectionPermutation& permutation = held.permutation;
    const std::vector<std::string> order = {"C", "an external field of some length", "D", "B"};
    permutation.clear();
    const bool set = permutation.setPermutation(true, kPairs, held.error);
    permutation.setExternalOrder(order);
    if (!set || !permutation.prepareOrder(false, held.error)) return "refused";
    kyv::ByteBuffer out;
    const char* name = nullptr;
    if (!permutation.appendCsvIn("3,1,4,2", ',', false, out) || out.view() != "1,2,3") return "another line";
    if (!permutation.ext2plat("B", &name) || std::strcmp(name, "b") != 0) return "another name";
    void* record = nullptr;
    const bool made = permutation.permuteBinaryRowIn(held.compact.data(), &record);
    const MallocPtr<void> owned(record);
    return made == (record != nullptr) ? (made ? nullptr : kGaveUp) : "a record that was not made";
  });
  refuseAll<Lines>("bad texts", [](Lines& held) -> Ending {
    held.error.clear();
    const bool set = held.permutation.setPermutation(true, "one=1:a text without a sign", held.error);
    return !set && held.error.size() > 20 ? nullptr : "no message";
  });
  refuseAll<Lines>("counted", [](Lines& held) -> Ending {
    const bool set = held.permutation.setPermutation(false, "a=field_01:b=field_120", held.error);
    held.permutation.setExternalCount(200);
    return set && held.permutation.prepareOrder(false, held.error) ? nullptr : "refused";
  });
}

TEST(GroupFaults, CollectorsAndStatistics) {
  refuseAll<ConnectionErrors>("errors", [](ConnectionErrors& errors) -> Ending {
    errors.clear();
    errors.addGeneral("a message that is longer than a short string");
    errors.addParam("a parameter of some length", "a message that is longer than a short string");
    return errors.report().starts_with("Parameter a parameter of some length: a message") ? nullptr : "another report";
  });
  struct Statistics : AdapterStatisticsMap {
    Statistics() { seen.set("left over", "from before"); }
    ~Statistics() override { cleanUpData(); }
    HashMap seen;
  };
  refuseAll<Statistics>("statistics", [](Statistics& statistics) -> Ending {
    for (const char* value : {"1", "2"}) {
      for (int i = 0; i < 200; ++i) statistics.addStatistics(std::to_string(i).c_str(), value);
    }
    AdapterStatisticsMap::HashMap& map = statistics.seen;
    const auto entries = static_cast<std::size_t>(std::distance(map.begin(), map.end()));
    if (entries == 0 || entries != map.size()) return "half of a map";
    statistics.getStatisticsMap(map);
    const char* const found = map.find("199");
    return map.size() == 200 && found != nullptr && std::strcmp(found, "2") == 0 ? nullptr : "other statistics";
  });
}

// Tells how much was tried.
class Count : public testing::Environment {
 public:
  void TearDown() override { std::printf("%ld requests for memory were refused in turn\n", kyv_test::refusedRequests); }
};

[[maybe_unused]] const testing::Environment* const kCount = testing::AddGlobalTestEnvironment(new Count);

}  // namespace
