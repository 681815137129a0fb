#include "platform/sdk/refusals.h"

namespace kyv_internal {

bool refuseMissingProject(const ProjectAddress& project, Failure& failure) {
  return fail(failure, KYV_ERROR_MISSING, "there is no project '%s:%s'", project.path.c_str(), project.number.c_str());
}

bool refuseOtherDefinition(const std::string& stream, Failure& failure) {
  return fail(failure, KYV_ERROR_REFUSED, "stream '%s' is there with another definition", stream.c_str());
}

bool refuseMissingStream(const std::string& stream, Failure& failure) {
  return fail(failure, KYV_ERROR_MISSING, "the project has no stream '%s'", stream.c_str());
}

bool refuseChangedStream(const std::string& stream, Failure& failure) {
  return fail(failure, KYV_ERROR_MISSING, "the project has no stream '%s' of this definition", stream.c_str());
}

bool refuseMissingKey(RowPlace row, const std::string& stream, Failure& failure) {
  return fail(failure, KYV_ERROR_REFUSED, "row %zu of %zu: stream '%s' has no row with this key", row.index + 1,
              row.count, stream.c_str());
}

bool refuseKnownKey(RowPlace row, const std::string& stream, Failure& failure) {
  return fail(failure, KYV_ERROR_REFUSED, "row %zu of %zu: stream '%s' already has a row with this key", row.index + 1,
              row.count, stream.c_str());
}

bool refuseHeldDelivery(const std::string& adapter, Failure& failure) {
  return fail(failure, KYV_ERROR_HELD, "another publisher holds the delivery of adapter '%s'", adapter.c_str());
}

bool refuseReplacedDelivery(const std::string& adapter, Failure& failure) {
  return fail(failure, KYV_ERROR_REPLACED, "another publisher has taken over the delivery of adapter '%s'",
              adapter.c_str());
}

}  // namespace kyv_internal
