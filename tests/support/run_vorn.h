// Runs the vorn binary as a user would and captures what it prints.
#pragma once

#include <string>
#include <vector>

namespace boxtest {

struct RunResult {
  std::string out;
  std::string err;
  int status = -1;  // exit status; 128 + signal number when killed
};

// Runs vorn with args under TZ=UTC; gives up (and kills it) after timeoutSeconds.
RunResult runVorn(const std::vector<std::string>& args, int timeoutSeconds = 20);

// The same, run as the unprivileged user nobody when the caller is root, so
// that file permissions apply.
RunResult runVornUnprivileged(const std::vector<std::string>& args);

std::vector<std::string> splitLines(const std::string& text);

}  // namespace boxtest
