// One value's text to and from its value, each beside the C library's way.

#include <benchmark/benchmark.h>

#include <algorithm>
#include <cctype>
#include <cinttypes>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "benchmarks/pair.h"
#include "benchmarks/trades.h"
#include "datatypes/datetime_text.h"
#include "datatypes/decimal_text.h"
#include "datatypes/hex_text.h"
#include "datatypes/money_text.h"
#include "datatypes/number_text.h"

namespace kyv_internal {
namespace {

constexpr int kTexts = 1024;
constexpr MoneyScale kCents = {2, 100};
constexpr int kDecimalPrecision = 34;
constexpr int kDecimalScale = 10;
constexpr std::size_t kBlobBytes = 64;

// Where every printing operation writes.
char output[2048];

std::string_view outputTo(const char* end) { return {output, static_cast<std::size_t>(end - output)}; }
std::string_view outputOf(std::size_t characters) { return {output, characters}; }

// Texts of one kind and the values that they stand for.
template <class T>
struct Sample {
  std::vector<std::string> texts;
  std::vector<T> values;
};

const PercentFormat& tradeFormat() {
  static const PercentFormat format{kTradeTimeFormat};
  return format;
}

// The fields of one column that are not empty.
std::vector<std::string> columnTexts(TradeField column) {
  TradeGenerator trades;
  std::vector<std::string> texts;
  while (texts.size() < kTexts) {
    std::string line;
    trades.appendLine(line);
    std::size_t begin = 0;
    for (std::size_t i = 0; i < column; ++i) begin = line.find(',', begin) + 1;
    const std::size_t end = line.find_first_of(",\n", begin);
    if (end > begin) texts.push_back(line.substr(begin, end - begin));
  }
  return texts;
}

template <class T, class Read>
Sample<T> sampleOf(std::vector<std::string> texts, Read read) {
  Sample<T> sample{std::move(texts), {}};
  for (const std::string& text : sample.texts) sample.values.push_back(read(text));
  return sample;
}

// --- The C library's ways ---

std::int64_t secondsByHand(const char* text, const char** end) {
  std::tm fields{};
  *end = strptime(text, kTradeTimeFormat, &fields);
  return timegm(&fields);
}

std::int64_t dateByHand(const std::string& text) {
  const char* end;
  return secondsByHand(text.c_str(), &end);
}

std::int64_t timestampByHand(const std::string& text) {
  const char* end;
  const std::int64_t seconds = secondsByHand(text.c_str(), &end);
  return seconds * 1000 + (*end == '.' ? std::strtol(end + 1, nullptr, 10) : 0);
}

std::size_t printSecondsByHand(std::time_t seconds) {
  std::tm fields;
  gmtime_r(&seconds, &fields);
  return std::strftime(output, sizeof output, kTradeTimeFormat, &fields);
}

std::string_view printDateByHand(std::int64_t seconds) { return outputOf(printSecondsByHand(seconds)); }

std::string_view printTimestampByHand(std::int64_t millis) {
  const std::size_t length = printSecondsByHand(millis / 1000);
  return outputOf(length + std::snprintf(output + length, sizeof output - length, ".%03" PRId64, millis % 1000));
}

std::int64_t moneyByHand(const std::string& text) {
  char* end;
  const std::int64_t whole = std::strtoll(text.c_str(), &end, 10);
  const std::int64_t cents = *end == '.' ? std::strtol(end + 1, nullptr, 10) : 0;
  return whole * kCents.factor + (text[0] == '-' ? -cents : cents);
}

std::string_view printMoneyByHand(std::int64_t cents) {
  return outputOf(std::snprintf(output, sizeof output, "%" PRId64 ".%02" PRId64, cents / 100, cents % 100));
}

// Zero for a bad text; the samples hold none.
Coefficient decimalByHand(const std::string& text) {
  const bool negative = text[0] == '-';
  Coefficient value = 0;
  int digits = 0;
  int places = -1;  // since the point
  for (const char* at = text.c_str() + (negative || text[0] == '+'); *at != '\0'; ++at) {
    if (*at == '.' && places < 0) {
      places = 0;
    } else if (std::isdigit(static_cast<unsigned char>(*at)) == 0) {
      return 0;
    } else if (places < kDecimalScale) {
      value = value * 10 + (*at - '0');
      if (value != 0) ++digits;
      if (places >= 0) ++places;
    }
  }
  for (int place = std::max(places, 0); place < kDecimalScale; ++place, ++digits) value *= 10;
  if (digits > kDecimalPrecision) return 0;
  return negative ? -value : value;
}

std::string_view printDecimalByHand(Coefficient value) {
  char* const end = output + sizeof output;
  char* at = end;
  unsigned __int128 magnitude = value < 0 ? -static_cast<unsigned __int128>(value) : value;
  for (int digit = 0; digit <= kDecimalScale || magnitude != 0; ++digit) {
    if (digit == kDecimalScale) *--at = '.';
    *--at = static_cast<char>('0' + static_cast<int>(magnitude % 10));
    magnitude /= 10;
  }
  if (value < 0) *--at = '-';
  return {at, static_cast<std::size_t>(end - at)};
}

std::string_view bytesByHand(const std::string& hex) {
  for (std::size_t i = 0; i < hex.size(); i += 2) {
    const char digits[] = {hex[i], hex[i + 1], '\0'};
    output[i / 2] = static_cast<char>(std::strtoul(digits, nullptr, 16));
  }
  return outputOf(hex.size() / 2);
}

std::string_view printHexByHand(const std::string& bytes) {
  for (std::size_t i = 0; i < bytes.size(); ++i) {
    std::snprintf(output + 2 * i, 3, "%02X", static_cast<unsigned char>(bytes[i]));
  }
  return outputOf(2 * bytes.size());
}

// --- Samples ---

// The same numbers in every run, in no order that a branch could follow.
class Numbers {
 public:
  std::size_t below(std::size_t bound) {
    state_ = state_ * 6364136223846793005u + 1442695040888963407u;
    return (state_ >> 33) % bound;
  }

