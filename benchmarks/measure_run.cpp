// measure_run COMMAND ARGUMENTS...   runs the command, its standard output discarded, and prints what it took:
// seconds by the clock, seconds of processor time, kilobytes of memory at its peak. Its status is the command's.

#include <fcntl.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <cstdio>

namespace {

[[noreturn]] void runCommand(char** command) {
  dup2(open("/dev/null", O_WRONLY), STDOUT_FILENO);
  execvp(command[0], command);
  std::perror(command[0]);
  _exit(127);
}

double seconds(const timeval& time) {
  return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_usec) * 1e-6;
}

}  // namespace

int main(int argc, char** argv) {
  if (argc < 2) {
    std::fprintf(stderr, "usage: measure_run COMMAND ARGUMENTS...\n");
    return 2;
  }
  const auto start = std::chrono::steady_clock::now();
  const pid_t child = fork();
  if (child == 0) runCommand(argv + 1);
  int status = 0;
  rusage usage{};
  if (child < 0 || wait4(child, &status, 0, &usage) != child) {
    std::perror("measure_run");
    return 3;
  }
  const std::chrono::duration<double> clock = std::chrono::steady_clock::now() - start;
  std::printf("%.4f %.4f %ld\n", clock.count(), seconds(usage.ru_utime) + seconds(usage.ru_stime), usage.ru_maxrss);
  return WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
}
