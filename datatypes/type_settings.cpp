// The process-wide type settings and their setters.

#include <cmath>
#include <cstdlib>
#include <cstring>
#include <new>

#include "datatypes/digit_block.h"
#include "kyv/data_types.h"

namespace DataTypes {

unsigned long g_legacyMoneyPrecision = 4;
long g_legacyMoneyFactor = 10000;
unsigned long g_dateSize = 8;
unsigned long g_timeSize = 8;
unsigned long g_decimalSize = 6;
double g_tolerance = 0.000001;
const char* g_date_format = "%Y-%m-%dT%H:%M:%S";
const char* g_time_format = "%H:%M:%S";
bool g_date_format_allocated = false;

namespace {

constexpr unsigned long kMostLegacyPlaces = 18;  // their factor still fits in 64 bits

}  // namespace

void setLegacyMoneyPrecision(unsigned long places) {
  if (places > kMostLegacyPlaces) return;
  g_legacyMoneyPrecision = places;
  g_legacyMoneyFactor = static_cast<long>(kyv_internal::kPowersOfTen[places]);
}

void setDateSize(unsigned long bytes) {
  if (bytes == 4 || bytes == 8) g_dateSize = bytes;
}

void setDecimalSize(unsigned long places) {
  g_decimalSize = places;
  g_tolerance = std::pow(10.0, -static_cast<double>(places));
}

unsigned long getDecimalSize() { return g_decimalSize; }

void setDateFormat(const char* format) {
  char* const copy = strdup(format);
  if (copy == nullptr) throw std::bad_alloc();
  if (g_date_format_allocated) std::free(const_cast<char*>(g_date_format));
  g_date_format = copy;
  g_date_format_allocated = true;
}

}  // namespace DataTypes
