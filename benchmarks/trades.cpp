#include "benchmarks/trades.h"

#include <cinttypes>
#include <cstdio>
#include <ctime>

namespace kyv_internal {
namespace {

constexpr std::array kSymbols = {"ACME", "BOLT", "CRWN", "DUNE", "ECHO", "FERN", "GALE", "HAZE", "IRIS", "JADE",
                                 "KELP", "LUX",  "MOSS", "NOVA", "ONYX", "PINE", "QUIL", "REEF", "SAGE", "TIDE",
                                 "UMBR", "VALE", "WREN", "XYLO", "YARN", "ZEST", "AB",   "CDE",  "FGHIJ"};
constexpr std::array kVenues = {"North", "South", "Harbour Exchange", "Old Town Hall", "Dark pool 7", "OTC"};

constexpr int kNullOneIn = 20;
constexpr std::int64_t kRoundLot = 100;
constexpr std::int64_t kSettlementDays = 2;
constexpr std::int64_t kSecondsPerDay = 86400;

template <class... Values>
std::string text(const char* format, Values... values) {
  char buffer[64];
  std::snprintf(buffer, sizeof buffer, format, values...);
  return buffer;
}

std::string timeText(std::int64_t seconds) {
  const std::time_t time = seconds;
  std::tm fields;
  gmtime_r(&time, &fields);
  char buffer[64];
  std::strftime(buffer, sizeof buffer, kTradeTimeFormat, &fields);
  return buffer;
}

std::string columnJson(const TradeColumn& column) {
  return std::string(R"({"name": ")") + column.name + R"(", "type": ")" + column.type + R"("})";
}

}  // namespace

std::string tradeSchemaJson() {
  std::string columns;
  for (const TradeColumn& column : kTradeColumns) {
    columns += (columns.empty() ? "    " : ",\n    ") + columnJson(column);
  }
  return text("{\"stream\": \"%s\", \"id\": %d,\n", kTradeStream, kTradeStreamId) + "  \"columns\": [\n" + columns +
         "],\n  \"formats\": {\"date\": \"" + kTradeTimeFormat + "\", \"timestamp\": \"" + kTradeTimeFormat + "\"}}\n";
}

// A linear congruential generator's high bits: the standard distributions differ between libraries.
std::uint64_t TradeGenerator::below(std::uint64_t bound) {
  state_ = state_ * 6364136223846793005u + 1442695040888963407u;
  return (state_ >> 33) % bound;
}

std::string TradeGenerator::price() {
  const int places = 2 + static_cast<int>(below(5));
  std::int64_t unit = 1;  // micros of the last place
  for (int place = places; place < 6; ++place) unit *= 10;
  priceMicros_ = (1 + static_cast<std::int64_t>(below(1000000000))) / unit * unit;
  const std::string sixPlaces = text("%" PRId64 ".%06" PRId64, priceMicros_ / 1000000, priceMicros_ % 1000000);
  return sixPlaces.substr(0, sixPlaces.size() - 6 + places);
}

std::string TradeGenerator::fieldText(std::size_t column) {
  switch (column) {
    case kTradeId:
      return std::to_string(id_++);
    case kTradeSymbol:
      return kSymbols[below(kSymbols.size())];
    case kTradeSide:
      return below(2) == 0 ? "buy" : "sell";
    case kTradePrice:
      return price();
    case kTradeQuantity:
      quantity_ = (1 + static_cast<std::int64_t>(below(100))) * (below(2) == 0 ? 1 : kRoundLot);
      return std::to_string(quantity_);
    case kTradeNotional: {
      const std::int64_t cents = priceMicros_ * quantity_ / 10000;
      return text("%" PRId64 ".%02" PRId64, cents / 100, cents % 100);
    }
    case kTradeExecutedAt:
      millis_ += static_cast<std::int64_t>(below(250));
      return timeText(millis_ / 1000) + text(".%03" PRId64, millis_ % 1000);
    case kTradeSettlesOn:
      return timeText((millis_ / 1000 / kSecondsPerDay + kSettlementDays) * kSecondsPerDay);
    case kTradeOddLot:
      return quantity_ % kRoundLot == 0 ? "false" : "true";
    default:
      return kVenues[below(kVenues.size())];
  }
}

void TradeGenerator::appendLine(std::string& out) {
  for (std::size_t column = 0; column < kTradeColumns.size(); ++column) {
    if (column > 0) out += ',';
    const std::string field = fieldText(column);
    if (!kTradeColumns[column].nullable || below(kNullOneIn) != 0) out += field;
  }
  out += '\n';
}

}  // namespace kyv_internal
