#pragma once

// A folder with a file of records.

#include <gtest/gtest.h>

#include "tests/end_to_end/tool_fixture.h"

namespace kyv_test {

class RecordsTool : public Tool {
 protected:
  // Five records of 52 bytes, of people.json's schema, in "rows" and in "made".
  void writeRecords() const {
    writePeople();
    const Outcome outcome =
        run("for i in 1 2 3 4 5; do echo \"$i,Ann,1990-01-31\"; done | "
            "kyv convert -q --no-header -s people.json - -o rows && cp rows made");
    ASSERT_EQ(outcome.status, 0) << outcome.err;
  }
};

}  // namespace kyv_test
