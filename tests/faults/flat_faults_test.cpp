// Every flat function when memory is exhausted: no exception leaves it, its result is the failure's or the right one,
// nothing is lost, and the handle works afterwards.

#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <memory>
#include <string>

#include "kyv/flat.h"
#include "kyv/sdk.h"
#include "services/malloc_ptr.h"
#include "tests/faults/fault_driver.h"
#include "tests/support/cells.h"
#include "tests/support/in_child.h"

namespace {

using kyv_internal::MallocPtr;
using kyv_test::Blocks;
using kyv_test::Cell;
using kyv_test::Ending;
using kyv_test::kCells;
using kyv_test::kGaveUp;
using kyv_test::refuseInTurn;
using kyv_test::Throws;

struct Release {
  void operator()(char* text) const { deleteL10NMessage(text); }
  void operator()(ConnectionRowType** schema) const { deleteConnectionRowType(schema); }
  void operator()(ConnectionErrorsHandle* errors) const { deleteConnectionErrors(errors); }
  void operator()(ConnectionRowHandle* row) const { deleteConnectionRow(row); }
  void operator()(ConnectionRowPoolHandle* pool) const { deleteConnectionRowPool(pool); }
  void operator()(ConnectionTrans* trans) const { deleteConnectionTrans(trans); }
  void operator()(ConnectionRawTransHandle* trans) const { deleteConnectionRawTrans(trans); }
  void operator()(ConnectionPermutationHandle* permutation) const { deleteConnectionPermutation(permutation); }
  void operator()(AdapterStatisticsMapHandle* statistics) const { deleteAdapterStatisticsMap(statistics); }
};
template <class Handle>
using Held = std::unique_ptr<Handle, Release>;
using Text = std::unique_ptr<char, Release>;

template <class State, class Work>
void refuseAll(const char* name, Work work, Blocks blocks = Blocks::kCounted) {
  const auto make = [work] { return [work, state = std::make_unique<State>()] { return work(*state); }; };
  refuseInTurn(name, Throws::kNothing, make, blocks);
}

struct Nothing {};

// What each column is called and holds, as C wants it.
struct Columns {
  const char* names[32] = {};
  unsigned int types[32] = {};
  int count = 0;
  std::string line;

  Columns() : line(kyv_test::lineOfCells()) {
    for (const Cell& cell : kCells) {
      names[count] = cell.column.name.c_str();
      types[count++] = cell.column.type;
    }
  }
};

ConnectionRowType** schemaOf(const Columns& columns) {
  return createConnectionRowType("Cells", 1, columns.count, columns.names, columns.types);
}

// Rows of every kind, ready to convert.
struct Rows {
  Columns columns;
  Held<ConnectionRowType*> schema{schemaOf(columns)};
  Held<ConnectionErrorsHandle> errors{createConnectionErrors()};
  Held<ConnectionRowHandle> byOrder{createConnectionRow("RowByOrder")};
  Held<ConnectionRowHandle> byNames{createConnectionRow("RowByNames")};
  Held<ConnectionRowHandle> line{createConnectionRow("RowCsv")};

