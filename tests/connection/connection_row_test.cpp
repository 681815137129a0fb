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

// What parseOp makes of a letter, as a number, or its message; both overloads agree.
std::string parsedOp(BareRow& row, char letter) {
  auto byReference = static_cast<StreamInterface::StreamOperations>(0), byPointer = byReference;
  ConnectionErrors errors, more;
  const bool known = row.parseOp(byReference, letter, 7, errors);
  EXPECT_EQ(row.parseOp(byPointer, letter, 7, &more), known);
  EXPECT_EQ(byPointer, byReference);
  EXPECT_EQ(byReference != 0, known);
  EXPECT_EQ(more.report(), errors.report());
  return known ? std::to_string(byReference) : errors.report();
}

TEST(ConnectionRow, ReadsOperationLettersInEitherCase) {
  BareRow row;
  std::string operations;
  for (const char letter : std::string("iudpIUDP")) operations += parsedOp(row, letter);
  EXPECT_EQ(operations, "13571357");
  for (const char letter : {'x', 'X', ' '}) {
    EXPECT_EQ(parsedOp(row, letter), std::string("record 7: unknown operation '") + letter + "', not i/u/d/p");
  }
  for (const char letter : {'\n', '\0', '\x7F', '\xE9'}) {
    EXPECT_EQ(parsedOp(row, letter), "record 7: unknown operation '?', not i/u/d/p");
  }
}

// The letter of an operation, or the message.
std::string printedOp(BareRow& row, int operation) {
  char byReference = '-', byPointer = '-';
  ConnectionErrors errors, more;
  const bool known = row.printOp(byReference, operation, 1, errors);
  EXPECT_EQ(row.printOp(byPointer, operation, 1, &more), known);
  EXPECT_EQ(byPointer, byReference);
  EXPECT_EQ(byReference != '-', known);
  EXPECT_EQ(more.report(), errors.report());
  return known ? std::string(1, byReference) : errors.report();
}

TEST(ConnectionRow, PrintsOperationsAndBothDeletesAlike) {
  BareRow row;
  std::string letters;
  for (const int operation : {1, 3, 5, 13, 7}) letters += printedOp(row, operation);
  EXPECT_EQ(letters, "iuddp");
  EXPECT_EQ(printedOp(row, 2), "record 1: unknown operation '0x2', not i/u/d/p");
  EXPECT_EQ(printedOp(row, 255), "record 1: unknown operation '0xff', not i/u/d/p");
  EXPECT_EQ(printedOp(row, -1), "record 1: unknown operation '0xffffffff', not i/u/d/p");
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
