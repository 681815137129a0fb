#include "kyv/connection_errors.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace {

TEST(ConnectionErrors, ReportsParametersByNameThenGeneralMessagesByArrival) {
  ConnectionErrors errors;
  EXPECT_TRUE(errors.empty());
  EXPECT_EQ(errors.report(), "");

  errors.addGeneral("Z first");
  errors.addParam("port", "out of range");
  errors.addGeneral("A second");
  errors.addParam("Port", "unknown");
  errors.addParam("h\xC3\xB6he", "bad");
  EXPECT_EQ(errors.size(), 5u);
  EXPECT_EQ(errors.report(),
            "Parameter Port: unknown\nParameter h\xC3\xB6he: bad\nParameter port: out of range\nZ first\nA second");
  EXPECT_THAT(errors.general(), testing::ElementsAre("Z first", "A second"));

  errors.clear();
  EXPECT_TRUE(errors.empty());
  EXPECT_EQ(errors.report(), "");
}

TEST(ConnectionErrors, ReportsTheLatestMessageOfAParameterOnce) {
  ConnectionErrors errors;
  errors.addParam("port", "first");
  errors.addParam("port", "second");
  EXPECT_EQ(errors.size(), 1u);
  EXPECT_EQ(errors.report(), "Parameter port: second");
}

TEST(ConnectionErrors, StartsNoLineWhileTheReportIsEmpty) {
  ConnectionErrors errors;
  for (const char* message : {"", "", "a", "", "b"}) errors.addGeneral(message);
  EXPECT_EQ(errors.size(), 5u);
  EXPECT_EQ(errors.report(), "a\n\nb");
}

}  // namespace
