#include "bad_row_log.h"

namespace kyv_internal {

bool BadRowLog::open(OutputFile::Content content, std::string& error) {
  return options_.rejects.empty() || rejects_.openInPlace(options_.rejects, content, error);
}

void BadRowLog::keep(std::string_view row) {
  if (!rejects_.isOpen()) return;
  pending_ += header_;
  header_.clear();
  pending_ += row;
}

bool BadRowLog::flush(std::string& error) {
  if (pending_.empty()) return true;
  const bool written = rejects_.write(pending_, error);
  pending_.clear();
  return written;
}

}  // namespace kyv_internal
