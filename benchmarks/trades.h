#pragma once

// The sample that every benchmark converts: market trades as lines of delimited text. The same seed gives the same
// lines on every machine. It knows nothing of the library, so that the peers can share it.

#include <array>
#include <cstddef>
#include <cstdint>
#include <string>

namespace kyv_internal {

// The columns in order.
enum TradeField : std::size_t {
  kTradeId,
  kTradeSymbol,
  kTradeSide,
  kTradePrice,
  kTradeQuantity,
  kTradeNotional,
  kTradeExecutedAt,
  kTradeSettlesOn,
  kTradeOddLot,
  kTradeVenue,
  kTradeFieldCount
};

struct TradeColumn {
  const char* name;
  const char* type;  // by its name in the type catalogue
  bool nullable;     // one field in twenty is empty
};

inline constexpr std::array<TradeColumn, kTradeFieldCount> kTradeColumns = {{
    {"Id", "long", false},
    {"Symbol", "string", false},
    {"Side", "string", true},
    {"Price", "float", true},  // two to six decimals
    {"Quantity", "integer", true},
    {"Notional", "money(2)", true},
    {"ExecutedAt", "timestamp", false},  // with milliseconds
    {"SettlesOn", "date", true},
    {"OddLot", "boolean", true},
    {"Venue", "string", true},
}};

inline constexpr const char* kTradeStream = "Trades";
inline constexpr int kTradeStreamId = 1;
inline constexpr const char* kTradeTimeFormat = "%Y-%m-%d %H:%M:%S";  // of dates and timestamps

// The schema file that the command line tool reads.
std::string tradeSchemaJson();

class TradeGenerator {
 public:
  // Appends the next trade's line, with a line feed.
  void appendLine(std::string& out);

 private:
  std::uint64_t below(std::uint64_t bound);
  std::string price();
  std::string fieldText(std::size_t column);

  std::uint64_t state_ = 20240102;
  std::int64_t id_ = 1000000000;
  std::int64_t millis_ = 1704187800000;  // 2024-01-02 09:30:00 UTC
  std::int64_t priceMicros_ = 0;         // of the current trade, for its notional amount
  std::int64_t quantity_ = 0;
};

}  // namespace kyv_internal