  Rows() {
    for (ConnectionRowHandle* const row : {byOrder.get(), byNames.get(), line.get()}) {
      setStreamType(row, schema.get(), false);
    }
  }
};

TEST(FlatFaults, RowsAndSchemasAreMade) {
  refuseAll<Columns>("made", [](Columns& columns) -> Ending {
    const Held<ConnectionRowType*> schema(schemaOf(columns));
    if (schema == nullptr) return kGaveUp;
    for (const char* kind : {"RowByOrder", "RowByNames", "RowCsv", "None"}) {
      const Held<ConnectionRowHandle> row(createConnectionRow(kind));
      if (row == nullptr) return kGaveUp;
    }
    const Text name(typeToString(2));
    return name == nullptr ? kGaveUp : std::strcmp(name.get(), "long") == 0 ? nullptr : "another name";
  });
}

// A function without result has no effect when it fails, so that nothing but the calls themselves is judged here.
TEST(FlatFaults, RowsAreConfigured) {
  refuseAll<Rows>("configured", [](Rows& rows) -> Ending {
    ConnectionRowHandle* const row = rows.byOrder.get();
    clear(row);
    setStreamType(row, rows.schema.get(), false);
    setStreamName(row, "a stream's name that is longer than a short string");
    setTimeFormat(row, "%H:%M:%S and what is longer than a short string");
    setDateFormat(row, "%d.%m.%Y and what is longer than a short string");
    setTimestampFormat(row, "%d.%m.%Y and what is longer than a short string");
    setFlagsAsString(row, "s");
    enableGDMode(row);
    setGDKeyColumnName(row, "a column's name that is longer than a short string");
    setOpcodeColumnName(row, "a column's name that is longer than a short string");
    const std::unique_ptr<ConnectionRow> copy(createNew(row));
    return copy == nullptr ? kGaveUp : nullptr;
  });
}

TEST(FlatFaults, RowsAreConverted) {
  refuseAll<Rows>("by order", [](Rows& rows) -> Ending {
    ConnectionRowHandle* const row = rows.byOrder.get();
    clearData(row);
    for (const Cell& cell : kCells) {
      if (!appendFieldAsString(row, cell.text)) return kGaveUp;
    }
    if (!setFieldAsStringWithIndex(row, 2, "3")) return kGaveUp;
    const MallocPtr<void> record(toRow(row, 1, rows.errors.get()));
    if (record == nullptr || !fromRow(row, record.get(), 1, rows.errors.get())) return kGaveUp;
    const char* text = nullptr;
    return size(row) == rows.columns.count && getFieldAsStringWithIndex(row, 2, &text) && std::strcmp(text, "3") == 0
               ? nullptr
               : "other fields";
  });
  refuseAll<Rows>("by names", [](Rows& rows) -> Ending {
    ConnectionRowHandle* const row = rows.byNames.get();
    clearData(row);
    for (const Cell& cell : kCells) {
      if (cell.text != nullptr && !setFieldAsStringWithKey(row, cell.column.name.c_str(), cell.text)) return kGaveUp;
    }
    const char* text = nullptr;
    if (!getFieldAsStringWithKey(row, "Id", &text)) return kGaveUp;
    const MallocPtr<void> record(toRow(row, 1, rows.errors.get()));
    return record == nullptr ? kGaveUp : nullptr;
  });
  refuseAll<Rows>("a line", [](Rows& rows) -> Ending {
    const std::string& line = rows.columns.line;
    char* const buffer = allocBuffer(rows.line.get(), static_cast<int>(line.size()) + 1);
    if (buffer == nullptr) return kGaveUp;
    std::memcpy(buffer, line.c_str(), line.size() + 1);
    const MallocPtr<void> record(toRow(rows.line.get(), 1, rows.errors.get()));
    if (record != nullptr) return nullptr;
    // The rule that adapters go by: neither record nor message, that is exhausted memory.
    return sizeConnectionErrors(rows.errors.get()) == 0 ? kGaveUp : "exhausted memory passes for a bad row";
  });
  refuseAll<Rows>("a copied line", [](Rows& rows) -> Ending {
    setBuffer(rows.line.get(), rows.columns.line.data());
    const MallocPtr<void> record(toRow(rows.line.get(), 1, rows.errors.get()));
    clearConnectionErrors(rows.errors.get());
    return record == nullptr ? kGaveUp : nullptr;
  });
}

TEST(FlatFaults, ErrorsAreCollected) {
  refuseAll<Nothing>("made", [](Nothing&) -> Ending {
    return Held<ConnectionErrorsHandle>(createConnectionErrors()) == nullptr ? kGaveUp : nullptr;
  });
  struct Collector {
    Held<ConnectionErrorsHandle> errors{createConnectionErrors()};
  };
  refuseAll<Collector>("collected", [](Collector& held) -> Ending {
    ConnectionErrorsHandle* const errors = held.errors.get();
    clearConnectionErrors(errors);
    addGeneral(errors, "a message that is longer than a short string");
    addParam(errors, "a parameter", "a message that is longer than a short string");
    const int had = sizeConnectionErrors(errors);
    char* report = nullptr;
    getAdapterError(errors, &report);
    const Text owned(report);
    if (had < 2 || report == nullptr) return kGaveUp;
    return empty(errors) && std::strstr(report, "Parameter a parameter: a message") == report ? nullptr
                                                                                              : "another text";
  });
}

TEST(FlatFaults, MessagesAreFound) {
  refuseAll<Nothing>("messages", [](Nothing&) -> Ending {
    constexpr char kLong[] = "a parameter that is longer than a short string";
    char* params[] = {const_cast<char*>(kLong), const_cast<char*>(kLong)};
    const Text messages[] = {Text(getL10NMessage("adapterStarted")),
                             Text(getL10NMessageWithParam("adapterStarted", kLong)),
                             Text(getL10NMessageWithTwoParams("connectionLost", kLong, "2")),
                             Text(getL10NMessageWithThreeParams("retrying", kLong, "2", "3")),
                             Text(getL10NMessageWithFourParams("parameterOutOfRange", kLong, "2", "3", "4")),
                             Text(getL10NMessageWithFiveParams("valueNotConvertible", kLong, "2", "3", "4", "5")),
                             Text(getL10NMessageWithMultParams("connectionLost", 2, params))};
    Ending ending = nullptr;
    for (const Text& message : messages) {
      if (message == nullptr) ending = kGaveUp;
      if (message != nullptr && std::strlen(message.get()) < sizeof "adapterStarted") return "half a message";
    }
    return ending;
  });
}

// The catalogue is opened once a process: what failed then is tried again for the next message. Of the requests that
// come later, ICU does not survive some while it starts.
TEST(FlatFaults, TheCatalogueIsOpenedLater) {
  constexpr long kRequests = 20;
  constexpr char kOpen[] = "open";
  for (long number = 1; number <= kRequests; ++number) {
    const std::string said = kyv_test::inChild({}, [&]() -> std::string {
      kyv_test::refuseRequest(number, kyv_test::Refusal::kOnce);
      const Text first(getL10NMessage("tooManyErrors"));
      const bool refused = kyv_test::stopRefusing() > 0;
      const Text second(getL10NMessageWithParam("tooManyErrors", "7"));
      return refused && second != nullptr ? second.get() : kOpen;
    });
    if (said == kOpen) GTEST_SKIP() << "it was opened by an earlier test of this process";
    EXPECT_EQ(said, "Giving up after 7 errors.") << "request " << number;
    ++kyv_test::refusedRequests;
  }
}

TEST(FlatFaults, PoolsAndTransactionsAreFilled) {
  refuseAll<Columns>("made", [](Columns& columns) -> Ending {
    const Held<ConnectionRowPoolHandle> pool(createConnectionRowPool());
    ConnectionRowHandle* const prototype = createConnectionRow("RowCsv");
    ConnectionRowType** const schema = schemaOf(columns);
    if (pool == nullptr || prototype == nullptr || schema == nullptr) {
      deleteConnectionRow(prototype);
      deleteConnectionRowType(schema);
      return kGaveUp;
    }
    setStreamType(prototype, schema, false);
    setPrototype(pool.get(), prototype);
    deleteConnectionRowType(schema);
    return nullptr;
  });
  struct Pool {
    Columns columns;
    Held<ConnectionRowType*> schema{schemaOf(columns)};
    Held<ConnectionRowPoolHandle> pool{createConnectionRowPool()};
    Held<ConnectionTrans> trans{createConnectionTrans()};
    Pool() {
      ConnectionRowHandle* const prototype = createConnectionRow("RowCsv");
      setStreamType(prototype, schema.get(), false);
      setPrototype(pool.get(), prototype);
    }
  };
  refuseAll<Pool>("rows", [](Pool& held) -> Ending {
    if (!allocTrans(held.pool.get(), held.trans.get(), 5)) return kGaveUp;
    ConnectionRowHandle* const inTrans = getConnectionTrans(held.trans.get(), 4);
    const bool valid = inTrans != nullptr && validateConnectionRow(held.pool.get(), inTrans);
    releaseConnectionRow(inTrans);
    freeTrans(held.pool.get(), held.trans.get());
    ConnectionRowHandle* const row = alloc(held.pool.get());
    const bool both = inTrans != nullptr && row != nullptr;
    freeConnectionRow(held.pool.get(), row);
    return !both ? kGaveUp : valid ? nullptr : "a row that is not the pool's";
  });
  struct Records {
    Held<ConnectionRawTransHandle> trans{createConnectionRawTrans()};
  };
  refuseAll<Records>("records", [](Records& held) -> Ending {
    ConnectionRawTransHandle* const trans = held.trans.get();
    clearConnectionRawTrans(trans);
    for (int i = 0; i < 10; ++i) {
      if (void* const record = std::malloc(8); record != nullptr) pushBackConnectionRawTrans(trans, record);
    }
    const Held<ConnectionRawTransHandle> another(createConnectionRawTrans());
    const Held<ConnectionTrans> rows(createConnectionTrans());
    const bool all = another != nullptr && rows != nullptr && getConnectionRawTransSize(trans) == 10;
    return all && getConnectionRawTrans(trans, 9) != nullptr ? nullptr : kGaveUp;
  });
}

TEST(FlatFaults, PermutationsAreMade) {
  struct Order {
    Columns columns;
    Held<ConnectionRowType*> schema{schemaOf(columns)};
    Held<ConnectionPermutationHandle> permutation{createConnectionPermutation()};
  };
  refuseAll<Order>("prepared", [](Order& held) -> Ending {
    ConnectionPermutationHandle* const permutation = held.permutation.get();
    char* error = nullptr;
    clearConnectionPermutation(permutation);
    setPlatOrder(permutation, *held.schema);
    setExternalCount(permutation, 3);
    const bool set =
        setPermutation(permutation, 1, "Id=a field of some length:Name=another field of some length", &error) == 1;
    Text message(error);
    const bool prepared = set && prepareOrder(permutation, 0, &error) == 1;
    message.reset(error);
    if (!prepared) return kGaveUp;
    const char* name = nullptr;
    char line[64] = "";
    char* external = nullptr;
    const MallocPtr<const char*> names(getExtOrder(permutation));
    getColumnNameFromExtOrder(permutation, 1, &external);
    message.reset(external);
    if (names == nullptr || external == nullptr || !plat2extWithFieldName(permutation, "Id", &name)) return kGaveUp;
    const bool permuted = permuteCsvIn(permutation, "x,y", ',', 0, line) == 1;
    return permuted && std::strcmp(line, "x,y") == 0 && std::strcmp(name, "a field of some length") == 0 &&
                   std::strcmp(external, "another field of some length") == 0
               ? nullptr
               : "another order";
  });
  refuseAll<Order>("refused", [](Order& held) -> Ending {
    char* error = nullptr;
    const int set = setPermutation(held.permutation.get(), 1, "a text without any sign in it", &error);
    const Text message(error);
    const Held<ConnectionPermutationHandle> another(createConnectionPermutation());
    if (set != 0) return "a bad text was taken";
    return error == nullptr || another == nullptr ? kGaveUp : nullptr;
  });
}

TEST(FlatFaults, StatisticsAreKept) {
  struct Statistics {
    Held<AdapterStatisticsMapHandle> map{createAdapterStatisticsMap()};
    ~Statistics() { cleanUpAdapterStatistics(map.get()); }
  };
  refuseAll<Statistics>("kept", [](Statistics& held) -> Ending {
    cleanUpAdapterStatistics(held.map.get());
    for (int i = 0; i < 3; ++i) {
      if (addAdapterStatistics(held.map.get(), "rows", "a value that is longer than a short string") == nullptr) {
        return kGaveUp;
      }
    }
    const char* name = nullptr;
    const char* value = nullptr;
    const int have = getAdapterStatistics(held.map.get(), 1, &name, &value);
    const Held<AdapterStatisticsMapHandle> another(createAdapterStatisticsMap());
    if (have == 0 || another == nullptr) return kGaveUp;
    return std::strcmp(name, "rows") == 0 && *value == 'a' ? nullptr : "other statistics";
  });
}

// Through the client SDK and an embedded store.
class DeliveryFaults : public testing::Test {
 protected:
  DeliveryFaults() {
    const std::filesystem::path memory = "/dev/shm";  // thousands of commits; what a disk does with them matters not
    std::string folder = (is_directory(memory) ? memory : std::filesystem::temp_directory_path()) / "kyv_faults_XXXXXX";
    folder_ = mkdtemp(folder.data());
    setenv("KYV_STORE_DIR", folder_.c_str(), 1);
    setenv("KYV_STORE_SYNC", "normal", 1);
    setenv("XDG_CONFIG_HOME", folder_.c_str(), 1);
    defineBooks();
  }
  ~DeliveryFaults() override { std::filesystem::remove_all(folder_); }

