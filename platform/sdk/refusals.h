#pragma once

// What every store says when it refuses something. All fill the failure and return false.

#include <cstddef>
#include <string>

#include "platform/sdk/event_store.h"

namespace kyv_internal {

bool refuseMissingProject(const ProjectAddress& project, Failure& failure);
bool refuseOtherDefinition(const std::string& stream, Failure& failure);
bool refuseMissingStream(const std::string& stream, Failure& failure);
// There is none of this definition.
bool refuseChangedStream(const std::string& stream, Failure& failure);

// A row of those that are published, by its place from 0.
struct RowPlace {
  std::size_t index;
  std::size_t count;
};
bool refuseMissingKey(RowPlace row, const std::string& stream, Failure& failure);
bool refuseKnownKey(RowPlace row, const std::string& stream, Failure& failure);

bool refuseHeldDelivery(const std::string& adapter, Failure& failure);
bool refuseReplacedDelivery(const std::string& adapter, Failure& failure);

}  // namespace kyv_internal
