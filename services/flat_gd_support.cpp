// Guaranteed delivery as flat functions.

#include <memory>

#include "kyv/flat.h"
#include "kyv/gd_support.h"
#include "kyv/mutexes.h"
#include "services/handle_cell.h"

using kyv_internal::guarded;

struct GDSupportHandle {
  GDSupport* object;
};

GDSupportHandle* createGDSupport(const char* streamName, const char* projectPath, int number, char** error) {
  auto* const support =
      kyv_internal::makeCell<GDSupportHandle>(_objectMutex, [] { return std::make_unique<GDSupport>(); });
  if (support != nullptr) guarded([&] { support->object->createGDSupport(streamName, projectPath, number, error); });
  return support;
}

long long getLastProcessedGDKey(GDSupportHandle* support, char** error) {
  return guarded(0LL, [&] { return support->object->getLastProcessedGDKey(error); });
}

int updateTruncateStream(GDSupportHandle* support, long long key, int truncate, char** error) {
  return guarded(1, [&] { return support->object->updateTruncateStream(key, truncate != 0, error); });
}

void deleteGDSupport(GDSupportHandle* support, char** error) {
  if (support != nullptr) guarded([&] { support->object->deleteGDSupport(error); });
  kyv_internal::deleteCell(support);
}
