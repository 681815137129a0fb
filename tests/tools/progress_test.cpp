#include <gtest/gtest.h>

#include "progress_bar.h"
#include "run_summary.h"

namespace kyv_internal {
namespace {

TEST(Progress, ShowsRateAndTimeLeft) {
  EXPECT_EQ(progressText({50000000, 200000000, 1000000, 2}),
            "[=======>                      ]  25%  25 MB/s  500000 rows/s  6 s left");
  EXPECT_EQ(progressText({200000000, 200000000, 1000000, 2}),
            "[==============================] 100%  100 MB/s  500000 rows/s  0 s left");
  // A file that has grown since it was opened.
  EXPECT_EQ(progressText({300000000, 200000000, 1000000, 2}).substr(0, 38), "[==============================] 100% ");
  EXPECT_EQ(progressText({50000000, {}, 1000000, 2}), "50 MB  25 MB/s  500000 rows/s");
}

TEST(RunSummary, CountsAddUp) {
  RunSummary summary;
  summary.read = 9;
  summary.rejected = 2;
  summary.bytes = 3000000;
  summary.seconds = 0.5;
  EXPECT_EQ(summary.text(), "read 9, accepted 7, rejected 2 in 0.500 s (18 rows/s, 6.0 MB/s)");
  summary.blankLines = 1;
  EXPECT_EQ(summary.text(), "read 9, accepted 7, rejected 2 in 0.500 s (18 rows/s, 6.0 MB/s); blank lines skipped: 1");
  EXPECT_EQ(summary.json(),
            "{\"read\": 9, \"accepted\": 7, \"rejected\": 2, \"blank\": 1, \"seconds\": 0.500000, "
            "\"rows_per_second\": 18, \"megabytes_per_second\": 6.0}");
  EXPECT_EQ(RunSummary().text(), "read 0, accepted 0, rejected 0 in 0.000 s (0 rows/s, 0.0 MB/s)");
}

}  // namespace
}  // namespace kyv_internal
