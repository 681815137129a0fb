#pragma once

// Puts the process-wide type settings back as they were when a test ends.

#include "kyv/data_types.h"

namespace kyv_test {

class TypeSettingsGuard {
 public:
  TypeSettingsGuard() = default;
  TypeSettingsGuard(const TypeSettingsGuard&) = delete;
  TypeSettingsGuard& operator=(const TypeSettingsGuard&) = delete;
  ~TypeSettingsGuard() {
    DataTypes::setLegacyMoneyPrecision(4);
    DataTypes::setDateSize(8);
    DataTypes::g_timeSize = 8;
    DataTypes::setDecimalSize(6);
    DataTypes::setDateFormat("%Y-%m-%dT%H:%M:%S");
  }
};

}  // namespace kyv_test
