#include "platform/sdk/project_uri.h"

#include <gtest/gtest.h>

#include <string>

namespace kyv_internal {
namespace {

TEST(ProjectUri, ReadsItsPartsOrRefusesThem) {
  const struct {
    const char* text;
    const char* parts;  // server workspace path number; null when it is none
  } cases[] = {
      {"kyv://localhost:0000/default/orders:1", "localhost:0000 default orders 1"},
      {"kyv://a-b.c:65535/w.1/some/long_er/path.x:007", "a-b.c:65535 w.1 some/long_er/path.x 007"},
      {"kyv://h:1/default/p:999999999", "h:1 default p 999999999"},
      {"kyv://h:1/default/p:1000000000", nullptr},
      {"kyv://h:1/default/p:", nullptr},
      {"kyv://h:1/default/p", nullptr},
      {"kyv://h:1/default/:1", nullptr},
      {"kyv://h:1/default/a//b:1", nullptr},
      {"kyv://h:1/default/a/:1", nullptr},
      {"kyv://h:1/default//a:1", nullptr},
      {"kyv://h:1/default/../a:1", nullptr},
      {"kyv://h:1/default/a/../../b:1", nullptr},
      {"kyv://h:1/../a:1", nullptr},
      {"kyv://h:1/default/.a:1", nullptr},
      {"kyv://h:1/default/a b:1", nullptr},
      {"kyv://h:1/default/\xC3\xA4:1", nullptr},
      {"kyv://h:1/default/a:-1", nullptr},
      {"kyv://h/default/a:1", nullptr},
      {"kyv://:1/default/a:1", nullptr},
      {"kyv://h:1/a:1", nullptr},
      {"KYV://h:1/default/a:1", nullptr},
      {"http://h:1/default/a:1", nullptr},
      {"", nullptr},
  };
  for (const auto& [text, parts] : cases) {
    ProjectAddress address;
    Failure failure;
    EXPECT_EQ(parseProjectUri(text, address, failure), parts != nullptr) << text;
    if (parts != nullptr) {
      EXPECT_EQ(address.server + ' ' + address.workspace + ' ' + address.path + ' ' + address.number, parts) << text;
    } else {
      EXPECT_EQ(failure.message, '\'' + std::string(text) +
                                     "' is no project's address, which looks like "
                                     "kyv://HOST:PORT/WORKSPACE/PATH:NUMBER");
    }
  }
  ProjectAddress address;
  Failure failure;
  EXPECT_FALSE(parseProjectUri("kyv://h:1/default/" + std::string(201, 'a') + ":1", address, failure));
}

}  // namespace
}  // namespace kyv_internal
