#pragma once

// A load that writes nothing: it reads every row, and tells where the load would begin and what it would publish.
//
// Threads: as a sink.

#include <cstdint>
#include <optional>

#include "load_cursor.h"
#include "load_plan.h"
#include "load_project.h"
#include "row_sink.h"

namespace kyv_internal {

class LoadRehearsal final : public RowSink {
 public:
  explicit LoadRehearsal(LoadPlan plan) : plan_(std::move(plan)), project_(plan_.project, plan_.adapter) {}

  bool open(ProgressBar& progress, RunFault& fault) override;
  std::uint64_t rowsToSkip() const override { return cursor_->rowsToSkip(); }
  void passOver(std::uint64_t rows) override { cursor_->passOver(rows); }
  DoneRows findDone(const ConvertedBlock& block) override { return cursor_->findDone(block); }
  bool take(const ConvertedBlock& block, OutputRange range, RunFault& fault) override;
  void finish(RunEnd end, RunSummary& summary, RunFault& fault) override;

 private:
  void tell(const std::string& line) const;

  const LoadPlan plan_;
  LoadProject project_;
  std::optional<LoadCursor> cursor_;
};

}  // namespace kyv_internal
