#include "run_vorn.h"

#include <fcntl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdlib>
#include <sstream>
#include <stdexcept>

#include "golden.h"

#if !defined(VORN_BINARY) || !defined(BOXTOOL_BINARY)
#error "VORN_BINARY and BOXTOOL_BINARY must name the programs"
#endif

namespace boxtest {

namespace {

// Reads and removes a capture file.
std::string drain(const char* path) {
  std::string text = readWholeFile(path);
  unlink(path);
  return text;
}

}  // namespace

RunResult runProgram(const std::string& program, const std::vector<std::string>& args, bool unprivileged,
                     const std::string& dir, const char* stdoutTo) {
  char outPath[] = "/tmp/vorn-out-XXXXXX";
  char errPath[] = "/tmp/vorn-err-XXXXXX";
  const int outFd = mkstemp(outPath);
  const int errFd = mkstemp(errPath);
  if (outFd < 0 || errFd < 0) throw std::runtime_error("mkstemp failed");
  std::vector<char*> argv{const_cast<char*>(program.c_str())};
  for (const std::string& a : args) argv.push_back(const_cast<char*>(a.c_str()));
  argv.push_back(nullptr);

  const pid_t pid = fork();
  if (pid < 0) throw std::runtime_error("fork failed");
  if (pid == 0) {
    dup2(stdoutTo ? open(stdoutTo, O_WRONLY) : outFd, STDOUT_FILENO);
    dup2(errFd, STDERR_FILENO);
    dup2(open("/dev/null", O_RDONLY), STDIN_FILENO);
    setenv("TZ", "UTC", 1);
    for (const char* name : {"DISPLAY", "WAYLAND_DISPLAY", "QT_QPA_PLATFORM"}) unsetenv(name);
    constexpr uid_t kNobody = 65534;
    if (unprivileged && geteuid() == 0 && (setgid(kNobody) != 0 || setuid(kNobody) != 0)) _exit(126);
    if (dir.empty() || chdir(dir.c_str()) == 0) execv(program.c_str(), argv.data());
    _exit(127);
  }
  close(outFd);
  close(errFd);
  int status = 0;
  waitpid(pid, &status, 0);
  RunResult result;
  result.status = WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
  result.out = drain(outPath);
  result.err = drain(errPath);
  return result;
}

RunResult runVorn(const std::vector<std::string>& args) { return runProgram(VORN_BINARY, args); }

const char* vornProgram() { return VORN_BINARY; }
const char* boxtoolProgram() { return BOXTOOL_BINARY; }

RunResult runVornUnprivileged(const std::vector<std::string>& args) {
  return runProgram(VORN_BINARY, args, true);
}

RunResult runBoxtool(const std::vector<std::string>& args, const std::string& dir) {
  return runProgram(BOXTOOL_BINARY, args, false, dir.empty() ? goldenPath("") : dir);
}

std::vector<std::string> splitLines(const std::string& text) {
  std::vector<std::string> lines;
  std::string line;
  std::istringstream in(text);
  while (std::getline(in, line)) lines.push_back(line);
  return lines;
}

// RFC 4180 rows: quoted fields with doubled quotes, CRLF line ends.
std::vector<std::vector<std::string>> parseCsv(const std::string& text) {
  std::vector<std::vector<std::string>> rows(1, std::vector<std::string>(1));
  bool quoted = false;
  for (size_t i = 0; i < text.size(); ++i) {
    const char c = text[i];
    if (quoted) {
      if (c == '"' && i + 1 < text.size() && text[i + 1] == '"') {
        rows.back().back() += '"';
        ++i;
      } else if (c == '"') {
        quoted = false;
      } else {
        rows.back().back() += c;
      }
    } else if (c == '"') {
      quoted = true;
    } else if (c == ',') {
      rows.back().emplace_back();
    } else if (c == '\r' && i + 1 < text.size() && text[i + 1] == '\n') {
      rows.emplace_back(1);
      ++i;
    } else {
      rows.back().back() += c;
    }
  }
  rows.pop_back();  // behind the last line end
  return rows;
}

std::vector<std::string> with(std::vector<std::string> args, const std::vector<std::string>& more) {
  args.insert(args.end(), more.begin(), more.end());
  return args;
}

}  // namespace boxtest
