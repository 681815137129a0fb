// `kyv time`: one value through a date model, and what each token of the model did.

#include <algorithm>
#include <array>
#include <charconv>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "commands.h"
#include "complaint.h"
#include "kyv/string_utility.h"
#include "kyv/time_model.h"
#include "kyv/time_to_string.h"
#include "output_file.h"
#include "printable_text.h"

namespace kyv_internal {
namespace {

using DALVON::Kyv::strprintf;
using kyv::TimeType;

// A line of an error: the text, and a caret below some of it.
std::string pointedAt(std::string_view text, std::size_t position, std::size_t length) {
  const std::size_t before = countCharacters(text.substr(0, position));
  const std::size_t below = std::max<std::size_t>(1, countCharacters(text.substr(position, length)));
  return "    " + printable(text) + "\n    " + std::string(before, ' ') + '^' + std::string(below - 1, '~') + '\n';
}

// Of the second, in values of a type.
int fractionDigits(TimeType type) { return type == TimeType::kBigDateTime ? 6 : type == TimeType::kTimestamp ? 3 : 0; }

// Columns as wide as their widest cell; the last one is as long as it is.
std::string tableOf(const std::vector<std::array<std::string, 3>>& rows) {
  std::array<std::size_t, 2> widths{};
  for (const auto& row : rows) {
    for (std::size_t i = 0; i < widths.size(); ++i) widths[i] = std::max(widths[i], countCharacters(row[i]));
  }
  std::string table;
  for (const auto& row : rows) {
    for (std::size_t i = 0; i < widths.size(); ++i) {
      table += row[i] + std::string(widths[i] + 2 - countCharacters(row[i]), ' ');
    }
    table += row.back() + '\n';
  }
  return table;
}

class TimeRun {
 public:
  explicit TimeRun(const CommandOptions& options)
      : options_(options), model_(options.time.model, options.time.zone.c_str()) {}

  ExitStatus run() const {
    if (!DataTypes::isValidTimezone(options_.time.zone.c_str())) {
      complain("unknown time zone \"" + options_.time.zone + "\"");
      return ExitStatus::kUsage;
    }
    const bool formats = options_.time.action == TimeAction::kFormat;
    if (const kyv::ModelFault& fault = formats ? model_.formatFault() : model_.parseFault()) return refuse(fault);
    return formats ? format() : parse();
  }

 private:
  ExitStatus refuse(const kyv::ModelFault& fault) const {
    complainInLines(std::string(fault.message) + '\n' + pointedAt(options_.time.model, fault.position, fault.length));
    return ExitStatus::kUsage;
  }

  ExitStatus format() const {
    std::int64_t value = 0;
    const std::string& text = options_.time.value;
    const auto [end, status] = std::from_chars(text.data(), text.data() + text.size(), value);
    if (status != std::errc() || end != text.data() + text.size()) {
      complain("the value to format must be a whole number, a count since 1970");
      return ExitStatus::kUsage;
    }
    const kyv::ModelTrace trace = model_.traceFormat(options_.time.type, value);
    if (trace.failure != nullptr) {
      complain(trace.failure);
      return ExitStatus::kBadRows;
    }
    return write(options_.quiet ? *trace.text : printable(*trace.text), trace);
  }

  ExitStatus parse() const {
    const std::string& text = options_.time.value;
    const kyv::ModelTrace trace = model_.traceParse(options_.time.type, text);
    if (trace.failure == nullptr) return write(std::to_string(*trace.value) + inWords(*trace.value), trace);
    const std::string steps = options_.quiet ? "" : '\n' + table(trace);
    complainInLines(std::string(trace.failure) + '\n' + pointedAt(text, trace.end, 1) + steps);
    return ExitStatus::kBadRows;
  }

  // What the value means, so that nobody has to count seconds; nothing for years that have not four digits. Before 1970
  // a model would print the second after the one that has the fraction, so that is told apart here.
  std::string inWords(std::int64_t value) const {
    constexpr std::int64_t kFirstSecond = -62'167'219'200, kEndSecond = 253'402'300'800;
    const int digits = fractionDigits(options_.time.type);
    const std::int64_t units = digits == 6 ? 1'000'000 : digits == 3 ? 1000 : 1;
    const std::int64_t fraction = (value % units + units) % units;
    const std::int64_t seconds = value / units - (value % units < 0 ? 1 : 0);
    if (options_.quiet || seconds < kFirstSecond || seconds >= kEndSecond) return "";
    char room[64];
    const auto text = kyv::TimeModel("YYYY-MM-DD HH24:MI:SS").format(TimeType::kDate, seconds, room);
    const std::string rest = fraction > 0 ? strprintf(".%0*lld", digits, static_cast<long long>(fraction)) : "";
    return "  (" + std::string(text.value_or("")) + rest + " UTC)";
  }

  ExitStatus write(const std::string& result, const kyv::ModelTrace& trace) const {
    OutputFile output;
    std::string error;
    const std::string text = result + '\n' + (options_.quiet ? "" : '\n' + table(trace));
    if (output.open("-", error) && output.write(text, error) && output.commit(error)) return ExitStatus::kOk;
    if (output.readerHasGone()) return ExitStatus::kOk;
    complain(error);
    return ExitStatus::kFiles;
  }

  std::string table(const kyv::ModelTrace& trace) const {
    std::vector<std::array<std::string, 3>> rows = {{"token", "meaning", "text"}};
    for (const kyv::ModelStep& step : trace.steps) {
      const std::string token = options_.time.model.substr(step.position, step.length);
      rows.push_back({escaped(token), step.meaning, step.text.empty() ? "" : '"' + escaped(step.text) + '"'});
    }
    return tableOf(rows);
  }

  const CommandOptions& options_;
  kyv::TimeModel model_;
};

}  // namespace

ExitStatus runTime(const CommandOptions& options) { return TimeRun(options).run(); }

}  // namespace kyv_internal
