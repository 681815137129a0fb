#include "progress_bar.h"

#include <unistd.h>

#include <algorithm>
#include <cstdio>

#include "kyv/string_utility.h"

namespace kyv_internal {
namespace {

using DALVON::Kyv::strprintf;

constexpr std::chrono::milliseconds kBetweenDrawings(100);
constexpr std::size_t kBarCells = 30;
constexpr double kMegabyte = 1e6;

std::string bar(double done) {
  const auto filled = static_cast<std::size_t>(done * static_cast<double>(kBarCells));
  std::string cells(filled, '=');
  if (filled < kBarCells) cells += '>';
  cells.resize(kBarCells, ' ');
  return "[" + cells + "]" + strprintf(" %3.0f%%  ", done * 100);
}

std::string timeLeft(double done, double seconds) {
  return done > 0 ? strprintf("  %.0f s left", seconds * (1 - done) / done) : "";
}

}  // namespace

std::string progressText(const Progress& progress) {
  const double seconds = std::max(progress.seconds, 1e-3);
  const double megabytes = static_cast<double>(progress.bytes) / kMegabyte;
  const std::string rates =
      strprintf("%.0f MB/s  %.0f rows/s", megabytes / seconds, static_cast<double>(progress.rows) / seconds);
  const std::uint64_t total = progress.totalBytes.value_or(0);
  if (total == 0) return strprintf("%.0f MB  ", megabytes) + rates;
  const double done = std::min(static_cast<double>(progress.bytes) / static_cast<double>(total), 1.0);
  return bar(done) + rates + timeLeft(done, progress.seconds);
}

ProgressBar::ProgressBar(Terminal terminal, std::optional<std::uint64_t> totalBytes)
    : enabled_(terminal == Terminal::kDetect && ::isatty(STDERR_FILENO) == 1),
      totalBytes_(totalBytes),
      start_(Clock::now()),
      lastDrawn_(start_) {}

void ProgressBar::update(std::uint64_t bytes, std::uint64_t rows) {
  if (!enabled_) return;
  const Clock::time_point now = Clock::now();
  const std::lock_guard lock(drawing_);
  if (now - lastDrawn_ < kBetweenDrawings) return;
  lastDrawn_ = now;
  shown_ = true;
  std::fprintf(stderr, "\r%s\033[K", progressText({bytes, totalBytes_, rows, seconds()}).c_str());
}

void ProgressBar::hide() {
  const std::lock_guard lock(drawing_);
  if (!shown_) return;
  shown_ = false;
  std::fputs("\r\033[K", stderr);
}

double ProgressBar::seconds() const { return std::chrono::duration<double>(Clock::now() - start_).count(); }

}  // namespace kyv_internal
