// A timestamp printed by a format model, beside the C library's way and ICU's. Both peers get their format ready made
// or as a constant, and write to a string that keeps its memory, as ours does.

#include <benchmark/benchmark.h>
#include <unicode/smpdtfmt.h>
#include <unicode/timezone.h>

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <random>
#include <string>
#include <vector>

#include "benchmarks/pair.h"
#include "kyv/time_to_string.h"

namespace kyv_internal {
namespace {

constexpr int kTimestamps = 1024;

// Milliseconds from 1970 to 2033, the same in every run.
std::vector<long> timestamps() {
  std::mt19937_64 random(1);
  std::uniform_int_distribution<long> millis(0, 2'000'000'000'000);
  std::vector<long> values(kTimestamps);
  for (long& value : values) value = millis(random);
  return values;
}

// The string that a side prints to; what it returns is valid until the next call.
std::string& output() {
  static std::string text;
  text.clear();
  return text;
}

const std::string& printByModel(long millis, const char* model) {
  std::string& out = output();
  DataTypes::TimestampToString(millis, model, "UTC", out);
  return out;
}

const std::string& printByLibrary(long millis) {
  const std::time_t seconds = millis / 1000;
  std::tm clock;
  gmtime_r(&seconds, &clock);
  char text[64];
  return output().append(text, std::strftime(text, sizeof text, "%Y-%m-%d %H:%M:%S", &clock));
}

// ICU's formatter of one pattern in UTC.
class IcuPrinter {
 public:
  explicit IcuPrinter(const char* pattern) : format_(icu::UnicodeString(pattern), error_) {
    format_.adoptTimeZone(icu::TimeZone::createTimeZone("UTC"));
    if (U_SUCCESS(error_)) return;
    std::fprintf(stderr, "ICU: %s\n", u_errorName(error_));
    std::exit(1);
  }

  const std::string& print(long millis) const {
    icu::UnicodeString text;
    format_.format(static_cast<double>(millis), text);
    return text.toUTF8String(output());
  }

 private:
  UErrorCode error_ = U_ZERO_ERROR;
  icu::SimpleDateFormat format_;
};

}  // namespace

void runModelBenchmarks() {
  const std::vector<long> values = timestamps();
  const IcuPrinter icu("yyyy-MM-dd HH:mm:ss.SSS");
  registerPair(
      "timestamp by model", values,
      [](long millis) { return std::string_view(printByModel(millis, "YYYY-MM-DD HH24:MI:SS")); },
      [](long millis) { return std::string_view(printByLibrary(millis)); });
  registerPair(
      "timestamp by model, ICU", values,
      [](long millis) { return std::string_view(printByModel(millis, "YYYY-MM-DD HH24:MI:SS.FF3")); },
      [&icu](long millis) { return std::string_view(icu.print(millis)); });
  benchmark::RunSpecifiedBenchmarks();
}

}  // namespace kyv_internal

int main(int argc, char** argv) {
  benchmark::Initialize(&argc, argv);
  kyv_internal::runModelBenchmarks();
  return 0;
}
