#include "command_line.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <array>
#include <charconv>
#include <chrono>
#include <functional>
#include <map>
#include <string>
#include <string_view>

#include "commands.h"
#include "complaint.h"
#include "version.h"

namespace kyv_internal {
namespace {

constexpr std::size_t kMostThreads = 64;
constexpr std::uint64_t kMostErrors = 1'000'000'000;
constexpr std::uint64_t kMostBatchRows = 1'000'000;
constexpr std::uint64_t kMostSeconds = 1'000'000;
constexpr std::uint64_t kMostMilliseconds = 1'000'000'000;

struct Command {
  const char* name;
  const char* summary;
  const char* example;  // a reader pastes it into an empty folder, and it works
  void (*addOptions)(CLI::App& app, CommandOptions& options);
  ExitStatus (*run)(const CommandOptions& options);
};

// --- Options that several commands share ---

void addInput(CLI::App& app, CommandOptions& options, const char* name, const char* help) {
  app.add_option(name, options.input, help)->required()->type_name("");
}

void addOutput(CLI::App& app, CommandOptions& options) {
  app.add_option("-o,--output", options.output, "Where the result goes; - is standard output, the default")
      ->type_name("FILE");
}

void addSchema(CLI::App& app, CommandOptions& options) {
  app.add_option("-s,--schema", options.schema, "The stream's schema, as kyv infer writes it")
      ->required()
      ->type_name("FILE");
}

std::string checkSeparator(std::string& text) {
  if (text == "\\t" || text == "tab") text = "\t";
  const char* const problem = refuseSeparator(text);
  return problem == nullptr ? "" : problem;
}

void addSeparator(CLI::App& app, CommandOptions& options) {
  app.add_option_function<std::string>(
         "--separator", [&options](const std::string& text) { options.text.separator = text.front(); },
         "The character between fields (\\t for a tab); a comma unless the schema says otherwise")
      ->type_name("C")
      ->transform(CLI::Validator(checkSeparator, ""));
}

void addFlag(CLI::App& app, const char* name, std::optional<bool>& flag, bool value, const char* help) {
  app.add_flag_callback(
      name, [&flag, value] { flag = value; }, help);
}

void addHeaders(CLI::App& app, CommandOptions& options) {
  addFlag(app, "--header", options.text.header, true, "The first line holds column names");
  addFlag(app, "--no-header", options.text.header, false, "The first line is a row");
}

void addQuoted(CLI::App& app, CommandOptions& options) {
  addFlag(app, "--quoted", options.text.quoted, true,
          "Fields in double quotes may hold separators and line ends (RFC 4180)");
  addFlag(app, "--no-quoted", options.text.quoted, false, "Quotes protect nothing");
}

CLI::Option* addFormat(CLI::App& app, const char* name, std::optional<std::string>& format, const char* help) {
  return app
      .add_option_function<std::string>(
          name, [&format](const std::string& text) { format = text; }, help)
      ->type_name("F")
      ->check([](const std::string& text) { return std::string(text.empty() ? "is empty" : ""); });
}

void addDateFormats(CLI::App& app, CommandOptions& options) {
  addFormat(app, "--date-format", options.text.dateFormat, "How dates are written, such as %d.%m.%Y");
  addFormat(app, "--timestamp-format", options.text.timestampFormat,
            "How timestamps are written, such as %Y-%m-%dT%H:%M:%S, fractions of a second aside");
}

// A type is written by a format or by a model, not by both.
void addModel(CLI::App& app, const std::string& type, std::optional<std::string>& model, const char* help) {
  addFormat(app, ("--" + type + "-model").c_str(), model, help)
      ->type_name("M")
      ->excludes(app.get_option("--" + type + "-format"));
}

void addFormats(CLI::App& app, CommandOptions& options) {
  addDateFormats(app, options);
  addFormat(app, "--time-format", options.text.timeFormat, "How times of day are written, such as %H:%M");
  addModel(app, "date", options.text.dateModel, "The same as a date model, such as DD.MM.YYYY");
  addModel(app, "timestamp", options.text.timestampModel,
           "The same as a date model, such as \"YYYY-MM-DD HH24:MI:SS.FF\"");
  addModel(app, "time", options.text.timeModel, "The same as a date model, such as \"HH:MI AM\"");
}

void addService(CLI::App& app, CommandOptions& options, const char* help) {
  app.add_flag("--service", options.text.service, help);
}

// A number between two others, with a message that says so.
CLI::Option* addNumber(CLI::App& app, const char* name, const char* help, std::uint64_t least, std::uint64_t most,
                       const std::function<void(std::uint64_t)>& store) {
  const auto check = [least, most](const std::string& text) -> std::string {
    std::uint64_t value = 0;
    const auto [end, status] = std::from_chars(text.data(), text.data() + text.size(), value);
    const bool whole = status == std::errc() && end == text.data() + text.size();
    if (whole && value >= least && value <= most) return "";
    return "must be a whole number from " + std::to_string(least) + " to " + std::to_string(most);
  };
  return app.add_option_function<std::uint64_t>(name, store, help)->type_name("N")->check(check);
}

void addPermutation(CLI::App& app, CommandOptions& options, const char* help) {
  app.add_option("--permutation", options.permutation, help)->type_name("TEXT");
}

void addThreads(CLI::App& app, CommandOptions& options) {
  addNumber(app, "--threads", "Threads that convert side by side; the output stays in order", 1, kMostThreads,
            [&options](std::uint64_t count) { options.threads = count; });
}

void addPrintForm(CLI::App& app, CommandOptions& options) {
  const auto store = [&options](const std::string& name) {
    options.form = name == "json" ? PrintForm::kJson : PrintForm::kDelimited;
  };
  const auto check = [](const std::string& name) -> std::string {
    return name == "csv" || name == "json" ? "" : "must be csv or json";
  };
  app.add_option_function<std::string>("--format", store, "csv: delimited text, the default; json: an object a line")
      ->type_name("NAME")
      ->check(check);
}

void addQuiet(CLI::App& app, CommandOptions& options) {
  app.add_flag("-q,--quiet", options.quiet, "Say nothing but what ends the run: no progress, bad rows or summary");
}

void addMaxErrors(CLI::App& app, CommandOptions& options, const char* help) {
  addNumber(app, "--max-errors", help, 1, kMostErrors, [&options](std::uint64_t count) { options.maxErrors = count; });
}

void addReporting(CLI::App& app, CommandOptions& options, const char* maxErrorsHelp) {
  addQuiet(app, options);
  app.add_flag("--json", options.json, "The summary as JSON, on standard output where that is free");
  addMaxErrors(app, options, maxErrorsHelp);
}

// Which records of a file.
void addRecordChoice(CLI::App& app, CommandOptions& options) {
  const auto store = [&options](const std::string& text) { options.records = *parseRecordChoice(text); };
  const auto check = [](const std::string& text) -> std::string {
    return parseRecordChoice(text) ? "" : "must be a record's number from 1, or two with a dash between, such as 7-9";
  };
  CLI::Option* const record = app.add_option_function<std::string>(
                                     "--record", store, "Show this record, or from one to another; else the first 3")
                                  ->type_name("N[-M]")
                                  ->check(check);
  app.add_flag_callback(
         "--all",
         [&options] {
           options.records = {1, RecordChoice::kAll};
         },
         "Show all records")
      ->excludes(record);
}

void addColour(CLI::App& app, CommandOptions& options) {
  const auto store = [&options](const std::string& name) {
    options.colour = name == "always"  ? ColourChoice::kAlways
                     : name == "never" ? ColourChoice::kNever
                                       : ColourChoice::kAuto;
  };
  const auto check = [](const std::string& name) -> std::string {
    return name == "auto" || name == "always" || name == "never" ? "" : "must be auto, always or never";
  };
  app.add_option_function<std::string>("--color", store, "auto: on a terminal, unless NO_COLOR is set; always; never")
      ->type_name("WHEN")
      ->check(check);
}

// A number has one spelling: guaranteed delivery, which takes it as an integer, would look for p:01 at p:1.
std::string checkProject(const std::string& text) {
  const std::size_t colon = text.rfind(':');
  const bool isNumber = colon != std::string::npos && colon > 0 && colon + 1 < text.size() &&
                        text.find_first_not_of("0123456789", colon + 1) == std::string::npos;
  if (!isNumber) return "must be a path, a colon and a number, such as rates/live:1";
  const bool hasLeadingZero = text[colon + 1] == '0' && colon + 2 < text.size();
  return hasLeadingZero ? "the number must be without leading zeros" : "";
}

void addProject(CLI::App& app, std::string& project, const char* help) {
  app.add_option("--project", project, help)->required()->type_name("PATH:N")->check(checkProject);
}

// --- The commands ---

void addInferOptions(CLI::App& app, CommandOptions& options) {
  addInput(app, options, "DATA.csv", "Delimited text; - is standard input");
  addOutput(app, options);
  addHeaders(app, options);
  addQuoted(app, options);
  addSeparator(app, options);
  addDateFormats(app, options);
  addQuiet(app, options);
}

// How delimited text becomes records, and what becomes of bad rows.
void addTextConversion(CLI::App& app, CommandOptions& options) {
  addHeaders(app, options);
  addQuoted(app, options);
  addSeparator(app, options);
  addService(app, options, "Lines begin with the stream's name and the operation: i, u, d or p");
  addPermutation(app, options,
                 "Which field each column is taken from: COLUMN=FIELD:COLUMN=FIELD..., fields by their names in the "
                 "header, or field_00, field_01, ... without one");
  addFormats(app, options);
  addThreads(app, options);
  app.add_option("--rejects", options.rejects, "Keep the bad rows as they stand, to repair and convert them later")
      ->type_name("FILE");
}

void addConvertOptions(CLI::App& app, CommandOptions& options) {
  addInput(app, options, "DATA.csv", "Delimited text; - is standard input");
  addSchema(app, options);
  addOutput(app, options);
  addTextConversion(app, options);
  addReporting(app, options, "Stop at the Nth bad row and leave no output file");
}

void addPrintOptions(CLI::App& app, CommandOptions& options) {
  addInput(app, options, "DATA.rows", "Records, as kyv convert writes them; - is standard input");
  addSchema(app, options);
  addOutput(app, options);
  addPrintForm(app, options);
  addFlag(app, "--header", options.text.header, true, "Begin with a line of column names");
  addSeparator(app, options);
  addService(app, options, "Begin each line with the stream's name and the operation: i, u, d or p");
  addPermutation(app, options,
                 "Which fields to write, and in which order: COLUMN=FIELD:COLUMN=FIELD..., as for convert");
  addFormats(app, options);
  addThreads(app, options);
  addReporting(app, options, "Stop at the Nth bad row and leave no output file");
}

void addCheckOptions(CLI::App& app, CommandOptions& options) {
  addInput(app, options, "DATA.rows", "Records, as kyv convert writes them; - is standard input");
  addSchema(app, options);
  addQuiet(app, options);
  app.add_flag("--json", options.json, "What is wrong and the summary as JSON, a line each, on standard output");
  addMaxErrors(app, options, "Stop at the Nth bad record");
}

void addReadOptions(CLI::App& app, CommandOptions& options) {
  constexpr auto kMost = static_cast<std::uint64_t>(INT64_MAX);
  StreamReading& reading = options.reading;
  addProject(app, reading.project, "The project; it must be there");
  CLI::Option* const stream =
      app.add_option("--stream", reading.stream, "The stream; without it the project's streams are listed")
          ->type_name("NAME");
  addOutput(app, options);
  addPrintForm(app, options);
  addNumber(app, "--from", "Begin behind the row of this number", 0, kMost, [&](std::uint64_t number) {
    reading.after = static_cast<std::int64_t>(number);
  })->needs(stream);
  addNumber(app, "--limit", "At most so many rows", 0, kMost, [&](std::uint64_t rows) {
    reading.end.limit = rows;
  })->needs(stream);
  app.add_flag("--follow", reading.end.follows, "Wait for more rows, until Ctrl-C")->needs(stream);
  CLI::Option* const numbers =
      app.add_flag("--numbers", reading.numbers, "Begin each line with the row's number and operation")->needs(stream);
  app.add_option("--schema-out", reading.schemaOut, "Write the stream's schema, for convert and load, to a file")
      ->type_name("FILE")
      ->needs(stream);
  addFlag(app, "--header", options.text.header, true, "Begin with a line of column names");
  addSeparator(app, options);
  addService(app, options, "Begin each line with the stream's name and the operation: i, u, d or p");
  numbers->excludes(app.get_option("--service"));
  addPermutation(app, options,
                 "Which fields to write, and in which order: COLUMN=FIELD:COLUMN=FIELD..., as for convert");
  addFormats(app, options);
  addThreads(app, options);
  addQuiet(app, options);
  app.add_flag("--json", options.json, "The summary as JSON, on standard output where that is free");
}

void addInspectOptions(CLI::App& app, CommandOptions& options) {
  addInput(app, options, "DATA.rows", "Records, as kyv convert writes them; - is standard input");
  addSchema(app, options);
  addRecordChoice(app, options);
  CLI::Option* const html =
      app.add_option("--html", options.html, "Write a page for a browser instead; - is standard output")
          ->type_name("FILE");
  app.add_flag("--raw", options.raw, "Write plain dumps instead")->excludes(html);
  addColour(app, options);
  addFormats(app, options);
  addQuiet(app, options);
}

void addDelivery(CLI::App& app, LoadOptions& load) {
  const auto addText = [&](const char* name, std::string& text, const char* help) {
    return app.add_option(name, text, help)->type_name("NAME");
  };
  addText("--adapter", load.adapter, "The name under which the delivery is known; load/STREAM unless it is given");
  addText("--key-column", load.keyColumn,
          "Count the delivery by this long or integer column, whose values never fall, and not by rows");
  addText("--bookkeeping", load.bookkeeping, "A stream that is told at the end how far the delivery has come");
  app.add_flag("--take-over", load.takesOver, "Take the delivery from an adapter of this name that hangs");
  app.add_flag("--dry-run", load.isDry, "Read everything and connect, but write nothing")->excludes("--rejects");
}

void addLoadOptions(CLI::App& app, CommandOptions& options) {
  LoadOptions& load = options.load;
  addInput(app, options, "DATA.csv", "Delimited text; - is standard input");
  addSchema(app, options);
  addProject(app, load.project, "The project to publish into; it is made when it is not there");
  addTextConversion(app, options);
  addDelivery(app, load);
  addNumber(app, "--batch", "Rows that are published together; 10000 unless it is given", 1, kMostBatchRows,
            [&load](std::uint64_t rows) { load.batchRows = rows; });
  addNumber(app, "--batch-time", "Milliseconds that a row waits at most for its batch to fill; 1000 unless it is given",
            1, kMostMilliseconds, [&load](std::uint64_t count) { load.batchTime = std::chrono::milliseconds(count); });
  addNumber(app, "--retry", "Seconds in which a batch that failed is tried again; 30 unless it is given, 0 for never",
            0, kMostSeconds, [&load](std::uint64_t count) { load.retry = std::chrono::seconds(count); });
  addNumber(app, "--stats", "Tell statistics every N seconds, and at the end", 1, kMostSeconds,
            [&load](std::uint64_t count) { load.stats = std::chrono::seconds(count); });
  addReporting(app, options, "Stop at the Nth bad row");
}

template <class Value>
struct NamedValue {
  const char* name;
  Value value;
};

// One of a few names.
template <class Value, std::size_t count>
CLI::Option* addName(CLI::App& app, const char* option, Value& value, const NamedValue<Value> (&names)[count],
                     const char* help) {
  std::map<std::string, Value> values;
  std::string known;
  for (std::size_t i = 0; i < count; ++i) {
    values[names[i].name] = names[i].value;
    known += std::string(i == 0 ? "" : i + 1 == count ? " or " : ", ") + names[i].name;
  }
  const auto store = [values, &value](const std::string& name) { value = values.at(name); };
  const auto check = [values, known](const std::string& name) {
    return values.contains(name) ? "" : "must be " + known;
  };
  return app.add_option_function<std::string>(option, store, help)->type_name("")->check(check);
}

void addTimeOptions(CLI::App& app, CommandOptions& options) {
  using kyv::TimeType;
  TimeTrial& time = options.time;
  addName(app, "ACTION", time.action, {{"format", TimeAction::kFormat}, {"parse", TimeAction::kParse}},
          "format: a count to text; parse: text to a count")
      ->required();
  app.add_option("MODEL", time.model, "The date model, such as \"YYYY-MM-DD HH24:MI:SS\"")->required()->type_name("");
  app.add_option("VALUE", time.value, "The count or the text; behind -- when it begins with a dash")
      ->required()
      ->type_name("");
  app.add_option("--zone", time.zone, "The time zone to print for, such as Europe/Berlin; UTC is the default")
      ->type_name("Z");
  addName(app, "--type", time.type,
          {{"date", TimeType::kDate},
           {"time", TimeType::kTime},
           {"timestamp", TimeType::kTimestamp},
           {"bigdatetime", TimeType::kBigDateTime}},
          "What is counted: date and time seconds; timestamp, the default, milliseconds; bigdatetime microseconds")
      ->type_name("T");
  app.add_flag("-q,--quiet", options.quiet, "Write the result alone, without the table of tokens");
}

constexpr std::array kCommands = {
    Command{"infer", "Guess a schema from all rows of delimited text",
            "  printf 'Id,Name,Born\\n1,Ann,1990-01-31\\n2,Bob,\\n' > people.csv\n"
            "  kyv infer people.csv\n",
            addInferOptions, runInfer},
    Command{"convert", "Turn delimited text into records",
            "  printf 'Id,Name,Born\\n1,Ann,1990-01-31\\n2,Bob,\\n' > people.csv\n"
            "  kyv infer people.csv > people.json\n"
            "  kyv convert --schema people.json people.csv -o people.rows\n",
            addConvertOptions, runConvert},
    Command{"print", "Turn records back into delimited text or JSON",
            "  printf 'Id,Name,Born\\n1,Ann,1990-01-31\\n2,Bob,\\n' > people.csv\n"
            "  kyv infer people.csv > people.json\n"
            "  kyv convert --schema people.json people.csv -o people.rows\n"
            "  kyv print --schema people.json people.rows --header\n",
            addPrintOptions, runPrint},
    Command{"check", "Find what is wrong with records, whatever it is",
            "  printf 'Id,Name,Born\\n1,Ann,1990-01-31\\n2,Bob,\\n' > people.csv\n"
            "  kyv infer people.csv > people.json\n"
            "  kyv convert --schema people.json people.csv -o people.rows\n"
            "  kyv check --schema people.json people.rows\n",
            addCheckOptions, runCheck},
    Command{"inspect", "Show records byte by byte",
            "  printf 'Id,Name,Born\\n1,Ann,1990-01-31\\n2,Bob,\\n' > people.csv\n"
            "  kyv infer people.csv > people.json\n"
            "  kyv convert --schema people.json people.csv -o people.rows\n"
            "  kyv inspect --schema people.json people.rows\n",
            addInspectOptions, runInspect},
    Command{"load", "Publish delimited text into a stream, each row once",
            "  printf 'Id,Name,Born\\n1,Ann,1990-01-31\\n2,Bob,\\n' > people.csv\n"
            "  kyv infer people.csv > people.json\n"
            "  KYV_STORE_DIR=projects kyv load --schema people.json --project demo:1 people.csv\n",
            addLoadOptions, runLoad},
    Command{"read", "Print what a stream holds, as it is or as it grows",
            "  export KYV_STORE_DIR=projects\n"
            "  printf 'Id,Name,Born\\n1,Ann,1990-01-31\\n2,Bob,\\n' > people.csv\n"
            "  kyv infer people.csv > people.json\n"
            "  kyv load --schema people.json --project hr/people:1 people.csv\n"
            "  kyv read --project hr/people:1 --stream people --header\n",
            addReadOptions, runRead},
    Command{"time", "Try a date model on a value",
            "  kyv time format \"DD Mon YYYY HH24:MI TZH:TZM\" 1709622489120 --zone Europe/Berlin\n"
            "  kyv time parse YYYY-MM-DD 2024/03/05 --type date\n",
            addTimeOptions, runTime},
};

constexpr char kStatuses[] =
    "Exit status: 0 all well, 1 bad rows, 2 wrong usage, 3 files, 4 server, 5 interrupted.\n"
    "kyv COMMAND --help shows the options of a command and an example.\n";

std::string commandNames() {
  std::string names;
  for (const Command& command : kCommands) names += (names.empty() ? "" : ", ") + std::string(command.name);
  return names;
}

// A wrong first word is most likely a misspelled command, and deserves to be told so.
bool checkCommandName(int count, const char* const* arguments) {
  if (count < 2) {
    complain("which command? (" + commandNames() + "; kyv --help says more)");
    return false;
  }
  const std::string_view name = arguments[1];
  const bool known =
      std::any_of(kCommands.begin(), kCommands.end(), [&](const Command& command) { return command.name == name; });
  if (known || name.starts_with("-")) return true;
  complain("there is no command \"" + std::string(name) + "\" (" + commandNames() + ")");
  return false;
}

void addCommands(CLI::App& app, CommandOptions& options) {
  for (const Command& command : kCommands) {
    CLI::App* const added = app.add_subcommand(command.name, command.summary);
    added->footer(std::string("Example:\n") + command.example);
    command.addOptions(*added, options);
  }
}

// What is wrong with the arguments, in a line.
int refuseArguments(const CLI::App& app, const CLI::ParseError& error) {
  const auto chosen = app.get_subcommands();
  const std::string name = chosen.empty() ? "kyv" : "kyv " + chosen.front()->get_name();
  complain(std::string(error.what()) + " (" + name + " --help says more)");
  return static_cast<int>(ExitStatus::kUsage);
}

}  // namespace

int runCommandLine(int count, const char* const* arguments) {
  if (!checkCommandName(count, arguments)) return static_cast<int>(ExitStatus::kUsage);
  CLI::App app("Rows of text to binary records of a stream, and back.", "kyv");
  app.set_version_flag("--version", std::string("kyv ") + kVersion);
  app.footer(kStatuses);
  app.require_subcommand(1);
  app.get_formatter()->label("SUBCOMMAND", "COMMAND");
  app.get_formatter()->label("Subcommands", "Commands");
  CommandOptions options;
  addCommands(app, options);
  try {
    app.parse(count, arguments);
  } catch (const CLI::Success& asked) {  // for help or the version
    return app.exit(asked);
  } catch (const CLI::ParseError& error) {
    return refuseArguments(app, error);
  }
  const std::string chosen = app.get_subcommands().front()->get_name();
  const auto* const command = std::find_if(kCommands.begin(), kCommands.end(),
                                           [&](const Command& candidate) { return candidate.name == chosen; });
  return static_cast<int>(command->run(options));
}

}  // namespace kyv_internal
