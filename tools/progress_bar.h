#pragma once

// A line on the terminal that tells how far a run is, how fast it goes and how long it will take. Silent where standard
// error is no terminal.
//
// Threads: any; another's output comes between two drawings when that thread hides the bar first.

#include <chrono>
#include <cstdint>
#include <mutex>
#include <optional>
#include <string>

namespace kyv_internal {

struct Progress {
  std::uint64_t bytes = 0;                  // of input done
  std::optional<std::uint64_t> totalBytes;  // unknown for a pipe
  std::uint64_t rows = 0;
  double seconds = 0;
};

// "[=====>    ]  52%  410 MB/s  1850000 rows/s  3 s left"; without a total no bar and no time left.
std::string progressText(const Progress& progress);

enum class Terminal { kDetect, kNone };

class ProgressBar {
 public:
  ProgressBar(Terminal terminal, std::optional<std::uint64_t> totalBytes);
  ProgressBar(const ProgressBar&) = delete;
  ProgressBar& operator=(const ProgressBar&) = delete;
  ~ProgressBar() { hide(); }

  // Draws anew when some time has passed since it last did.
  void update(std::uint64_t bytes, std::uint64_t rows);
  // Leaves the line empty for other output; the next update draws again.
  void hide();

  // Since the bar was made.
  double seconds() const;

 private:
  using Clock = std::chrono::steady_clock;

  bool enabled_;
  std::mutex drawing_;  // guards what follows but for the times that never change
  bool shown_ = false;
  std::optional<std::uint64_t> totalBytes_;
  Clock::time_point start_;
  Clock::time_point lastDrawn_;
};

}  // namespace kyv_internal