 private:
  static void defineBooks() {
    const char* const names[] = {"Adapter", "Key", "Truncated"};
    const std::uint32_t types[] = {1, 2, 10};
    const std::int32_t key = 0;
    EXPECT_EQ(kyv_sdk_start(nullptr), 0);
    kyv_uri_t* const uri = kyv_uri_create_string("kyv://localhost:0000/default/faults:1", nullptr);
    kyv_project_t* const project = kyv_project_get(uri, nullptr, nullptr, nullptr);
    EXPECT_EQ(kyv_project_connect(project, nullptr), 0);
    EXPECT_NE(kyv_project_define_stream(project, "Books", 1, 3, names, types, 1, &key, nullptr), nullptr);
    kyv_uri_free(uri, nullptr);
  }

  std::filesystem::path folder_;
};

TEST_F(DeliveryFaults, KeysAreStoredOrRefused) {
  refuseAll<Nothing>(
      "delivery",
      [](Nothing&) -> Ending {
        char* error = nullptr;
        GDSupportHandle* const support = createGDSupport("Books", "faults", 1, &error);
        Text message(error);
        if (support == nullptr) return kGaveUp;
        bool good = error == nullptr;
        if (good) good = updateTruncateStream(support, 7, 0, &error) == 0;
        if (error != message.get()) message.reset(error);
        const long long key = good ? getLastProcessedGDKey(support, &error) : 0;
        if (error != message.get()) message.reset(error);
        deleteGDSupport(support, &error);
        if (error != message.get()) message.reset(error);
        return !good || key == 0 ? kGaveUp : key == 7 ? nullptr : "another key";
      },
      Blocks::kReachable);  // the C library keeps why a module could not be opened
}

}  // namespace
