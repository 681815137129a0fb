#pragma once

// A file, pipe or standard input opened for reading in large pieces.

#include <cstdint>
#include <optional>
#include <string>

#include "run_source.h"

namespace kyv_internal {

class InputFile final : public RunSource {
 public:
  InputFile() = default;
  ~InputFile() override;

  // "-" is standard input. False with a message that names the file.
  [[nodiscard]] bool open(const std::string& path, std::string& error);

  // Fails without a message when the run was interrupted.
  std::ptrdiff_t read(char* into, std::size_t capacity) override;

  // The path as given, or "<stdin>".
  const std::string& name() const override { return name_; }
  // Nothing for a pipe or a device.
  std::optional<std::uint64_t> size() const override { return size_; }
  const std::string& error() const override { return error_; }

 private:
  bool waitForData();

  int descriptor_ = -1;
  std::string name_;
  std::optional<std::uint64_t> size_;
  std::string error_;
};

// The whole of a file that ought to be small. False with a message, also for one of more than `most` bytes.
[[nodiscard]] bool readWholeFile(const std::string& path, std::size_t most, std::string& text, std::string& error);

}  // namespace kyv_internal
