#include "record_checker.h"

#include <algorithm>
#include <span>
#include <utility>

#include "kyv/data_types.h"
#include "row2/row2_layout.h"

namespace kyv_internal {
namespace {

const Row2* recordOf(std::string_view bytes) {
  return static_cast<const Row2*>(static_cast<const void*>(bytes.data()));
}

}  // namespace

RecordChecker::RecordChecker(const kyv::StreamSchema& schema) : columns_(schema.getColumnCount()) {
  for (int i = 0; i < columns_; ++i) types_.push_back(schema.getColumnType(i));
  types_.push_back(DataTypes::kUndefined);
}

bool RecordChecker::isHostOrder(std::string_view record) {
  if (record.size() < kTableOffset) return true;
  return (load<std::uint32_t>(at(record.data(), kFlagsOffset)) & kBigEndianFlag) == kHostByteOrderFlag;
}

std::string_view RecordChecker::toHostOrder(std::string_view record, std::string& error) {
  converted_ = record;
  auto* const copy = static_cast<Row2*>(static_cast<void*>(converted_.data()));
  const bool sound = copy->validateVarToNativeByteOrder(error, columns_, 0, types_.data(), nullptr);
  return sound ? std::string_view(converted_) : std::string_view();
}

// The whole check comes first: it alone knows where in the record a fault lies.
const std::vector<Row2::Fault>& RecordChecker::check(std::string_view record) {
  faults_.clear();
  Row2::Fault fault;
  const auto bytes = std::as_bytes(std::span(record));
  if (!Row2::validateUntrusted(fault, bytes, columns_, 0, types_.data(), nullptr)) add(std::move(fault));
  checkAsReceived(record);
  return faults_;
}

// The checks that a receiver runs.
void RecordChecker::checkAsReceived(std::string_view record) {
  std::string error;
  const bool hasOpcode = record.size() >= kStreamIdOffset;  // the word behind it
  if (hasOpcode && !recordOf(record)->validateOpcode(error)) add({error, 0});
  const bool sound = isHostOrder(record) ? recordOf(record)->validateVar(error, columns_, 0, types_.data(), nullptr)
                                         : !toHostOrder(record, error).empty();
  if (!sound) add({error, 0});
}

// Two checks often say the same.
void RecordChecker::add(Row2::Fault fault) {
  const bool known = std::any_of(faults_.begin(), faults_.end(),
                                 [&](const Row2::Fault& other) { return other.message == fault.message; });
  if (!known) faults_.push_back(std::move(fault));
}

}  // namespace kyv_internal
