#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <thread>
#include <vector>

#include "kyv/flat.h"
#include "tests/support/in_child.h"

namespace {

std::string take(char* message) {
  const std::string text = message == nullptr ? "(null)" : message;
  deleteL10NMessage(message);
  return text;
}

// One line of each message function.
std::string allMessages() {
  std::string texts[] = {"a", "b", "c", "d"};
  char* parameters[] = {texts[0].data(), texts[1].data(), texts[2].data(), texts[3].data()};
  return take(getL10NMessage("unknown")) + '\n' +                                                //
         take(getL10NMessageWithParam("fileNotFound", "a")) + '\n' +                             //
         take(getL10NMessageWithTwoParams("streamNotFound", "a", "b")) + '\n' +                  //
         take(getL10NMessageWithThreeParams("retrying", "1", "5", "10")) + '\n' +                //
         take(getL10NMessageWithFourParams("parameterOutOfRange", "a", "b", "c", "d")) + '\n' +  //
         take(getL10NMessageWithFiveParams("unknown", "1", "2", "3", "4", "5")) + '\n' +         //
         take(getL10NMessageWithMultParams("parameterOutOfRange", 4, parameters)) + '\n' +       //
         take(getL10NMessageWithMultParams("unknown", 0, nullptr));
}

TEST(LocalisedMessages, ComeFromTheCatalogueOfAdapters) {
  EXPECT_EQ(kyv_test::inChild({{"LC_ALL", "C"}}, allMessages),
            "unknown\n"
            "File a does not exist.\n"
            "Project b has no stream a.\n"
            "Attempt 1 of 5 has failed. Trying again in 10 s.\n"
            "Parameter a is b, but must lie between c and d.\n"
            "unknown 1 2 3 4 5\n"
            "Parameter a is b, but must lie between c and d.\n"
            "unknown");
  EXPECT_EQ(kyv_test::inChild({{"LC_ALL", "de_CH"}}, allMessages),
            "unknown\n"
            "Die Datei a gibt es nicht.\n"
            "Das Projekt b hat keinen Stream a.\n"
            "Versuch 1 von 5 ist gescheitert. Der nächste folgt in 10 s.\n"
            "Der Parameter a ist b, muss aber zwischen c und d liegen.\n"
            "unknown 1 2 3 4 5\n"
            "Der Parameter a ist b, muss aber zwischen c und d liegen.\n"
            "unknown");
}

TEST(LocalisedMessages, AreIdAndParametersWithoutACatalogue) {
  EXPECT_EQ(kyv_test::inChild({{"KYV_MESSAGES_DIR", "/nowhere"}}, allMessages),
            "unknown\nfileNotFound a\nstreamNotFound a b\nretrying 1 5 10\nparameterOutOfRange a b c d\n"
            "unknown 1 2 3 4 5\nparameterOutOfRange a b c d\nunknown");
}

TEST(LocalisedMessages, OpenTheCatalogueOnceForSeveralThreads) {
  const auto firstUses = [] {
    std::vector<std::string> texts(8);
    {
      std::vector<std::jthread> threads;
      for (std::string& text : texts) {
        threads.emplace_back([&text] {
          init_i18n();
          text = take(getL10NMessageWithParam("fileNotFound", "a"));
        });
      }
    }
    return std::to_string(std::count(texts.begin(), texts.end(), "File a does not exist."));
  };
  EXPECT_EQ(kyv_test::inChild({{"LC_ALL", "C"}}, firstUses), "8");
}

TEST(LocalisedMessages, HaveSeverityOneAlwaysAndANullThatCanBeDeleted) {
  EXPECT_EQ(checkErrorSeverity(), 1);
  EXPECT_EQ(getErrorSeverity(), 1);
  deleteL10NMessage(nullptr);
}

}  // namespace
