// The error collector as flat functions.

#include <algorithm>
#include <climits>
#include <memory>

#include "kyv/connection_errors.h"
#include "kyv/flat.h"
#include "kyv/mutexes.h"
#include "services/errors_handle.h"
#include "services/handle_cell.h"

using kyv_internal::guarded;
using kyv_internal::MutexGuard;
using kyv_internal::newText;
using kyv_internal::withErrors;

ConnectionErrorsHandle* createConnectionErrors() {
  return guarded<ConnectionErrorsHandle*>(nullptr, [] {
    const MutexGuard lock(_connectionerrorobjectMutex);
    return std::make_unique<ConnectionErrorsHandle>().release();
  });
}

void deleteConnectionErrors(ConnectionErrorsHandle* errors) { delete errors; }

bool empty(ConnectionErrorsHandle* errors) {
  return withErrors(errors, true, [](const ConnectionErrors& collector) { return collector.empty(); });
}

int sizeConnectionErrors(ConnectionErrorsHandle* errors) {
  return withErrors(errors, 0, [](const ConnectionErrors& collector) {
    return static_cast<int>(std::min<std::size_t>(collector.size(), INT_MAX));
  });
}

void addGeneral(ConnectionErrorsHandle* errors, const char* message) {
  if (message == nullptr) return;
  withErrors(errors, [&](ConnectionErrors& collector) { collector.addGeneral(message); });
}

void addParam(ConnectionErrorsHandle* errors, const char* parameter, const char* message) {
  if (parameter == nullptr || message == nullptr) return;
  withErrors(errors, [&](ConnectionErrors& collector) { collector.addParam(parameter, message); });
}

void getAdapterError(ConnectionErrorsHandle* errors, char** out) {
  if (out == nullptr) return;
  withErrors(errors, [&](ConnectionErrors& collector) {
    if (collector.empty()) return;
    *out = newText(collector.report());
    collector.clear();
  });
}

void clearConnectionErrors(ConnectionErrorsHandle* errors) {
  withErrors(errors, [](ConnectionErrors& collector) { collector.clear(); });
}
