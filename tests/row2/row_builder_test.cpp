#include "row2/row_builder.h"

#include <gtest/gtest.h>

#include "tests/support/test_schema.h"

namespace {

// No text is read before the size is known, so that one byte can stand for gigabytes.
TEST(RowBuilder, RefusesARecordThatItsLengthCannotTell) {
  const kyv_test::TestSchema schema({{"A", DataTypes::kString}});
  const kyv_internal::RowFormats formats;
  const kyv_internal::ColumnType columns[] = {kyv_internal::columnTypeOf(DataTypes::kString)};
  const kyv_internal::RowField fields[] = {{"x", 0x80000000 - 28 - 1}};
  const kyv_internal::RowSource source{schema, formats, columns, fields,        StreamInterface::Insert,
                                       false,  1,       1,       fields[0].size};
  ConnectionErrors errors;
  int failedColumn = 7;
  EXPECT_EQ(buildRecord(source, errors, failedColumn), nullptr);
  EXPECT_EQ(errors.report(), "record 1: too long for stream 'Trades', 2147483648 bytes of at most 2147483647");
  EXPECT_EQ(failedColumn, kyv_internal::kNoColumn);
  kyv::ByteBuffer out;
  EXPECT_FALSE(appendRecord(source, errors, failedColumn, out));
  EXPECT_TRUE(out.empty());
}

}  // namespace
