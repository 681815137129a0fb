// GDSupport against a scripted SDK: which calls it makes, in which order, and what is left after each kind of failure.

#include "kyv/gd_support.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <string>
#include <vector>

#include "kyv/flat.h"
#include "kyv/sdk.h"
#include "tests/services/scripted_sdk.h"

namespace {

using kyv_test::kForever;
using kyv_test::ScriptedSdk;
using kyv_test::scriptedSdk;
using Calls = std::vector<std::string>;

constexpr std::int32_t kInteger = 1;
constexpr std::int32_t kLong = 2;
constexpr std::int32_t kString = 5;
constexpr std::int32_t kBoolean = 10;

const Calls kCreateCalls = {"error_create",
                            "sdk_start",
                            "uri_create_string kyv://localhost:0000/default/a/b:7",
                            "project_get",
                            "project_connect",
                            "project_create_subscriber",
                            "project_create_publisher",
                            "project_get_stream Keys",
                            "stream_get_schema",
                            "schema_get_numcolumns",
                            "publisher_get_writer",
                            "message_writer_get_relative_rowwriter"};

std::string nameOf(const std::string& call) { return call.substr(0, call.find(' ')); }

// The calls since the last look.
Calls takeCalls() { return std::exchange(scriptedSdk().calls, {}); }

// An error argument that shows whether something was stored.
class Text {
 public:
  Text() : text_(unset_) {}
  ~Text() {
    if (text_ != unset_) delete[] text_;
  }
  Text(const Text&) = delete;
  Text& operator=(const Text&) = delete;

  char** out() { return &text_; }
  std::string str() const { return text_; }

 private:
  char unset_[8] = "(unset)";
  char* text_;
};

// Connected to a scripted stream of these columns. What was called so far is forgotten.
class Connected {
 public:
  explicit Connected(const std::vector<std::int32_t>& types, std::vector<ScriptedSdk::Event> events = {}) {
    scriptedSdk() = {};
    scriptedSdk().columnTypes = types;
    scriptedSdk().events = std::move(events);
    EXPECT_EQ(support.createGDSupport("Keys", "a/b", 7, text.out()), 0);
    EXPECT_EQ(text.str(), "(unset)");
    takeCalls();
  }

