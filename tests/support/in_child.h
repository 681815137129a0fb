#pragma once

// Runs code that a process can do only once, such as choosing its language, in a process of its own for each case.

#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <map>
#include <string>

namespace kyv_test {

// What `body` returns in a child process that has these environment variables and, but for them, no locale: a text of
// less than a pipe's 64 KiB. A text in angle brackets tells that the child died.
template <class Body>
std::string inChild(const std::map<std::string, std::string>& environment, Body body) {
  int ends[2];
  if (pipe(ends) != 0) return "<no pipe>";
  const pid_t child = fork();
  if (child == 0) {
    for (const char* name : {"LC_ALL", "LC_MESSAGES", "LANG"}) unsetenv(name);
    for (const auto& [name, value] : environment) setenv(name.c_str(), value.c_str(), 1);
    const std::string text = body();
    _exit(write(ends[1], text.data(), text.size()) == static_cast<ssize_t>(text.size()) ? 0 : 1);
  }
  close(ends[1]);
  int status = 0;
  waitpid(child, &status, 0);
  std::string text(65536, '\0');
  text.resize(static_cast<std::size_t>(std::max<ssize_t>(0, read(ends[0], text.data(), text.size()))));
  close(ends[0]);
  return status == 0 ? text : "<died with status " + std::to_string(status) + ">";
}

}  // namespace kyv_test
