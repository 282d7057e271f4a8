#include "run_vorn.h"

#include <fcntl.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <sstream>
#include <stdexcept>
#include <thread>

#ifndef VORN_BINARY
#error "VORN_BINARY must name the vorn executable"
#endif

namespace boxtest {

namespace {
std::string slurp(const std::string& path) {
  std::ifstream in(path, std::ios::binary);
  std::ostringstream s;
  s << in.rdbuf();
  return s.str();
}
}  // namespace

namespace {
RunResult run(const std::vector<std::string>& args, int timeoutSeconds, bool dropRoot) {
  char outPath[] = "/tmp/vorn-out-XXXXXX";
  char errPath[] = "/tmp/vorn-err-XXXXXX";
  const int outFd = mkstemp(outPath);
  const int errFd = mkstemp(errPath);
  if (outFd < 0 || errFd < 0) throw std::runtime_error("mkstemp failed");

  const pid_t pid = fork();
  if (pid < 0) throw std::runtime_error("fork failed");
  if (pid == 0) {
    dup2(outFd, STDOUT_FILENO);
    dup2(errFd, STDERR_FILENO);
    const int devNull = open("/dev/null", O_RDONLY);
    dup2(devNull, STDIN_FILENO);
    setenv("TZ", "UTC", 1);
    // The command line needs no display; without one the window mode says so.
    for (const char* name : {"DISPLAY", "WAYLAND_DISPLAY", "QT_QPA_PLATFORM"}) unsetenv(name);
    constexpr uid_t kNobody = 65534;
    if (dropRoot && geteuid() == 0 && (setgid(kNobody) != 0 || setuid(kNobody) != 0)) _exit(126);
    std::vector<char*> argv;
    static char name[] = "vorn";
    argv.push_back(name);
    for (const std::string& a : args) argv.push_back(const_cast<char*>(a.c_str()));
    argv.push_back(nullptr);
    execv(VORN_BINARY, argv.data());
    _exit(127);
  }
  close(outFd);
  close(errFd);

  RunResult result;
  int status = 0;
  const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(timeoutSeconds);
  while (waitpid(pid, &status, WNOHANG) == 0) {
    if (std::chrono::steady_clock::now() > deadline) {
      kill(pid, SIGKILL);
      waitpid(pid, &status, 0);
      break;
    }
    std::this_thread::sleep_for(std::chrono::milliseconds(2));
  }
  result.status = WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
  result.out = slurp(outPath);
  result.err = slurp(errPath);
  unlink(outPath);
  unlink(errPath);
  return result;
}
}  // namespace

RunResult runVorn(const std::vector<std::string>& args, int timeoutSeconds) {
  return run(args, timeoutSeconds, false);
}

RunResult runVornUnprivileged(const std::vector<std::string>& args) { return run(args, 20, true); }

std::vector<std::string> splitLines(const std::string& text) {
  std::vector<std::string> lines;
  std::string line;
  std::istringstream in(text);
  while (std::getline(in, line)) lines.push_back(line);
  return lines;
}

}  // namespace boxtest
