#include "load_rehearsal.h"

#include "complaint.h"
#include "load_publisher.h"

namespace kyv_internal {

void LoadRehearsal::tell(const std::string& line) const {
  if (!plan_.isQuiet) note(line);
}

bool LoadRehearsal::open(ProgressBar&, RunFault& fault) {
  std::optional<LoadPosition> start;
  StoreFailure failure;
  const LoadProject::Found found = project_.look(plan_.schema, start, failure);
  if (found == LoadProject::Found::kFailed) {
    fault = connectFault(failure, plan_.project);
    return false;
  }
  if (found == LoadProject::Found::kNoProject)
    tell("there is no project " + plan_.project.text() + ": it would be made");
  if (found == LoadProject::Found::kNoStream) tell("there is no stream " + plan_.schema.stream + ": it would be made");
  fault = {refuseStart(start, plan_.keyColumn.has_value(), plan_.adapter), ExitStatus::kUsage};
  if (fault.happened()) return false;
  cursor_.emplace(plan_.keyColumn, start);
  tell(start ? "would resume after " + start->text() : "would begin with the first row");
  return true;
}

bool LoadRehearsal::take(const ConvertedBlock& block, OutputRange range, RunFault& fault) {
  for (std::size_t at = range.begin; at < range.end;) {
    const std::size_t size = cursor_->advance(block, at);
    if (size == 0) {
      fault = {cursor_->fault(), ExitStatus::kFiles};
      return false;
    }
    at += size;
  }
  if (range.end == block.output.size()) cursor_->leave(block);
  return true;
}

void LoadRehearsal::finish(RunEnd end, RunSummary& summary, RunFault& fault) {
  summary.published = 0;
  if (end == RunEnd::kComplete) fault = {cursor_->faultAtEnd(), ExitStatus::kFiles};
}

}  // namespace kyv_internal
