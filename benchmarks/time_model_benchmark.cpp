// A compiled model, beside the C library's way of the same text, ICU's, and the same model in UTC. Peers have their
// formats ready made or as constants; nobody allocates but ICU.

#include <benchmark/benchmark.h>
#include <unicode/smpdtfmt.h>
#include <unicode/timezone.h>

#include <array>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <random>
#include <string>
#include <string_view>
#include <vector>

#include "benchmarks/pair.h"
#include "kyv/time_model.h"

namespace kyv_internal {
namespace {

using kyv::TimeModel;
using kyv::TimeType;

constexpr int kValues = 1024;
constexpr const char* kZone = "America/New_York";

// Milliseconds from 1970 to 2033, the same in every run.
std::vector<std::int64_t> timestamps() {
  std::mt19937_64 random(1);
  std::uniform_int_distribution<std::int64_t> millis(0, 2'000'000'000'000);
  std::vector<std::int64_t> values(kValues);
  for (std::int64_t& value : values) value = millis(random);
  return values;
}

// Where a side prints; what it returns is valid until the next call.
std::array<char, 128> room;

auto printerOf(const TimeModel& model) {
  return [&model](std::int64_t millis) { return model.format(TimeType::kTimestamp, millis, room).value_or(""); };
}

auto libraryPrinterOf(const char* format) {
  return [format](std::int64_t millis) {
    const std::time_t seconds = millis / 1000;
    std::tm clock;
    gmtime_r(&seconds, &clock);
    return std::string_view(room.data(), std::strftime(room.data(), room.size(), format, &clock));
  };
}

auto readerOf(const TimeModel& model) {
  return [&model](std::string_view text) { return model.parse(TimeType::kTimestamp, text).value_or(-1); };
}

auto libraryReaderOf(const char* format) {
  return [format](const std::string& text) {
    std::tm clock{};
    return strptime(text.c_str(), format, &clock) != nullptr ? timegm(&clock) * 1000 : -1;
  };
}

// ICU's formatter of one pattern in UTC.
class IcuFormat {
 public:
  explicit IcuFormat(const char* pattern) : format_(icu::UnicodeString(pattern), icu::Locale::getUS(), error_) {
    format_.adoptTimeZone(icu::TimeZone::createTimeZone("UTC"));
    if (U_SUCCESS(error_)) return;
    std::fprintf(stderr, "ICU: %s\n", u_errorName(error_));
    std::exit(1);
  }

  std::string_view print(std::int64_t millis) {
    icu::UnicodeString text;
    format_.format(static_cast<double>(millis), text);
    text_.clear();
    return text.toUTF8String(text_);
  }

  std::int64_t read(const std::string& text) {
    error_ = U_ZERO_ERROR;
    return static_cast<std::int64_t>(format_.parse(icu::UnicodeString::fromUTF8(text), error_));
  }

 private:
  UErrorCode error_ = U_ZERO_ERROR;
  icu::SimpleDateFormat format_;
  std::string text_;
};

std::vector<std::string> textsOf(const TimeModel& model, const std::vector<std::int64_t>& values) {
  std::vector<std::string> texts;
  for (const std::int64_t value : values) texts.emplace_back(printerOf(model)(value));
  return texts;
}

// A model and the texts that it prints, beside the C library's format of the same texts.
struct Rival {
  const char* kind;
  const char* modelText;
  const char* format;
  TimeModel model{modelText};
  std::vector<std::string> texts{};
};

void registerRival(Rival& rival, const std::vector<std::int64_t>& values) {
  rival.texts = textsOf(rival.model, values);
  registerPair(std::string("time to text by compiled model") + rival.kind, values, printerOf(rival.model),
               libraryPrinterOf(rival.format));
  registerPair(std::string("text to time by compiled model") + rival.kind, rival.texts, readerOf(rival.model),
               libraryReaderOf(rival.format));
}

}  // namespace

void runTimeModelBenchmarks() {
  const std::vector<std::int64_t> values = timestamps();
  std::vector<std::int64_t> wholeSeconds = values;
  for (std::int64_t& value : wholeSeconds) value -= value % 1000;

  std::array rivals = {Rival{"", "YYYY-MM-DD HH24:MI:SS", "%Y-%m-%d %H:%M:%S"},
                       Rival{", names", "Dy, DD Mon YYYY HH:MI:SS AM", "%a, %d %b %Y %I:%M:%S %p"}};
  for (Rival& rival : rivals) registerRival(rival, wholeSeconds);

  const TimeModel precise("YYYY-MM-DD HH24:MI:SS.FF3"), preciseReader("YYYY-MM-DD HH24:MI:SS.FF");
  IcuFormat icu("yyyy-MM-dd HH:mm:ss.SSS");
  const std::vector<std::string> preciseTexts = textsOf(precise, values);
  registerPair("time to text by compiled model, ICU", values, printerOf(precise),
               [&icu](std::int64_t millis) { return icu.print(millis); });
  registerPair("text to time by compiled model, ICU", preciseTexts, readerOf(preciseReader),
               [&icu](const std::string& text) { return icu.read(text); });

  // The same in a zone with daylight saving and in UTC, where texts and values differ.
  const TimeModel inZone("YYYY-MM-DD HH24:MI:SS TZH", kZone), inUtc("YYYY-MM-DD HH24:MI:SS TZH");
  const TimeModel plainInZone(rivals[0].modelText, kZone);
  const TimeModel zoneReader("YYYY-MM-DD HH24:MI:SS TZR", kZone), utcReader("YYYY-MM-DD HH24:MI:SS TZR");
  std::vector<std::string> zoneTexts, utcTexts;
  for (const std::string& text : rivals[0].texts) {
    zoneTexts.push_back(text + " " + kZone);
    utcTexts.push_back(text + " UTC");
  }
  registerSide("time to text by compiled model, in a zone/kyv", values, printerOf(plainInZone));
  registerSide("time to text by compiled model, in a zone/peer", values, printerOf(rivals[0].model));
  registerSide("time to text by compiled model, zone and its offset/kyv", values, printerOf(inZone));
  registerSide("time to text by compiled model, zone and its offset/peer", values, printerOf(inUtc));
  registerSide("text to time by compiled model, in a zone/kyv", zoneTexts, readerOf(zoneReader));
  registerSide("text to time by compiled model, in a zone/peer", utcTexts, readerOf(utcReader));
  benchmark::RunSpecifiedBenchmarks();
}

}  // namespace kyv_internal

int main(int argc, char** argv) {
  benchmark::Initialize(&argc, argv);
  kyv_internal::runTimeModelBenchmarks();
  return 0;
}
