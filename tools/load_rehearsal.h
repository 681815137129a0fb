#pragma once

// A load that writes nothing: it reads every row, and tells where the load would begin and what it would publish.
//
// Threads: as a sink.

#include <optional>
#include <string>
#include <utility>

#include "load_cursor.h"
#include "load_plan.h"
#include "row_sink.h"

namespace kyv_internal {

class LoadRehearsal final : public RowSink {
 public:
  LoadRehearsal(LoadPlan plan, std::string project) : plan_(std::move(plan)), project_(std::move(project)) {}

  bool open(ProgressBar& progress, RunFault& fault) override;
  std::uint64_t rowsToSkip() const override { return cursor_->rowsToSkip(); }
  void passOver(std::uint64_t rows) override { cursor_->passOver(rows); }
  DoneRows findDone(const ConvertedBlock& block) override { return cursor_->findDone(block); }
  bool take(const ConvertedBlock& block, OutputRange range, RunFault& fault) override;
  void finish(RunEnd end, RunSummary& summary, RunFault& fault) override;

 private:
  // False, with a fault, when the load could not begin.
  bool look(std::optional<LoadPosition>& start, RunFault& fault) const;
  void tell(const std::string& line) const;

  const LoadPlan plan_;
  const std::string project_;
  std::optional<LoadCursor> cursor_;
};

}  // namespace kyv_internal