 private:
  std::uint64_t state_ = 1;
};

std::string digits(Numbers& numbers, std::size_t count) {
  std::string text;
  while (text.size() < count) text += static_cast<char>('0' + numbers.below(10));
  return text;
}

// Numbers with so many digits before the point and up to ten behind it, some negative.
std::vector<std::string> decimalTexts(std::size_t leastWhole, std::size_t mostWhole) {
  Numbers numbers;
  std::vector<std::string> texts;
  while (texts.size() < kTexts) {
    std::string text = numbers.below(5) == 0 ? "-" : "";
    text += static_cast<char>('1' + numbers.below(9)) +
            digits(numbers, leastWhole - 1 + numbers.below(mostWhole - leastWhole + 1));
    const std::string fraction = digits(numbers, numbers.below(kDecimalScale + 1));
    texts.push_back(text + (fraction.empty() ? "" : "." + fraction));
  }
  return texts;
}

std::vector<std::string> blobs() {
  Numbers numbers;
  std::vector<std::string> blobs(kTexts, std::string(kBlobBytes, '\0'));
  for (std::string& blob : blobs) {
    for (char& byte : blob) byte = static_cast<char>(numbers.below(256));
  }
  return blobs;
}

// --- The pairs ---

void registerTimes(const Sample<std::int64_t>& dates, const Sample<std::int64_t>& timestamps) {
  registerPair(
      "text to date", dates.texts, [](const std::string& text) { return parseDate(text, tradeFormat()).value; },
      dateByHand);
  registerPair(
      "text to timestamp", timestamps.texts,
      [](const std::string& text) { return parseTimestamp(text, tradeFormat()).value; }, timestampByHand);
  registerPair(
      "date to text", dates.values,
      [](std::int64_t seconds) { return outputOf(printDate(seconds, tradeFormat(), output)); }, printDateByHand);
  registerPair(
      "timestamp to text", timestamps.values,
      [](std::int64_t millis) {
        return outputOf(printTimestamp(millis, tradeFormat(), ZeroFraction::Printed, output));
      },
      printTimestampByHand);
}

void registerIntegers(const Sample<std::int64_t>& longs) {
  registerPair(
      "text to integer", longs.texts, [](const std::string& text) { return parseInteger(text, kLongRules).value; },
      [](const std::string& text) -> std::int64_t { return std::strtoll(text.c_str(), nullptr, 10); });
  registerPair(
      "integer to text", longs.values, [](std::int64_t value) { return outputTo(printInteger(value, output)); },
      [](std::int64_t value) { return outputOf(std::snprintf(output, sizeof output, "%" PRId64, value)); });
}

void registerFloats(const Sample<double>& floats) {
  registerPair(
      "text to float", floats.texts, [](const std::string& text) { return parseFloat(text).value; },
      [](const std::string& text) { return std::strtod(text.c_str(), nullptr); });
  registerPair(
      "float to text, 6 places", floats.values,
      [](double value) { return outputTo(printFloat(value, 6, 1e-6, output, sizeof output)); },
      [](double value) { return outputOf(std::snprintf(output, sizeof output, "%.6f", value)); });
}

void registerMoney(const Sample<std::int64_t>& amounts) {
  registerPair(
      "text to money", amounts.texts, [](const std::string& text) { return parseMoney(text, kCents).value; },
      moneyByHand);
  registerPair(
      "money to text", amounts.values, [](std::int64_t cents) { return outputTo(printMoney(cents, kCents, output)); },
      printMoneyByHand);
}

void registerDecimals(const std::string& kind, const Sample<Coefficient>& decimals) {
  registerPair(
      "text to " + kind, decimals.texts,
      [](const std::string& text) { return parseDecimal(text, kDecimalPrecision, kDecimalScale).value; },
      decimalByHand);
  registerPair(
      kind + " to text", decimals.values,
      [](Coefficient value) { return outputTo(printDecimal(value, kDecimalScale, output)); }, printDecimalByHand);
}

std::span<const unsigned char> bytesOf(const std::string& text) {
  return {reinterpret_cast<const unsigned char*>(text.data()), text.size()};
}

std::span<unsigned char> outputBytes() { return {reinterpret_cast<unsigned char*>(output), sizeof output}; }

void registerHex(const Sample<std::string>& hex) {
  registerPair(
      "hex to bytes", hex.texts, [](const std::string& text) { return outputOf(parseHex(text, outputBytes()).value); },
      bytesByHand);
  registerPair(
      "bytes to hex", hex.values, [](const std::string& bytes) { return outputTo(printHex(bytesOf(bytes), output)); },
      printHexByHand);
}

Sample<std::string> hexSample() {
  Sample<std::string> sample{{}, blobs()};
  for (const std::string& blob : sample.values) sample.texts.emplace_back(printHexByHand(blob));
  return sample;
}

}  // namespace

void runTextBenchmarks() {
  const auto dates = sampleOf<std::int64_t>(columnTexts(kTradeSettlesOn), dateByHand);
  const auto timestamps = sampleOf<std::int64_t>(columnTexts(kTradeExecutedAt), timestampByHand);
  const auto longs = sampleOf<std::int64_t>(columnTexts(kTradeId), [](const std::string& t) { return std::stoll(t); });
  const auto floats = sampleOf<double>(columnTexts(kTradePrice), [](const std::string& t) { return std::stod(t); });
  const auto amounts = sampleOf<std::int64_t>(columnTexts(kTradeNotional), moneyByHand);
  const auto decimals = sampleOf<Coefficient>(decimalTexts(20, 24), decimalByHand);
  const auto shortDecimals = sampleOf<Coefficient>(decimalTexts(1, 8), decimalByHand);
  const auto hex = hexSample();
  registerTimes(dates, timestamps);
  registerIntegers(longs);
  registerFloats(floats);
  registerMoney(amounts);
  registerDecimals("decimal", decimals);
  registerDecimals("short decimal", shortDecimals);
  registerHex(hex);
  benchmark::RunSpecifiedBenchmarks();
}

}  // namespace kyv_internal

int main(int argc, char** argv) {
  benchmark::Initialize(&argc, argv);
  kyv_internal::runTextBenchmarks();
  return 0;
}
