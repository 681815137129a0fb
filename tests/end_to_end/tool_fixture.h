#pragma once

// Runs the built tool through a shell, in an empty folder.

#include <gtest/gtest.h>
#include <sys/wait.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

#include "paths.h"

namespace kyv_test {

inline std::string read(const std::filesystem::path& path) {
  std::ifstream file(path, std::ios::binary);
  std::ostringstream text;
  text << file.rdbuf();
  return text.str();
}

struct Outcome {
  int status;
  std::string out;
  std::string err;
};

inline constexpr char kPeople[] = "Id,Name,Born\n1,Ann,1990-01-31\n2,Bob,\n";
inline constexpr char kPeopleSchema[] =
    R"({"stream": "people", "id": 1, "header": true, "formats": {"date": "%Y-%m-%d"},
        "columns": [{"name": "Id", "type": "integer"}, {"name": "Name", "type": "string"},
                    {"name": "Born", "type": "date"}]})";

// Each test has a folder of its own.
class Tool : public testing::Test {
 protected:
  Tool() {
    std::string pattern = (std::filesystem::temp_directory_path() / "kyv_tool_test.XXXXXX").string();
    folder_ = mkdtemp(pattern.data());
  }
  ~Tool() override { std::filesystem::remove_all(folder_); }

  std::filesystem::path path(const std::string& name) const { return folder_ / name; }

  void write(const std::string& name, const std::string& text) const {
    std::ofstream(path(name), std::ios::binary) << text;
  }

  void writePeople() const {
    write("people.csv", kPeople);
    write("people.json", kPeopleSchema);
  }

  // A line of bash, in which `kyv` is the tool.
  Outcome run(const std::string& line) const {
    write("line", "export PATH=" + std::string(kyv_test::kToolDir) + ":$PATH\n" + line + "\n");
    const std::string command = "cd " + folder_.string() + " && bash line >out 2>err </dev/null";
    const int status = std::system(command.c_str());
    return {WIFEXITED(status) ? WEXITSTATUS(status) : -1, read(path("out")), read(path("err"))};
  }

  std::vector<std::string> files() const {
    std::vector<std::string> names;
    for (const auto& entry : std::filesystem::directory_iterator(folder_)) names.push_back(entry.path().filename());
    return names;
  }

 private:
  std::filesystem::path folder_;
};

}  // namespace kyv_test
