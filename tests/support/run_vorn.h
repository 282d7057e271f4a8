// Runs the project's programs as a user would and captures what they print.
#pragma once

#include <string>
#include <vector>

namespace boxtest {

struct RunResult {
  std::string out;
  std::string err;
  int status = -1;  // exit status; 128 + signal number when killed
};

// Runs program with args under TZ=UTC and without a display, in dir when
// one is given.  With unprivileged, a caller that is root runs it as the user
// nobody, so that file permissions apply.  With stdoutTo, its standard
// output goes to that file (/dev/full, say) instead of being captured.
// Hangs are CTest's TIMEOUT to catch.
RunResult runProgram(const std::string& program, const std::vector<std::string>& args,
                     bool unprivileged = false, const std::string& dir = "", const char* stdoutTo = nullptr);

RunResult runVorn(const std::vector<std::string>& args);
// The vorn and boxtool programs of this build.
const char* vornProgram();
const char* boxtoolProgram();
RunResult runVornUnprivileged(const std::vector<std::string>& args);

// Runs boxtool in dir, tests/data when none is given, so that golden boxes
// go by their names and no output holds a path of this machine.
RunResult runBoxtool(const std::vector<std::string>& args, const std::string& dir = "");

std::vector<std::string> splitLines(const std::string& text);

// The rows of RFC 4180 CSV text (quoted fields with doubled quotes, CRLF
// line ends), each as its fields.
std::vector<std::vector<std::string>> parseCsv(const std::string& text);

// args followed by more.
std::vector<std::string> with(std::vector<std::string> args, const std::vector<std::string>& more);

}  // namespace boxtest
