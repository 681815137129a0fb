#include "file_sink.h"

namespace kyv_internal {

bool FileSink::open(ProgressBar&, RunFault& fault) {
  if (!output_.open(path_, fault.message)) return false;
  if (content_ == Content::kText || !output_.isTerminal()) return true;
  fault = {"records are not for a terminal's screen: name a file with -o, or redirect the output", ExitStatus::kUsage};
  return false;
}

bool FileSink::writePreamble(std::string& error) {
  const std::string preamble = std::move(preamble_);
  preamble_.clear();
  return output_.write(preamble, error);
}

bool FileSink::take(const ConvertedBlock& block, OutputRange range, RunFault& fault) {
  const std::string_view rows = block.output.view().substr(range.begin, range.end - range.begin);
  return writePreamble(fault.message) && output_.write(rows, fault.message);
}

void FileSink::finish(RunEnd end, RunSummary&, RunFault& fault) {
  if (end == RunEnd::kComplete && writePreamble(fault.message)) (void)output_.commit(fault.message);
}

std::string FileSink::remains() const { return output_.isTemporary() ? "; " + path_ + " was not written" : ""; }

}  // namespace kyv_internal
