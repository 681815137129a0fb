#include "load_rehearsal.h"

#include <algorithm>
#include <vector>

#include "complaint.h"
#include "load_publisher.h"
#include "read_project.h"

namespace kyv_internal {
namespace {

std::vector<std::string> inOrder(std::vector<std::string> names) {
  std::sort(names.begin(), names.end());
  return names;
}

bool isSameStream(const SchemaFile& left, const SchemaFile& right) {
  const auto isSame = [](const kyv::StreamColumn& one, const kyv::StreamColumn& other) {
    return one.name == other.name && one.type == other.type;
  };
  return left.id == right.id && inOrder(left.key) == inOrder(right.key) &&
         std::equal(left.columns.begin(), left.columns.end(), right.columns.begin(), right.columns.end(), isSame);
}

RunFault faultOf(const ReadProject& project, const std::string& name) {
  return connectFault({project.isUsageError() ? KYV_ERROR_USAGE : KYV_ERROR_STORE, project.error()}, name);
}

}  // namespace

void LoadRehearsal::tell(const std::string& line) const {
  if (!plan_.isQuiet) note(line);
}

bool LoadRehearsal::look(std::optional<LoadPosition>& start, RunFault& fault) const {
  ReadProject project;
  const auto lacks = [&](const std::string& what) {
    if (project.isMissing()) {
      tell("there is no " + what + " yet");
    } else {
      fault = faultOf(project, project_);
    }
    return !fault.happened();
  };
  if (!project.open(project_) || !project.readDelivery(plan_.adapter, start)) return lacks("project " + project_);
  SchemaFile there;
  if (!project.describe(plan_.schema.stream, there)) return lacks("stream " + plan_.schema.stream);
  if (!isSameStream(there, plan_.schema)) fault = connectFault(otherDefinition(there.stream), project_);
  return !fault.happened();
}

bool LoadRehearsal::open(ProgressBar&, RunFault& fault) {
  std::optional<LoadPosition> start;
  if (!look(start, fault)) return false;
  const std::string refusal = refuseStart(start, plan_.keyColumn.has_value(), plan_.adapter);
  if (!refusal.empty()) {
    fault = {refusal, ExitStatus::kUsage};
    return false;
  }
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
