// Guaranteed delivery through the SDK and each store: what an adapter does before and after a restart.

#include <gtest/gtest.h>
#include <unistd.h>

#include <cstdint>
#include <string>
#include <vector>

#include "kyv/flat.h"
#include "kyv/sdk.h"
#include "tests/sdk/store_fixture.h"

namespace {

class GuaranteedDelivery : public testing::TestWithParam<const char*> {
 protected:
  void SetUp() override {
    kyv_internal::Failure failure;
    if (kyv_internal::openStore(kyv_test::newProject(), failure) == nullptr)
      GTEST_SKIP() << "NOT TESTED: " << GetParam() << ": " << failure.message;
  }

  // The bookkeeping stream, with a key column or without.
  void define(const char* name, const std::vector<std::int32_t>& key) {
    const char* const names[] = {"Key", "Truncate", "Id", "Comment"};
    const std::uint32_t types[] = {2, 10, 1, 5};
    kyv_sdk_start(nullptr);
    kyv_uri_t* const uri = kyv_uri_create_string(("kyv://localhost:0000/default/" + path_ + ":1").c_str(), nullptr);
    kyv_project_t* const project = kyv_project_get(uri, nullptr, nullptr, nullptr);
    EXPECT_EQ(kyv_project_connect(project, nullptr), 0);
    EXPECT_NE(kyv_project_define_stream(project, name, 1, 4, names, types, static_cast<std::int32_t>(key.size()),
                                        key.data(), nullptr),
              nullptr);
    kyv_uri_free(uri, nullptr);
  }

  // Runs an adapter that processes `count` records, and gives the key that it started from.
  long long run(const char* stream, int count) {
    char* error = nullptr;
    GDSupportHandle* const support = createGDSupport(stream, path_.c_str(), 1, &error);
    const long long start = getLastProcessedGDKey(support, &error);
    for (int i = 1; i <= count; ++i) EXPECT_EQ(updateTruncateStream(support, start + i, i % 2, &error), 0);
    EXPECT_EQ(getLastProcessedGDKey(support, &error), start + count);
    deleteGDSupport(support, &error);
    EXPECT_EQ(error, nullptr) << error;
    return start;
  }

  const std::string path_ = "adapters/gd" + std::to_string(getpid());

 private:
  const kyv_test::StoreFolder folder_{GetParam()};
};

TEST_P(GuaranteedDelivery, AnAdapterGoesOnWhereItStopped) {
  define("Table", {2});
  define("Log", {});
  for (const char* const stream : {"Table", "Log"}) {
    EXPECT_EQ(run(stream, 3), 0) << stream;
    EXPECT_EQ(run(stream, 0), 3) << stream;
    EXPECT_EQ(run(stream, 2), 3) << stream;
    EXPECT_EQ(run(stream, 0), 5) << stream;
  }
}

TEST_P(GuaranteedDelivery, AMissingStreamGivesAHandleAndATextAndNothingCrashes) {
  char* error = nullptr;
  GDSupportHandle* const support = createGDSupport("Missing", path_.c_str(), 1, &error);
  ASSERT_NE(support, nullptr);
  EXPECT_STREQ(error, "the project has no stream 'Missing'");
  deleteL10NMessage(error);
  EXPECT_NE(updateTruncateStream(support, 1, 0, &error), 0);
  EXPECT_STREQ(error, "a handle is null");
  deleteL10NMessage(error);
  EXPECT_EQ(getLastProcessedGDKey(support, &error), 0);
  EXPECT_STREQ(error, "the stream's handle is null, was released, or is another's");
  deleteL10NMessage(error);
  error = nullptr;
  deleteGDSupport(support, &error);
  EXPECT_EQ(error, nullptr);
}

INSTANTIATE_TEST_SUITE_P(Stores, GuaranteedDelivery, testing::Values("sqlite", "postgres"),
                         [](const auto& store) { return std::string(store.param); });

}  // namespace
