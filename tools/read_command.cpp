#include <algorithm>
#include <utility>

#include "commands.h"
#include "complaint.h"
#include "interrupt.h"
#include "kyv/data_types.h"
#include "kyv/string_utility.h"
#include "output_file.h"
#include "print_plan.h"
#include "printable_text.h"
#include "read_project.h"
#include "read_source.h"

namespace kyv_internal {
namespace {

using DALVON::Kyv::strprintf;

ExitStatus refuse(const ReadProject& project) {
  complain(project.error());
  return project.isUsageError() ? ExitStatus::kUsage : ExitStatus::kServer;
}

ExitStatus writeFile(const std::string& path, const std::string& text) {
  OutputFile file;
  std::string error;
  catchInterrupts();  // nor does a closed pipe end the process
  if (file.open(path, error) && file.write(text, error) && file.commit(error)) return ExitStatus::kOk;
  if (file.readerHasGone()) return ExitStatus::kOk;
  complain(error);
  return ExitStatus::kFiles;
}

// The stream, then a line for each column.
std::string streamText(const SchemaFile& schema) {
  const auto isKey = [&](const std::string& name) { return std::ranges::count(schema.key, name) > 0; };
  std::size_t width = 0;
  for (const auto& column : schema.columns) width = std::max(width, countCharacters(column.name));
  std::string text = strprintf("%s: %s, id %d\n", printable(schema.stream).c_str(),
                               schema.key.empty() ? "a log" : "a table", schema.id);
  for (const auto& column : schema.columns) {
    const std::string blanks(width - countCharacters(column.name) + 2, ' ');
    text += "  " + printable(column.name) + blanks + DataTypes::typeToString(column.type);
    text += isKey(column.name) ? ", key\n" : "\n";
  }
  return text;
}

ExitStatus listStreams(ReadProject& project, const CommandOptions& options) {
  std::vector<std::string> names;
  if (!project.listStreams(names)) return refuse(project);
  std::string text;
  for (const std::string& name : names) {
    SchemaFile schema;
    if (!project.describe(name, schema)) return refuse(project);
    text += options.form == PrintForm::kJson ? schemaLine(schema) : streamText(schema);
  }
  return writeFile(options.output, text);
}

// As the lines are written, so that they can be converted or loaded with it.
ExitStatus writeSchema(const CommandOptions& options, SchemaFile schema) {
  schema.text = options.text;
  schema.text.quoted = true;
  return writeFile(options.reading.schemaOut, schemaText(schema));
}

}  // namespace

// What a project holds, as text.
ExitStatus runRead(const CommandOptions& options) {
  const StreamReading& reading = options.reading;
  ReadProject project;
  if (!project.open(reading.project)) return refuse(project);
  if (reading.stream.empty()) return listStreams(project, options);
  SchemaFile schema;
  if (!project.describe(reading.stream, schema)) return refuse(project);
  PrintPlan print;
  if (!planPrint(options, schema, reading.numbers ? RowNumbers::kShown : RowNumbers::kHidden, print)) {
    return ExitStatus::kUsage;
  }
  if (!project.subscribe(reading.stream, reading.after)) return refuse(project);
  if (!reading.schemaOut.empty()) {
    if (const ExitStatus status = writeSchema(options, schema); status != ExitStatus::kOk) return status;
  }
  print.plan.source = std::make_unique<ReadSource>(project, reading.stream, reading.end);
  return ConversionRun(options, std::move(print.plan), std::move(print.sink)).run();
}

}  // namespace kyv_internal
