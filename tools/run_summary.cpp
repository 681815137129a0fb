#include "run_summary.h"

#include "kyv/string_utility.h"

namespace kyv_internal {
namespace {

using DALVON::Kyv::strprintf;

constexpr double kMegabyte = 1e6;

double perSecond(double amount, double seconds) { return seconds > 0 ? amount / seconds : 0; }

// strprintf knows no 64-bit type by name.
unsigned long long wide(std::uint64_t count) { return count; }

}  // namespace

double RunSummary::rowsPerSecond() const { return perSecond(static_cast<double>(read), seconds); }

double RunSummary::megabytesPerSecond() const { return perSecond(static_cast<double>(bytes) / kMegabyte, seconds); }

std::string RunSummary::text() const {
  std::string out = strprintf("read %llu, accepted %llu, rejected %llu in %.3f s (%.0f rows/s, %.1f MB/s)", wide(read),
                              wide(accepted()), wide(rejected), seconds, rowsPerSecond(), megabytesPerSecond());
  if (blankLines > 0) out += strprintf("; blank lines skipped: %llu", wide(blankLines));
  if (published) out += strprintf("; published %llu, delivered before %llu", wide(*published), wide(skipped));
  return out;
}

std::string RunSummary::json() const {
  std::string out = strprintf(
      "{\"read\": %llu, \"accepted\": %llu, \"rejected\": %llu, \"blank\": %llu, \"seconds\": %.6f, "
      "\"rows_per_second\": %.0f, \"megabytes_per_second\": %.1f",
      wide(read), wide(accepted()), wide(rejected), wide(blankLines), seconds, rowsPerSecond(), megabytesPerSecond());
  if (published) {
    out += strprintf(", \"published\": %llu, \"delivered_before\": %llu", wide(*published), wide(skipped));
  }
  return out + "}";
}

}  // namespace kyv_internal
