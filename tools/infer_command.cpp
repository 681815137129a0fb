#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <optional>

#include "block_reader.h"
#include "commands.h"
#include "complaint.h"
#include "conversion_run.h"
#include "framing.h"
#include "input_file.h"
#include "interrupt.h"
#include "output_file.h"
#include "progress_bar.h"
#include "run_summary.h"
#include "schema_file.h"
#include "text_guess.h"

namespace kyv_internal {
namespace {

constexpr char kInterruptedText[] = "interrupted";

std::string streamName(const std::string& path) {
  const std::string stem = path == "-" ? "" : std::filesystem::path(path).stem().string();
  return stem.empty() ? "stream" : stem;
}

void addBlock(TextGuess& guess, const Block& block) {
  const bool wholeLines = block.kind == BlockKind::kRecords || block.kind == BlockKind::kUnfinished;
  if (wholeLines) return guess.addLines(block.text());
  const auto lineFeeds = std::count(block.text().begin(), block.text().end(), '\n');
  guess.addOversizedLine(static_cast<std::uint64_t>(lineFeeds), block.kind == BlockKind::kOversized);
}

// Reads all lines and counts them. Nothing, with a message unless the run was interrupted, when the input cannot be
// read to its end or holds no rows.
std::optional<TextGuess::Result> guessFrom(const CommandOptions& options, InputFile& input, RunSummary& summary,
                                           std::string& error) {
  LineFraming framing;
  BlockReader reader(input, framing, kMostTextRowBytes);
  reader.dropByteOrderMark();
  ProgressBar progress(options.quiet ? Terminal::kNone : Terminal::kDetect, input.size());
  std::optional<TextGuess> guess;
  Block block;
  while (reader.next(block)) {
    if (!guess) guess.emplace(options.text, block.text());
    addBlock(*guess, block);
    summary.bytes = block.offset + block.text().size();
    summary.read = guess->rows();
    summary.rejected = guess->badRows();
    progress.update(block.offset, summary.read);
  }
  summary.seconds = progress.seconds();
  error = input.error();
  if (reader.failed()) return std::nullopt;
  std::optional<TextGuess::Result> result;
  if (guess) result = guess->finish();
  if (!result) {
    error = input.name() + ": holds no rows to learn from";
    return result;
  }
  summary.rejected = result->badRows;
  summary.read = result->schema.rows.value_or(0) + result->badRows;
  return result;
}

void tellNotes(const CommandOptions& options, const TextGuess::Result& result) {
  if (options.quiet) return;
  for (const std::string& text : result.notes) note(text);
  if (result.badRows > 0) {
    note(std::to_string(result.badRows) +
         " rows are left out because they are not like the others; the first is on line " +
         std::to_string(result.firstBadLine));
  }
}

void tellSummary(const CommandOptions& options, const RunSummary& summary) {
  if (!options.quiet) std::fprintf(stderr, "%s\n", summary.text().c_str());
}

// Tells what the user should know, and writes the schema. False with a message.
bool writeResult(const CommandOptions& options, TextGuess::Result& result, std::string& error) {
  result.schema.stream = streamName(options.input);
  result.schema.id = 1;
  tellNotes(options, result);
  OutputFile output;
  return output.open(options.output, error) && output.write(schemaText(result.schema), error) && output.commit(error);
}

}  // namespace

// A schema from all rows of a text.
ExitStatus runInfer(const CommandOptions& options) {
  if (isSameFile(options.input, options.output)) {
    complain("the output would replace the input");
    return ExitStatus::kUsage;
  }
  catchInterrupts();
  std::string error;
  InputFile input;
  if (!input.open(options.input, error)) {
    complain(interrupted() ? kInterruptedText : error);
    return interrupted() ? ExitStatus::kInterrupted : ExitStatus::kFiles;
  }
  RunSummary summary;
  std::optional<TextGuess::Result> result = guessFrom(options, input, summary, error);
  if (!result && interrupted()) {
    tellSummary(options, summary);
    complain(kInterruptedText);
    return ExitStatus::kInterrupted;
  }
  const bool written = result && writeResult(options, *result, error);
  if (!written) complain(error);
  tellSummary(options, summary);
  if (!written) return ExitStatus::kFiles;
  return summary.rejected > 0 ? ExitStatus::kBadRows : ExitStatus::kOk;
}

}  // namespace kyv_internal
