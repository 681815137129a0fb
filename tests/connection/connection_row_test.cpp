#include "kyv/connection_row.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <functional>
#include <string>
#include <vector>

#include "tests/support/test_schema.h"

namespace {

using kyv_test::SchemaCounts;
using kyv_test::TestSchema;

// Implements only what every row must, and shows what rows share.
class BareRow : public ConnectionRow {
 public:
  ConnectionRow* createNew() override { return nullptr; }
  void* toRow(ConnectionCallback*, unsigned long, ConnectionErrors&) override { return nullptr; }
  void* toRow(unsigned long, ConnectionErrors*) override { return nullptr; }

  std::string settings() const { return streamName_ + "|" + dateFormat_ + "|" + timestampFormat_ + "|" + timeFormat_; }
  std::string deliverySettings() const {
    return sequenceNumberColumnName_ + "|" + opcodeColumnName_ + "|" + (gdMode_ ? "on" : "off");
  }
};

TEST(ConnectionRow, ReadsOperationLettersInEitherCase) {
  const struct {
    char letter;
    int operation;
    const char* message;
  } rows[] = {
      {'i', 1, ""},
      {'u', 3, ""},
      {'d', 5, ""},
      {'p', 7, ""},
      {'I', 1, ""},
      {'U', 3, ""},
      {'D', 5, ""},
      {'P', 7, ""},
      {'x', 0, "record 7: unknown operation 'x', not i/u/d/p"},
      {'X', 0, "record 7: unknown operation 'X', not i/u/d/p"},
      {' ', 0, "record 7: unknown operation ' ', not i/u/d/p"},
      {'\n', 0, "record 7: unknown operation '?', not i/u/d/p"},
      {'\0', 0, "record 7: unknown operation '?', not i/u/d/p"},
      {'\x7F', 0, "record 7: unknown operation '?', not i/u/d/p"},
      {'\xE9', 0, "record 7: unknown operation '?', not i/u/d/p"},
  };
  BareRow row;
  for (const auto& r : rows) {
    const auto unchanged = static_cast<StreamInterface::StreamOperations>(0);
    auto byReference = unchanged, byPointer = unchanged;
    ConnectionErrors errors, more;
    EXPECT_EQ(row.parseOp(byReference, r.letter, 7, errors), r.operation != 0);
    EXPECT_EQ(row.parseOp(byPointer, r.letter, 7, &more), r.operation != 0);
    EXPECT_EQ(byReference, r.operation) << r.letter;
    EXPECT_EQ(byPointer, r.operation) << r.letter;
    EXPECT_EQ(errors.report(), r.message);
    EXPECT_EQ(more.report(), r.message);
  }
}

TEST(ConnectionRow, PrintsOperationsAndBothDeletesAlike) {
  const struct {
    int operation;
    char letter;
    const char* message;
  } rows[] = {
      {1, 'i', ""},
      {3, 'u', ""},
      {5, 'd', ""},
      {13, 'd', ""},
      {7, 'p', ""},
      {2, '-', "record 1: unknown operation '0x2', not i/u/d/p"},
      {0, '-', "record 1: unknown operation '0x0', not i/u/d/p"},
      {255, '-', "record 1: unknown operation '0xff', not i/u/d/p"},
      {-1, '-', "record 1: unknown operation '0xffffffff', not i/u/d/p"},
  };
  BareRow row;
  for (const auto& r : rows) {
    char byReference = '-', byPointer = '-';
    ConnectionErrors errors, more;
    EXPECT_EQ(row.printOp(byReference, r.operation, 1, errors), r.letter != '-');
    EXPECT_EQ(row.printOp(byPointer, r.operation, 1, &more), r.letter != '-');
    EXPECT_EQ(byReference, r.letter) << r.operation;
    EXPECT_EQ(byPointer, r.letter) << r.operation;
    EXPECT_EQ(errors.report(), r.message);
    EXPECT_EQ(more.report(), r.message);
  }
}

TEST(ConnectionRow, StartsWithDefaultsAndDatesThatIncludeTheTimeOfDay) {
  BareRow row;
  EXPECT_EQ(row.settings(), "|%Y-%m-%d %H:%M:%S|%Y-%m-%d %H:%M:%S|%H:%M:%S");
  EXPECT_EQ(row.deliverySettings(), "||off");
  EXPECT_EQ(row.getStreamType(), nullptr);
  EXPECT_EQ(row.getSequenceNumber(), 0);
}

TEST(ConnectionRow, DeletesTheSchemaThatItOwnsAndNoOther) {
  SchemaCounts counts;
  TestSchema borrowed({}, &counts);
  {
    BareRow row;
    row.setStreamType(new TestSchema({}, &counts), true);
    row.setStreamType(new TestSchema({}, &counts), true);
    EXPECT_EQ(counts.deletions, 1);
    row.setStreamType(&borrowed, false);
    EXPECT_EQ(counts.deletions, 2);
    EXPECT_EQ(row.getStreamType(), &borrowed);
    row.clear();
    EXPECT_EQ(row.getStreamType(), nullptr);
    row.setStreamType(new TestSchema({}, &counts), true);
    row.setStreamName("Trades");
    row.clear();
    EXPECT_EQ(counts.deletions, 3);
    EXPECT_EQ(row.getStreamName(), "");
    row.clear();
    row.setStreamType(nullptr, true);
    row.setStreamType(new TestSchema({}, &counts), true);
  }
  EXPECT_EQ(counts.deletions, 4);
}

TEST(ConnectionRow, CopiesCommonSettingsAndClonesOnlyAnOwnedSchema) {
  SchemaCounts counts;
  TestSchema borrowed({}, &counts);
  {
    BareRow source, copy;
    source.setStreamName(std::string("Trades"));
    source.setDateFormat("%d");
    source.setTimestampFormat("%s");
    source.setTimeFormat("%H");
    source.setSequenceNumberColumnName("SEQ");
    source.setOpcodeColumnName("OP");
    source.enableGDMode();
    source.setStreamType(&borrowed, false);
    copy.setStreamType(new TestSchema({}, &counts), true);
    copy.copyCommonFrom(&source);
    EXPECT_EQ(copy.settings(), "Trades|%d|%s|%H");
    EXPECT_EQ(copy.deliverySettings(), "||off") << "delivery settings stay behind";
    EXPECT_EQ(copy.getStreamType(), &borrowed);
    EXPECT_EQ(counts.clones, 0);
    EXPECT_EQ(counts.deletions, 1) << "the copy's own former schema";

    source.setStreamType(new TestSchema({}, &counts), true);
    copy.copyCommonFrom(&source);
    EXPECT_NE(copy.getStreamType(), source.getStreamType());
    EXPECT_EQ(counts.clones, 1);
    source.clear();
    copy.copyCommonFrom(&source);
    EXPECT_EQ(copy.getStreamType(), nullptr);
    EXPECT_EQ(counts.deletions, 3);
  }
  EXPECT_EQ(counts.deletions, 3);
}

TEST(ConnectionRow, ComplainsOfEachOperationThatItDoesNotHave) {
  std::string text = "unchanged";
  const char* chars = nullptr;
  ConnectionErrors errors;
  BareRow bare;
  ConnectionRow& row = bare;
  const std::vector<std::function<bool()>> operations = {
      // each answers whether it gave zero, false or null
      [&] { return !row.getFieldAsString("A", text); },
      [&] { return !row.getFieldAsString("A", &chars); },
      [&] { return !row.setFieldAsString("A", text); },
      [&] { return !row.setFieldAsString("A", "1"); },
      [&] { return !row.getFieldAsString(1, text); },
      [&] { return !row.getFieldAsString(1, &chars); },
      [&] { return !row.setFieldAsString(1, text); },
      [&] { return !row.setFieldAsString(1, "1"); },
      [&] { return !row.appendFieldAsString(text); },
      [&] { return !row.appendFieldAsString("1"); },
      [&] { return row.getOp() == 0; },
      [&] { return row.setOp('i'), true; },
      [&] { return row.getFlagsAsString() == nullptr; },
      [&] { return !row.setFlagsAsString("s"); },
      [&] { return row.size() == 0; },
      [&] { return row.setSeparator(';'), true; },
      [&] { return row.setWithService(true), true; },
      [&] { return row.allocBuffer(8) == nullptr; },
      [&] { return row.setBuffer(text.data()), true; },
      [&] { return row.setRow(text.data(), 4), true; },
      [&] { return row.allocRow(8) == nullptr; },
      [&] { return row.adoptRow(nullptr), true; },
      [&] { return !row.validate(errors); },
      [&] { return !row.validate(&errors); },
      [&] { return row.getRow() == nullptr; },
      [&] { return row.getRowSize() == 0; },
  };
  ASSERT_EQ(operations.size(), 26u);
  for (std::size_t i = 0; i < operations.size(); ++i) {
    testing::internal::CaptureStderr();
    EXPECT_TRUE(operations[i]()) << i;
    EXPECT_EQ(testing::internal::GetCapturedStderr(),
              "CONNECTOR ERROR: an unimplemented method of ConnectionRow subtype called\n")
        << i;
  }
  EXPECT_TRUE(errors.empty());
}

TEST(ConnectionRow, RefusesRecordsUnlessASubclassReadsThem) {
  BareRow row;
  ConnectionErrors errors;
  EXPECT_FALSE(row.fromRow(nullptr, 1, &errors));
  EXPECT_FALSE(row.fromRow(nullptr, nullptr, 2, errors));
  const std::string message = "Conversion from raw rows to this subtype of ConnectionRow is not implemented.";
  EXPECT_EQ(errors.general(), std::vector<std::string>(2, message));
}

}  // namespace
