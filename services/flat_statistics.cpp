// The statistics of an adapter as flat functions.

#include <algorithm>
#include <climits>
#include <memory>

#include "kyv/adapter_statistics_map.h"
#include "kyv/flat.h"
#include "kyv/mutexes.h"
#include "services/handle_cell.h"

using kyv_internal::guarded;

struct AdapterStatisticsMapHandle {
  AdapterStatisticsMap* object;
};

AdapterStatisticsMapHandle* createAdapterStatisticsMap() {
  return kyv_internal::makeCell<AdapterStatisticsMapHandle>(_objectMutex,
                                                            [] { return std::make_unique<AdapterStatisticsMap>(); });
}

void deleteAdapterStatisticsMap(AdapterStatisticsMapHandle* statistics) { kyv_internal::deleteCell(statistics); }

void* addAdapterStatistics(AdapterStatisticsMapHandle* statistics, const char* name, const char* value) {
  return guarded<void*>(nullptr, [&] { return &statistics->object->addStatistics(name, value); });
}

int getAdapterStatistics(AdapterStatisticsMapHandle* statistics, int capacity, const char** names,
                         const char** values) {
  return guarded(0, [&] {
    AdapterStatisticsMap::HashMap map;
    statistics->object->getStatisticsMap(map);
    int count = 0;
    for (const auto& [name, value] : map) {
      if (count >= capacity) break;
      names[count] = name;
      values[count++] = value;
    }
    return static_cast<int>(std::min<std::size_t>(map.size(), INT_MAX));
  });
}

void cleanUpAdapterStatistics(AdapterStatisticsMapHandle* statistics) {
  guarded([&] { statistics->object->cleanUpData(); });
}
