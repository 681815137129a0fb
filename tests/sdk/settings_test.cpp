#include "platform/sdk/settings.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <fstream>
#include <string>

#include "tests/sdk/store_fixture.h"

namespace kyv_internal {
namespace {

TEST(Settings, ReadsLinesOfNamesAndValues) {
  const struct {
    const char* text;
    const char* value;  // of KYV_STORE_X
    const char* message;
  } cases[] = {
      {"", "", ""},
      {"# a comment\n\n \t\r\nKYV_STORE_X=1", "1", ""},
      {" KYV_STORE_X \t=  host=a,b user='x y' # z  \r\n", "host=a,b user='x y' # z", ""},
      {"KYV_STORE_X=1\nKYV_STORE=a\nKYV_STORE_X=2\n", "2", ""},
      {"KYV_STORE_X=\n", "", ""},
      {"KYV_STORE_X", "", "f:1: expected a setting such as KYV_STORE=sqlite"},
      {"KYV_STORE_X=1\nKYV_CONFIG=a", "", "f:2: expected a setting such as KYV_STORE=sqlite"},
      {"KYV_STORE_x=1", "", "f:1: expected a setting such as KYV_STORE=sqlite"},
      {"=1", "", "f:1: expected a setting such as KYV_STORE=sqlite"},
  };
  for (const auto& [text, value, message] : cases) {
    Settings settings;
    Failure failure;
    EXPECT_EQ(settings.parse(text, "f", failure), *message == '\0') << text;
    EXPECT_EQ(failure.message, message);
    if (failure.message.empty()) {
      EXPECT_EQ(settings.get("KYV_STORE_X"), value) << text;
    }
  }
}

TEST(Settings, AFileHoldsWhatTheEnvironmentDoesNotSay) {
  const kyv_test::StoreFolder folder;
  const auto write = [&](const std::filesystem::path& path, const std::string& text) {
    std::filesystem::create_directories(path.parent_path());
    std::ofstream(path) << text;
  };
  const auto chosen = [](const char* name) {
    Settings settings;
    Failure failure;
    return settings.read(failure) ? settings.get(name) : failure.message;
  };
  EXPECT_EQ(chosen("KYV_STORE"), "sqlite") << "without a file";
  write(folder.path() / "kyv/store.conf", "KYV_STORE=other\nKYV_STORE_SYNC=normal\n");
  EXPECT_EQ(chosen("KYV_STORE"), "sqlite");
  EXPECT_EQ(chosen("KYV_STORE_SYNC"), "normal");
  const std::string named = folder.path() / "named";
  setenv("KYV_CONFIG", named.c_str(), 1);
  EXPECT_EQ(chosen("KYV_STORE"), "the configuration file '" + named + "' cannot be read: No such file or directory");
  write(named, "KYV_STORE_SYNC=full");
  EXPECT_EQ(chosen("KYV_STORE_SYNC"), "full");
  write(named, std::string(70000, '#'));
  EXPECT_EQ(chosen("KYV_STORE"), "the configuration file '" + named + "' is larger than 65536 bytes");
  setenv("KYV_CONFIG", folder.path().c_str(), 1);
  EXPECT_NE(chosen("KYV_STORE").find("cannot be read: Is a directory"), std::string::npos);
  unsetenv("KYV_CONFIG");
  unsetenv("XDG_CONFIG_HOME");
  setenv("HOME", (folder.path() / "home").c_str(), 1);
  write(folder.path() / "home/.config/kyv/store.conf", "KYV_STORE_SYNC=fast");
  EXPECT_EQ(chosen("KYV_STORE_SYNC"), "fast");
}

}  // namespace
}  // namespace kyv_internal
