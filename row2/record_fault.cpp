#include "row2/record_fault.h"

#include <string>
#include <utility>

#include "kyv/data_types.h"
#include "kyv/string_utility.h"

namespace kyv_internal {

namespace {

using DALVON::Kyv::strprintf;

// How an entry of the offset table is called.
std::string entryName(const RecordHeader& header, std::size_t index) {
  if (index == header.entries()) return "end-of-data";
  if (index < header.columns) return strprintf("column %d", static_cast<int>(index));
  return strprintf("option %d", static_cast<int>(index - header.columns));
}

// What printf takes for "%X".
unsigned int hex(std::int64_t number) { return static_cast<unsigned int>(number); }

std::size_t positionOf(std::int64_t offset) { return static_cast<std::size_t>(offset); }

}  // namespace

bool RecordFault::say(std::size_t position, std::string message) const {
  fault_.position = position;
  fault_.message = std::move(message);
  return false;
}

bool RecordFault::beyondBytes(std::int32_t length, std::size_t bytes) const {
  return say(kLengthOffset,
             strprintf("record length 0x%X is invalid, past the 0x%zX bytes that are there", hex(length), bytes));
}

bool RecordFault::noTypes(const char* operation) const {
  return say(0, strprintf("Row2::%s requires the types argument to be non-NULL", operation));
}

bool RecordFault::opcode(const RecordHeader& header) const {
  return say(kOpcodeOffset, strprintf("unexpected opcode 0x%02X", hex(header.opcode)));
}

bool RecordFault::columnCount(const RecordHeader& header, const RecordSchema& schema) const {
  const auto columns = static_cast<int>(header.columns);
  return say(kCountsOffset, schema.repeatColumns != 0
                                ? strprintf("incorrect column count, expected %d[%d]* columns, row contains %d columns",
                                            schema.fixedColumns, schema.repeatColumns, columns)
                                : strprintf("incorrect column count, expected %d columns, row contains %d columns",
                                            schema.fixedColumns, columns));
}

bool RecordFault::tooShort(const RecordHeader& header) const {
  return say(kLengthOffset,
             strprintf("record is too short for %d columns and %d options, payload offset 0x%X, record length 0x%X",
                       static_cast<int>(header.columns), static_cast<int>(header.options), hex(header.payload()),
                       hex(header.length)));
}

bool RecordFault::optionCount(const RecordHeader& header, int flagged) const {
  return say(kFlagsOffset,
             strprintf("incorrect option count, flags 0x%08X indicate %d options, row contains %d options",
                       header.flags, flagged, static_cast<int>(header.options)));
}

bool RecordFault::entryPastLength(const RecordHeader& header, std::size_t index, std::int32_t entry) const {
  return say(entryOffset(index), strprintf("%s offset 0x%X is invalid, past record length of 0x%X",
                                           entryName(header, index).c_str(), hex(entry), hex(header.length)));
}

bool RecordFault::entryOverlaps(const RecordHeader& header, std::size_t index, std::int32_t entry,
                                std::int32_t previous) const {
  return say(entryOffset(index), strprintf("%s offset 0x%X is invalid, overlapping with previous known offset 0x%X",
                                           entryName(header, index).c_str(), hex(entry), hex(previous)));
}

bool RecordFault::noValue(std::size_t column, std::int32_t entry) const {
  return say(entryOffset(column), strprintf("column %d contains a %s, not allowed", static_cast<int>(column),
                                            entry == 0 ? "NULL" : "SHINE"));
}

bool RecordFault::stringLength(std::size_t column, ValueExtent value) const {
  return say(entryOffset(column),
             strprintf("column %d STRING length 0x%X is invalid", static_cast<int>(column), hex(value.length())));
}

bool RecordFault::stringEnd(std::size_t column, ValueExtent value, unsigned char last) const {
  return say(positionOf(value.end - 1),
             strprintf("column %d STRING is not 0-terminated (last byte 0x%02X at offset %d)", static_cast<int>(column),
                       last, static_cast<int>(value.length() - 1)));
}

bool RecordFault::valueLength(std::size_t column, unsigned int type, ValueExtent value, std::size_t need) const {
  return say(positionOf(value.begin),
             strprintf("column %d %s length 0x%X is too short (need 0x%X)", static_cast<int>(column),
                       DataTypes::typeToStringUpper(type), hex(value.length()), static_cast<unsigned int>(need)));
}

bool RecordFault::binaryPrefix(std::size_t column, ValueExtent value, std::uint32_t prefix) const {
  return say(positionOf(value.begin),
             strprintf("column %d BINARY prefix 0x%X is invalid, past the value's length of 0x%X",
                       static_cast<int>(column), prefix, hex(value.length())));
}

bool RecordFault::decimalDigits(std::size_t column, ValueExtent value, unsigned int precision,
                                unsigned int scale) const {
  return say(
      positionOf(value.begin) + kDecimalScaleOffset,
      strprintf("column %d DECIMAL precision %u and scale %u are invalid", static_cast<int>(column), precision, scale));
}

bool RecordFault::decimalValue(std::size_t column, ValueExtent value, unsigned int precision) const {
  return say(positionOf(value.begin),
             strprintf("column %d DECIMAL value has more than %u digits", static_cast<int>(column), precision));
}

bool RecordFault::latencyLength(std::int64_t length, std::size_t position) const {
  return say(position,
             strprintf("option INSTRUMENT_LATENCY length 0x%X is incorrect, must be a multiple of 4 and at least 0x10",
                       hex(length)));
}

}  // namespace kyv_internal
