#pragma once

// Which records a stream takes, so that a row that it would refuse is a bad row like any other, and no other row of its
// batch suffers.

#include <string>

#include "row_converter.h"
#include "schema_file.h"

namespace kyv_internal {

// For rows of this schema. The columns of the stream's key must not be NULL, nor may the column of the delivery key,
// if there is one; a stream without a key takes inserts and upserts alone.
RecordCheck loadCheck(const SchemaFile& schema, const std::string& deliveryKey);

}  // namespace kyv_internal
