// What the embedded store says of files that it cannot use, and that it leaves those of others alone.

#include <gtest/gtest.h>
#include <sqlite3.h>
#include <sys/stat.h>
#include <unistd.h>

#include <fstream>
#include <functional>
#include <iterator>
#include <string>

#include "platform/sdk/project.h"
#include "tests/sdk/store_fixture.h"

namespace kyv_internal {
namespace {

namespace fs = std::filesystem;

const ProjectAddress kProject{"localhost:0", "default", "orders", "1"};

void write(const fs::path& path, const std::string& bytes) { std::ofstream(path, std::ios::binary) << bytes; }

std::string readAll(const fs::path& path) {
  std::ifstream file(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(file), {}};
}

void runSql(const fs::path& path, const char* sql) {
  sqlite3* connection = nullptr;
  sqlite3_open(path.c_str(), &connection);
  EXPECT_EQ(sqlite3_exec(connection, sql, nullptr, nullptr, nullptr), SQLITE_OK) << sql;
  sqlite3_close(connection);
}

std::string whyNot(IfMissing ifMissing = IfMissing::Create) {
  Failure failure;
  ProjectAddress project = kProject;
  project.ifMissing = ifMissing;
  const auto store = openStore(project, failure);
  return store != nullptr ? "" : failure.message;
}

class ProjectFileTest : public testing::Test {
 protected:
  fs::path file() const { return folder_.path() / "default" / "orders.1.kyv"; }

 private:
  const kyv_test::StoreFolder folder_;
};

TEST_F(ProjectFileTest, LiesInAFolderThatIsMade) {
  EXPECT_EQ(whyNot(), "");
  EXPECT_TRUE(fs::exists(file()));
  EXPECT_EQ(whyNot(), "") << "and is opened again";
}

TEST_F(ProjectFileTest, IsNotMadeForWhoOnlyReads) {
  EXPECT_EQ(whyNot(IfMissing::Fail), "there is no project 'orders:1'");
  EXPECT_FALSE(fs::exists(file().parent_path()));
  fs::create_directory(file().parent_path());
  write(file(), "");
  EXPECT_EQ(whyNot(IfMissing::Fail), "there is no project 'orders:1'");
  EXPECT_EQ(readAll(file()), "");
  EXPECT_EQ(whyNot(), "");
  EXPECT_EQ(whyNot(IfMissing::Fail), "");
}

TEST_F(ProjectFileTest, OthersFilesAreRefusedAndLeftAsTheyAre) {
  const struct {
    const char* what;
    std::function<void()> make;
    const char* message;  // behind the file's name
  } cases[] = {
      {"a text", [&] { write(file(), std::string(5000, 'x')); }, "no project file"},
      {"another database", [&] { runSql(file(), "CREATE TABLE t (a)"); }, "no project file"},
      {"another's empty database", [&] { runSql(file(), "PRAGMA application_id = 5"); }, "no project file"},
      {"a later version", [&] { runSql(file(), "PRAGMA application_id = 1803122225; PRAGMA user_version = 99"); },
       "made by another version"},
  };
  fs::create_directories(file().parent_path());
  for (const auto& [what, make, message] : cases) {
    SCOPED_TRACE(what);
    fs::remove(file());
    make();
    const std::string before = readAll(file());
    const std::string said = whyNot();
    EXPECT_NE(said.find(file().string()), std::string::npos) << said;
    EXPECT_NE(said.find(message), std::string::npos) << said;
    EXPECT_EQ(readAll(file()), before);
  }
}

TEST_F(ProjectFileTest, SaysWhatMayNotBeWritten) {
  constexpr uid_t kNobody = 65534;
  const auto whyNotAsAnybody = [] {
    const uid_t user = geteuid();
    EXPECT_EQ(seteuid(user == 0 ? kNobody : user), 0);
    const std::string said = whyNot();
    EXPECT_EQ(seteuid(user), 0);
    return said;
  };
  const std::string name = "the project file '" + file().string() + "': ";
  EXPECT_EQ(whyNot(), "");
  chmod(file().parent_path().parent_path().c_str(), 0755);
  chmod(file().c_str(), 0444);
  EXPECT_EQ(whyNotAsAnybody(), name + "attempt to write a readonly database (Permission denied)");
  fs::remove(file());
  chmod(file().parent_path().c_str(), 0555);
  EXPECT_EQ(whyNotAsAnybody(), name + "unable to open database file (Permission denied)");
  chmod(file().parent_path().c_str(), 0755);  // so that it can be removed
}

TEST_F(ProjectFileTest, DamageIsReported) {
  const StreamDefinition stream{"Log", 1, {{"a", 2}}, {}};
  Failure failure;
  auto store = openStore(kProject, failure);
  ASSERT_TRUE(store->defineStream(stream, failure));
  const std::string record(1000, 'r');
  const std::vector<PublishedRow> rows(500, {RowChange::Append, "", record});
  ASSERT_TRUE(store->publish(stream, rows, nullptr, failure)) << failure.message;
  store.reset();

  std::string bytes = readAll(file());
  ASSERT_GT(bytes.size(), 200000U);
  bytes.replace(40960, 100000, 100000, '\xA5');
  write(file(), bytes);
  store = openStore(kProject, failure);
  ASSERT_NE(store, nullptr) << failure.message;
  RowChunk chunk;
  EXPECT_FALSE(store->read(stream, 0, chunk, failure));
  EXPECT_EQ(failure.code, KYV_ERROR_STORE);
  EXPECT_EQ(failure.message, "the project file '" + file().string() + "' is damaged");
}

TEST_F(ProjectFileTest, ADamagedDefinitionIsReported) {
  Failure failure;
  auto store = openStore(kProject, failure);
  ASSERT_TRUE(store->defineStream({"Log", 1, {{"a", 2}}, {}}, failure));
  store.reset();
  runSql(file(), "UPDATE stream_column SET type = 4294967295");
  Project project(std::make_shared<const ProjectAddress>(kProject));
  ASSERT_TRUE(project.connect(IfMissing::Create, failure));
  EXPECT_EQ(project.findStream("Log", failure), nullptr);
  EXPECT_EQ(failure.message,
            "the stored definition is damaged: stream 'Log': column 'a' has no type that can be stored (4294967295)");
}

TEST_F(ProjectFileTest, WhatTheEnvironmentGetsWrongIsSaid) {
  setenv("KYV_STORE_SYNC", "fast", 1);
  EXPECT_EQ(whyNot(), "KYV_STORE_SYNC is 'fast', not full or normal");
  setenv("KYV_STORE_SYNC", "normal", 1);
  EXPECT_EQ(whyNot(), "");
  unsetenv("KYV_STORE_SYNC");
  setenv("KYV_STORE", "../x", 1);
  EXPECT_EQ(whyNot(), "KYV_STORE is '../x', which is no store's name");
  setenv("KYV_STORE", "nosuch", 1);
  EXPECT_NE(whyNot().find("libkyv_store_nosuch.so"), std::string::npos);
  setenv("KYV_STORE", "", 1);
  setenv("KYV_STORE_DIR", file().c_str(), 1);
  EXPECT_EQ(whyNot(), "the folder '" + file().string() + "/default' cannot be made: Not a directory");
}

}  // namespace
}  // namespace kyv_internal
