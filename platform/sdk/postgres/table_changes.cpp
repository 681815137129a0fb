#include "platform/sdk/postgres/table_changes.h"

#include "platform/sdk/postgres/log_blocks.h"
#include "platform/sdk/refusals.h"

namespace kyv_internal {

namespace {

bool isDelete(RowChange change) { return change == RowChange::Delete || change == RowChange::DeleteIfThere; }

}  // namespace

// Only the first change of a key depends on what is stored.
TableChanges::TableChanges(std::span<const PublishedRow> rows) : rows_(rows) {
  for (const PublishedRow& row : rows_) {
    const bool isFirst = keys_.try_emplace(row.key).second;
    if (isFirst && row.change != RowChange::Upsert) asked_.push_back(row.key);
  }
}

ArrayParameter TableChanges::questions() const {
  ArrayParameter keys(ArrayParameter::Of::Bytes);
  for (const std::string_view key : asked_) keys.addBytes(key);
  return keys;
}

bool TableChanges::resolve(const std::string& stream, std::int64_t& last, Failure& failure) {
  for (std::size_t i = 0; i < rows_.size(); ++i) {
    const PublishedRow& row = rows_[i];
    State& state = keys_.at(row.key);
    if (!state.isThere && row.change == RowChange::DeleteIfThere) continue;
    if (state.isThere && row.change == RowChange::Insert) return refuseKnownKey({i, rows_.size()}, stream, failure);
    if (!state.isThere && (row.change == RowChange::Update || row.change == RowChange::Delete)) {
      return refuseMissingKey({i, rows_.size()}, stream, failure);
    }
    state = {!isDelete(row.change), ++last, &row};
  }
  return true;
}

std::vector<Parameters> TableChanges::pieces(std::int64_t stream) const {
  ArrayParameter keys(ArrayParameter::Of::Bytes);
  ArrayParameter numbers(ArrayParameter::Of::Numbers);
  ArrayParameter gone(ArrayParameter::Of::Flags);
  ArrayParameter records(ArrayParameter::Of::Bytes);
  std::vector<Parameters> pieces;
  const auto endPiece = [&] {
    pieces.push_back(std::move(Parameters().number(stream).array(keys).array(numbers).array(gone).array(records)));
  };
  for (const auto& [key, state] : keys_) {
    if (state.last == nullptr) continue;
    if (keys.size() + records.size() + state.last->record.size() > kPieceBytes) endPiece();
    keys.addBytes(key);
    numbers.addNumber(state.number);
    gone.addFlag(!state.isThere);
    records.addBytes(state.last->record);
  }
  endPiece();
  return pieces;
}

}  // namespace kyv_internal