  Text text;
  GDSupport support;
};

void failFrom(const std::string& call, int failures) {
  scriptedSdk().failing = call;
  scriptedSdk().failures = failures;
}

TEST(GDSupport, ConnectsStepByStepAndLeavesWhatItReachedForDelete) {
  for (std::size_t failing = 0; failing <= kCreateCalls.size(); ++failing) {
    const bool succeeds = failing == kCreateCalls.size();
    const std::string call = succeeds ? "" : nameOf(kCreateCalls[failing]);
    SCOPED_TRACE(call);
    scriptedSdk() = {};
    scriptedSdk().columnTypes = {kLong};
    failFrom(call, 1);
    GDSupport support;
    Text text;
    EXPECT_EQ(support.createGDSupport("Keys", "a/b", 7, text.out()), succeeds ? 0 : 1);
    // Without an error object there is no text to ask for.
    EXPECT_EQ(text.str(), succeeds ? "(unset)" : failing == 0 ? "" : call + " failed");
    const Calls calls = takeCalls();
    EXPECT_EQ(calls, Calls(kCreateCalls.begin(),
                           kCreateCalls.begin() + static_cast<std::ptrdiff_t>(succeeds ? failing : failing + 1)));

    Calls releases;
    if (failing > 6) releases.insert(releases.end(), {"publisher_close", "publisher_free"});
    if (failing > 5) releases.insert(releases.end(), {"subscriber_close", "subscriber_free"});
    if (failing > 2) releases.emplace_back("uri_free");
    if (failing > 0) releases.emplace_back("error_free");
    Text none;
    EXPECT_EQ(support.deleteGDSupport(none.out()), 0);
    EXPECT_EQ(takeCalls(), releases);
    EXPECT_EQ(support.deleteGDSupport(none.out()), 0) << "twice does nothing";
    EXPECT_EQ(takeCalls(), Calls());
    EXPECT_EQ(none.str(), "(unset)");
  }
}

const Calls kUpdateCalls = {"publisher_connect",
                            "relative_rowwriter_start_row",
                            "relative_rowwriter_set_operation 7",
                            "schema_get_column_type 0",
                            "relative_rowwriter_set_null",
                            "schema_get_column_type 1",
                            "relative_rowwriter_set_long -42",
                            "schema_get_column_type 2",
                            "relative_rowwriter_set_boolean 1",
                            "schema_get_column_type 3",
                            "relative_rowwriter_set_integer 1",
                            "relative_rowwriter_end_row",
                            "publisher_publish"};

TEST(GDSupport, WritesKeyFlagAndOneByTheTypesOfTheColumns) {
  Connected connected({kString, kLong, kBoolean, kInteger});
  EXPECT_EQ(connected.support.updateTruncateStream(-42, true, connected.text.out()), 0);
  EXPECT_EQ(takeCalls(), kUpdateCalls);
  EXPECT_EQ(connected.text.str(), "(unset)");
  EXPECT_EQ(connected.support.updateTruncateStream(0, false, connected.text.out()), 0);
  EXPECT_THAT(takeCalls(),
              testing::IsSupersetOf({"relative_rowwriter_set_long 0", "relative_rowwriter_set_boolean 0"}));
  connected.support.deleteGDSupport(nullptr);
}

TEST(GDSupport, AFailureWhileWritingEndsTheCallOnlyInItsFirstStepsAndItsLast) {
  const struct {
    const char* failing;
    int result;
    std::size_t calls;    // how many are made of a call without failure
    const char* leftOut;  // which of them is not
  } cases[] = {
      {"publisher_connect", 1, 1, ""},
      {"relative_rowwriter_start_row", 1, 2, ""},
      {"relative_rowwriter_set_operation", 1, 3, ""},
      {"schema_get_column_type", 0, 13, "relative_rowwriter_set_null"},
      {"relative_rowwriter_set_null", 0, 13, ""},
      {"relative_rowwriter_set_long", 0, 13, ""},
      {"relative_rowwriter_set_boolean", 0, 13, ""},
      {"relative_rowwriter_set_integer", 0, 13, ""},
      {"relative_rowwriter_end_row", 0, 13, ""},
      {"publisher_publish", 1, 13, ""},
  };
  for (const auto& [failing, result, count, leftOut] : cases) {
    SCOPED_TRACE(failing);
    Connected connected({kString, kLong, kBoolean, kInteger});
    failFrom(failing, 1);
    EXPECT_EQ(connected.support.updateTruncateStream(-42, true, connected.text.out()), result);
    Calls expected(kUpdateCalls.begin(), kUpdateCalls.begin() + static_cast<std::ptrdiff_t>(count));
    std::erase(expected, leftOut);
    EXPECT_EQ(takeCalls(), expected);
    EXPECT_EQ(connected.text.str(), std::string(failing) + " failed");
    EXPECT_EQ(connected.support.updateTruncateStream(-42, true, nullptr), 0) << "works again";
    EXPECT_EQ(takeCalls(), kUpdateCalls);
    connected.support.deleteGDSupport(nullptr);
  }
}

TEST(GDSupport, OfSeveralFailuresTheLastTextStays) {
  for (const char* failing : {"schema_get_column_type", "relative_rowwriter_set_null"}) {
    Connected connected({kString, kString, kString});
    failFrom(failing, kForever);
    EXPECT_EQ(connected.support.updateTruncateStream(1, false, connected.text.out()), 0);
    EXPECT_EQ(connected.text.str(), std::string(failing) + " failed");
    EXPECT_EQ(takeCalls().back(), "publisher_publish") << failing;
    connected.support.deleteGDSupport(nullptr);
  }
}

TEST(GDSupport, TheLastLongOfTheLastRowIsTheKey) {
  using Event = ScriptedSdk::Event;
  const Event end{KYV_EVENT_END, {}};
  const struct {
    std::vector<std::int32_t> types;
    std::vector<Event> events;
    long long key;
  } cases[] = {
      {{kLong}, {end}, 0},
      {{kLong}, {{KYV_EVENT_ROWS, {}}, end}, 0},
      {{kLong}, {{KYV_EVENT_ROWS, {{5}}}, end}, 5},
      {{kLong}, {{KYV_EVENT_ROWS, {{5}, {-6}}}, end}, -6},
      {{kLong}, {{KYV_EVENT_ROWS, {{5}, {std::nullopt}}}, end}, 5},
      {{kLong, kLong}, {{KYV_EVENT_ROWS, {{5, 6}}}, end}, 6},
      {{kLong, kInteger, kLong}, {{KYV_EVENT_ROWS, {{5, 7, std::nullopt}}}, end}, 5},
      {{kInteger, kBoolean}, {{KYV_EVENT_ROWS, {{5, 1}}}, end}, 0},
      {{kLong}, {{0, {}}, {KYV_EVENT_ROWS, {{5}}}, {1, {{9}}}, {KYV_EVENT_ROWS, {{6}}}, end}, 6},
      {{kLong}, {{KYV_EVENT_ROWS, {{5}}}, end, {KYV_EVENT_ROWS, {{6}}}}, 5},
  };
  for (std::size_t i = 0; i < std::size(cases); ++i) {
    SCOPED_TRACE(i);
    Connected connected(cases[i].types, cases[i].events);
    for (int time = 0; time < 2; ++time) {
      EXPECT_EQ(connected.support.getLastProcessedGDKey(connected.text.out()), cases[i].key);
      EXPECT_EQ(connected.text.str(), "(unset)");
    }
    connected.support.deleteGDSupport(nullptr);
  }
}

const Calls kReadCalls = {"subscriber_connect",        "subscriber_subscribe",        "subscriber_get_next_event",
                          "subscriber_event_get_type", "subscriber_event_get_reader", "message_reader_next_row",
                          "row_reader_is_null 0",      "schema_get_column_type 0",    "row_reader_get_long 0",
                          "row_reader_is_null 1",      "message_reader_next_row",     "subscriber_get_next_event",
                          "subscriber_event_get_type"};

TEST(GDSupport, AFailureWhileReadingEndsItWithoutAKey) {
  const std::vector<ScriptedSdk::Event> events = {{KYV_EVENT_ROWS, {{5, std::nullopt}}}, {KYV_EVENT_END, {}}};
  for (std::size_t failing = 0; failing <= kReadCalls.size(); ++failing) {
    for (const int failures : {1, kForever}) {
      const bool succeeds = failing == kReadCalls.size();
      const std::string call = succeeds ? "" : nameOf(kReadCalls[failing]);
      SCOPED_TRACE(call);
      Connected connected({kLong, kLong}, events);
      failFrom(call, failures);
      EXPECT_EQ(connected.support.getLastProcessedGDKey(connected.text.out()), succeeds ? 5 : 0);
      const auto first = std::find_if(kReadCalls.begin(), kReadCalls.end(),
                                      [&](const std::string& made) { return nameOf(made) == call; });
      EXPECT_EQ(takeCalls(), Calls(kReadCalls.begin(), succeeds ? kReadCalls.end() : first + 1));
      EXPECT_EQ(connected.text.str(), succeeds ? "(unset)" : call + " failed");
      failFrom("", 0);
      connected.support.deleteGDSupport(nullptr);
    }
  }
}

// The end of an event's rows is no failure; a failure there is.
TEST(GDSupport, AFailureBehindTheLastRowIsOne) {
  Connected connected({kLong}, {{KYV_EVENT_ROWS, {}}, {KYV_EVENT_END, {}}});
  failFrom("message_reader_next_row", 1);
  EXPECT_EQ(connected.support.getLastProcessedGDKey(connected.text.out()), 0);
  EXPECT_EQ(connected.text.str(), "message_reader_next_row failed");
  connected.support.deleteGDSupport(nullptr);
}

TEST(GDSupport, ATextThatIsNotThereIsEmpty) {
  Connected connected({kLong}, {{KYV_EVENT_ROWS, {{5}}}, {KYV_EVENT_END, {}}});
  scriptedSdk().hasTexts = false;
  EXPECT_EQ(connected.support.getLastProcessedGDKey(nullptr), 5);
  failFrom("publisher_publish", 1);
  EXPECT_EQ(connected.support.updateTruncateStream(6, false, connected.text.out()), 1);
  EXPECT_EQ(connected.text.str(), "");
  connected.support.deleteGDSupport(nullptr);
}

TEST(GDSupport, TheFirstFailingReleaseEndsDeleteAndTheRestStays) {
  const Calls releases = {"publisher_close", "publisher_free", "subscriber_close",
                          "subscriber_free", "uri_free",       "error_free"};
  for (std::size_t failing = 0; failing < releases.size(); ++failing) {
    SCOPED_TRACE(releases[failing]);
    Connected connected({kLong});
    failFrom(releases[failing], 1);
    EXPECT_EQ(connected.support.deleteGDSupport(connected.text.out()), 1);
    const auto end = releases.begin() + static_cast<std::ptrdiff_t>(failing);
    EXPECT_EQ(takeCalls(), Calls(releases.begin(), end + 1));
    EXPECT_EQ(connected.text.str(), releases[failing] + " failed");

    // What is left is released by the next call, and a failed free is preceded by its close again.
    const bool closesAgain = releases[failing] == "publisher_free" || releases[failing] == "subscriber_free";
    EXPECT_EQ(connected.support.deleteGDSupport(nullptr), 0);
    EXPECT_EQ(takeCalls(), Calls(closesAgain ? end - 1 : end, releases.end()));
  }
}

TEST(GDSupport, FlatFunctionsGiveAHandleInAnyCase) {
  scriptedSdk() = {};
  scriptedSdk().columnTypes = {kLong};
  failFrom("project_get_stream", 1);
  char* error = nullptr;
  GDSupportHandle* support = createGDSupport("Keys", "a/b", 7, &error);
  ASSERT_NE(support, nullptr);
  EXPECT_STREQ(error, "project_get_stream failed");
  deleteL10NMessage(error);
  failFrom("publisher_free", 1);
  deleteGDSupport(support, &error);
  EXPECT_STREQ(error, "publisher_free failed");
  deleteL10NMessage(error);
  EXPECT_EQ(takeCalls().back(), "publisher_free") << "the handle is gone all the same";

  scriptedSdk() = {};
  scriptedSdk().columnTypes = {kLong, kBoolean};
  scriptedSdk().events = {{KYV_EVENT_ROWS, {{77, 1}}}, {KYV_EVENT_END, {}}};
  error = nullptr;
  support = createGDSupport("Keys", "a/b", 7, &error);
  EXPECT_EQ(getLastProcessedGDKey(support, &error), 77);
  takeCalls();
  EXPECT_EQ(updateTruncateStream(support, 78, 5, &error), 0);
  EXPECT_THAT(takeCalls(), testing::Contains("relative_rowwriter_set_boolean 1"));
  failFrom("publisher_publish", 1);
  EXPECT_NE(updateTruncateStream(support, 79, 0, &error), 0);
  EXPECT_STREQ(error, "publisher_publish failed");
  deleteL10NMessage(error);
  error = nullptr;
  deleteGDSupport(support, &error);
  deleteGDSupport(nullptr, &error);
  EXPECT_EQ(error, nullptr);
}

}  // namespace
