// The flat functions over types and values.

#include <string>

#include "kyv/data_types.h"
#include "kyv/data_value.h"
#include "kyv/flat.h"
#include "services/handle_cell.h"

namespace {

constexpr int kLastPlainType = 9;

}  // namespace

unsigned int getDataType(int number) {
  // Required as is: every number that is no plain type is a timestamp.
  return number >= 0 && number <= kLastPlainType ? static_cast<unsigned int>(number) : DataTypes::kTimestamp;
}

char* typeToString(int number) {
  return kyv_internal::guarded<char*>(
      nullptr, [number] { return kyv_internal::newText(DataTypes::typeToString(getDataType(number))); });
}

const char* typeToStringUpper(int number) { return DataTypes::typeToStringUpper(getDataType(number)); }

void convertToString(unsigned int type, bool swap, bool zoneSuffix, unsigned char* data, char* out,
                     unsigned long outSize) {
  DataTypes::convertToString(type, swap, zoneSuffix, data, out, outSize);
}
