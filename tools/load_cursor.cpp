#include "load_cursor.h"

#include "load_messages.h"
#include "record_header.h"

namespace kyv_internal {

std::string LoadPosition::text() const {
  if (countsRows()) return "row " + std::to_string(key);
  return "key " + std::to_string(key) + " (" + std::to_string(rowsDone) + (rowsDone == 1 ? " row" : " rows") +
         " of it)";
}

std::string refuseStart(const std::optional<LoadPosition>& start, bool hasKeyColumn, const std::string& adapter) {
  if (!start || start->countsRows() != hasKeyColumn) return "";
  const std::string begun = "the delivery of adapter \"" + adapter + "\" was begun ";
  return begun + (hasKeyColumn ? "without --key-column" : "with --key-column") + ", and goes on only like that";
}

// Whether rows that the delivery has are still to come.
bool LoadCursor::isBehind() const {
  if (!start_) return false;
  return keyColumn_ ? startRows_ < start_->rowsDone : row_ < static_cast<std::uint64_t>(start_->key);
}

DoneRows LoadCursor::findDone(const ConvertedBlock& block) {
  gap_ = 0;
  DoneRows done;
  if (!keyColumn_) return done;
  while (isBehind() && done.bytes < block.output.size()) {
    const std::string_view record = recordAt(block.output.view(), done.bytes);
    passGaps(block, done.bytes);
    if (!passDone(record)) return done;
    ++row_;
    ++done.records;
    done.bytes += record.size();
  }
  done.isWhole = isBehind() && sawDone_;
  if (done.isWhole) leave(block);
  return done;
}

// False when the record's key is beyond those that the delivery has. The input must then have had all rows of its last
// key, or none of that key and of lower ones: its beginning may be cut off.
bool LoadCursor::passDone(std::string_view record) {
  const std::int64_t key = keyOf(record);
  if (key == start_->key) ++startRows_;
  sawDone_ = sawDone_ || key <= start_->key;
  if (key <= start_->key) return true;
  if (!sawDone_) {
    start_.reset();
    return false;
  }
  fault_ = userMessage("sourceDiffers",
                       {std::to_string(start_->rowsDone), std::to_string(start_->key), std::to_string(startRows_)});
  return false;
}

std::size_t LoadCursor::advance(const ConvertedBlock& block, std::size_t at) {
  const std::string_view record = recordAt(block.output.view(), at);
  passGaps(block, at);
  ++row_;
  return fault_.empty() && countRow(record) ? record.size() : 0;
}

bool LoadCursor::countRow(std::string_view record) {
  if (!keyColumn_) {
    last_ = {static_cast<std::int64_t>(row_), 0};
    return true;
  }
  const std::int64_t key = keyOf(record);
  if (last_ && key < last_->key) {
    fault_ = userMessage("keyFalls", {std::to_string(row_), std::to_string(last_->key), std::to_string(key)});
    return false;
  }
  const bool isAnother = !last_ || key > last_->key;
  last_ = {key, isAnother ? 1 : last_->rowsDone + 1};
  return true;
}

void LoadCursor::leave(const ConvertedBlock& block) { passGaps(block, block.output.size()); }

void LoadCursor::passGaps(const ConvertedBlock& block, std::size_t at) {
  for (; gap_ < block.gaps.size() && block.gaps[gap_].outputBytes <= at; ++gap_) row_ += block.gaps[gap_].rows;
}

// Records without one are bad rows, and never come here.
std::int64_t LoadCursor::keyOf(std::string_view record) const {
  const char* const value = record.data() + recordOffset(record.data(), keyColumn_->column);
  return keyColumn_->isLong ? load<std::int64_t>(value) : load<std::int32_t>(value);
}

std::string LoadCursor::faultAtEnd() const {
  if (!isBehind() || (keyColumn_ && !sawDone_)) return "";
  if (!keyColumn_) return userMessage("sourceTooShort", {std::to_string(row_), std::to_string(start_->key)});
  return userMessage("sourceDiffers",
                     {std::to_string(start_->rowsDone), std::to_string(start_->key), std::to_string(startRows_)});
}

}  // namespace kyv_internal
