#pragma once

// The rows of a run, one after another in a file that appears when the run is through.

#include <string>
#include <string_view>

#include "output_file.h"
#include "row_sink.h"

namespace kyv_internal {

class FileSink final : public RowSink {
 public:
  enum class Content { kText, kRecords };

  // Writes `preamble` before all rows. "-" is standard output; records do not go to a terminal.
  FileSink(std::string path, Content content, std::string preamble = "")
      : path_(std::move(path)), content_(content), preamble_(std::move(preamble)) {}

  bool open(ProgressBar& progress, RunFault& fault) override;
  bool take(const ConvertedBlock& block, OutputRange range, RunFault& fault) override;
  void finish(RunEnd end, RunSummary& summary, RunFault& fault) override;

  bool isUnwanted() const override { return output_.readerHasGone(); }
  bool usesStandardOutput() const override { return output_.isStandardOutput(); }
  std::string remains() const override;

 private:
  bool writePreamble(std::string& error);

  std::string path_;
  Content content_;
  std::string preamble_;  // until it is written
  OutputFile output_;
};

}  // namespace kyv_internal
