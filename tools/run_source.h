#pragma once

// Where the rows of a run come from: a file, or a stream of a project.

#include <cstdint>
#include <optional>
#include <string>

#include "byte_source.h"
#include "exit_status.h"

namespace kyv_internal {

class RunSource : public ByteSource {
 public:
  // What messages call it.
  virtual const std::string& name() const = 0;
  // Its bytes, where that is known before they are read.
  virtual std::optional<std::uint64_t> size() const { return std::nullopt; }
  // Why the last read failed; empty when none did, or when the run was interrupted.
  virtual const std::string& error() const = 0;
  // What the tool's status then is.
  virtual ExitStatus failureStatus() const { return ExitStatus::kFiles; }
};

}  // namespace kyv_internal
