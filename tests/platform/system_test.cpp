#include "kyv/system.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <map>
#include <string>
#include <thread>
#include <vector>

#include "tests/support/in_child.h"

namespace {

using DALVON::Kyv::ErrorUtility;
using kyv_test::inChild;
using std::string_literals::operator""s;

std::string message(const std::string& module, const std::string& id, const std::vector<const char*>& parameters) {
  return ErrorUtility::getModuleErrors(module)->getMessage(id, parameters.data(), static_cast<int>(parameters.size()));
}

// The bundles of this test lie beside its program.
std::string oddTextsFolder() { return std::filesystem::canonical("/proc/self/exe").parent_path() / "messages"; }

TEST(Messages, ComeInTheLanguageOfTheEnvironment) {
  const struct {
    std::map<std::string, std::string> environment;
    const char* expected;
  } rows[] = {
      {{{"LC_ALL", "C"}}, "Project sales/1 has no stream Trades."},
      {{{"LC_ALL", "en_GB.UTF-8"}}, "Project sales/1 has no stream Trades."},
      {{{"LC_ALL", "de_DE.UTF-8"}}, "Das Projekt sales/1 hat keinen Stream Trades."},
      {{{"LC_ALL", "de_AT@euro"}}, "Das Projekt sales/1 hat keinen Stream Trades."},
      {{{"LC_ALL", "fr"}}, "Le projet sales/1 n\u2019a pas de flux Trades."},
      {{{"LC_ALL", "ja_JP.eucJP"}}, "プロジェクト sales/1 にストリーム Trades がありません。"},
      {{{"LC_ALL", "sw_KE"}}, "Project sales/1 has no stream Trades."},
      {{{"LC_ALL", "no such locale/.."}}, "Project sales/1 has no stream Trades."},
      {{{"LC_MESSAGES", "fr_CA"}, {"LANG", "de"}}, "Le projet sales/1 n\u2019a pas de flux Trades."},
      {{{"LANG", "de"}}, "Das Projekt sales/1 hat keinen Stream Trades."},
  };
  for (const auto& row : rows) {
    const auto text = [] { return message("internal-adapters", "streamNotFound", {"Trades", "sales/1"}); };
    EXPECT_EQ(inChild(row.environment, text), row.expected);
  }
}

TEST(Messages, FillTheirParametersOrFallBackToTheId) {
  const struct {
    const char* locale;
    std::string id;
    std::vector<const char*> parameters;
    std::string expected;
  } rows[] = {
      {"C", "swapped", {"a", "b"}, "b after a"},
      {"de", "swapped", {"a", "b"}, "a vor b, ü"},
      {"C", "swapped", {"a", "b", "ignored"}, "b after a"},
      {"C", "swapped", {"a"}, "{1} after a"},
      {"C", "swapped", {"{1}", "it's '{0}'"}, "it's '{0}' after {1}"},
      {"C", "swapped", {nullptr, "b"}, "b after "},
      {"C", "swapped", {"\xFFx", "日本"}, "日本 after \uFFFDx"},
      {"C", "bothQuotes", {"x"}, "it's x, {0}, don't"},
      {"C", "noText", {"x"}, ""},
      {"de", "englishOnly", {"x"}, "English: x"},
      // Texts that are no patterns for plain texts.
      {"C", "unclosed", {"x"}, "unclosed x"},
      {"C", "number", {"7"}, "number 7"},
      {"de", "brokenInGerman", {}, "brokenInGerman"},
      {"C", "table", {"x"}, "table x"},
      {"C", "list", {}, "list"},
      // Ids that the module does not have.
      {"de", "unknown", {"a", "", "{0}"}, "unknown a  {0}"},
      {"C", "", {"x"}, " x"},
      {"C", "table/inner", {}, "table/inner"},
      {"C", "noText\0x"s, {}, "noText\0x"s},
      {"C", "\xFF\n%s", {"\xFE"}, "\xFF\n%s \xFE"},
      {"C", std::string(5000, 'k'), {"x"}, std::string(5000, 'k') + " x"},
  };
  for (const auto& row : rows) {
    const auto text = [&row] { return message("odd-texts", row.id, row.parameters); };
    EXPECT_EQ(inChild({{"LC_ALL", row.locale}, {"KYV_MESSAGES_DIR", oddTextsFolder()}}, text), row.expected)
        << row.locale << ' ' << row.id;
  }
}

TEST(Messages, OfAModuleWithoutTextsAreTheIdAndItsParameters) {
  const auto text = [] {
    const DALVON::Kyv::ModuleErrors& none = *ErrorUtility::getModuleErrors("internal-adapters");
    return none.getMessage("id") + '|' + none.getMessage("id", "a") + '|' + none.getMessage("id", "a", "b") + '|' +
           none.getMessage("id", "a", "b", "c") + '|' + none.getMessage("id", "a", "b", "c", "d") + '|' +
           none.getMessage("id", "a", "b", "c", "d", "e") + '|' + none.getMessage("id", nullptr, -1);
  };
  for (const char* folder : {"/nowhere", "/proc/self/exe", "relative", ".", "/"}) {
    EXPECT_EQ(inChild({{"KYV_MESSAGES_DIR", folder}}, text), "id|id a|id a b|id a b c|id a b c d|id a b c d e|id")
        << folder;
  }
  EXPECT_EQ(inChild({{"LC_ALL", "C"}, {"KYV_MESSAGES_DIR", ""}},
                    [] { return message("internal-adapters", "fileNotFound", {"a.csv"}); }),
            "File a.csv does not exist.")
      << "an empty variable is none";
}

TEST(Messages, AreFoundThroughTheFolderOfTheFirstUse) {
  const auto text = [] {
    const std::filesystem::path folder = oddTextsFolder();
    std::filesystem::current_path(folder.parent_path());
    setenv("KYV_MESSAGES_DIR", folder.filename().c_str(), 1);
    ErrorUtility::initialize();
    setenv("KYV_MESSAGES_DIR", "/nowhere", 1);
    std::filesystem::current_path("/");
    return message("odd-texts", "englishOnly", {"x"});
  };
  EXPECT_EQ(inChild({}, text), "English: x");
}

TEST(Messages, OfOneModuleAreOneObjectForAllThreads) {
  std::vector<DALVON::Kyv::ModuleErrors*> modules(8);
  std::vector<std::string> texts(modules.size());
  {
    std::vector<std::jthread> threads;
    for (std::size_t i = 0; i < modules.size(); ++i) {
      threads.emplace_back([i, &modules, &texts] {
        modules[i] = ErrorUtility::getModuleErrors("internal-adapters");
        for (int call = 0; call < 200; ++call) texts[i] = modules[i]->getMessage("unknown", std::to_string(i));
      });
    }
  }
  for (std::size_t i = 0; i < modules.size(); ++i) {
    EXPECT_EQ(modules[i], modules[0]);
    EXPECT_EQ(texts[i], "unknown " + std::to_string(i));
  }
  EXPECT_NE(ErrorUtility::getModuleErrors("another"), modules[0]);
}

TEST(IntlText, CopiesWhatFitsAndAlwaysTerminates) {
  const struct {
    const char* source;
    std::size_t size;
    std::string expected;  // of a buffer that held "######"
  } rows[] = {
      {"abc", 6, "abc\0##"s}, {"abc", 4, "abc\0##"s}, {"abc", 3, "ab\0###"s},
      {"abc", 1, "\0#####"s}, {"abc", 0, "######"},   {"", 6, "\0#####"s},
  };
  for (const auto& row : rows) {
    std::string out = "######";
    EXPECT_EQ(DALVON::Kyv::intl_strlcpy(out.data(), row.source, row.size), std::strlen(row.source));
    EXPECT_EQ(out, row.expected) << row.source << ' ' << row.size;
    out = "######";
    EXPECT_EQ(DALVON::Kyv::intl_snprintf(out.data(), row.size, "%s", row.source), std::strlen(row.source));
    EXPECT_EQ(out, row.expected) << row.source << ' ' << row.size;
  }
}

TEST(IntlText, ReadsTheEnvironment) {
  EXPECT_EQ(inChild({{"KYV_TEST", "x"}}, [] { return std::string(DALVON::Kyv::intl_getenv("KYV_TEST")); }), "x");
  EXPECT_EQ(DALVON::Kyv::intl_getenv("KYV_NO_SUCH_VARIABLE"), nullptr);
}

}  // namespace
