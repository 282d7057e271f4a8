#include "command_line.h"

#include <cerrno>
#include <cstring>

#include "box_analysis.h"
#include "console_reporter.h"
#include "report_scope.h"

std::string shownPath(const char* path) {
  std::string shown;
  for (const char* p = path; *p; ++p) {
    const auto b = static_cast<unsigned char>(*p);
    if (b < 0x20 || b == 0x7F) {
      char escape[5];
      std::snprintf(escape, sizeof escape, "\\x%02x", b);
      shown += escape;
    } else {
      if (b == '\\') shown += '\\';
      shown += static_cast<char>(b);
    }
  }
  return shown;
}

int finishOutput(const char* program, int status) {
  errno = 0;
  if (std::fflush(stdout) == 0 && !std::ferror(stdout)) return status;
  std::fprintf(stderr, "%s: standard output: %s\n", program, errno ? std::strerror(errno) : "write error");
  return 2;
}

int commandLineAnalysis(const char* path, FILE* out) {
  BoxAnalysis analysis(path);
  if (!analysis.file.data) {
    std::fprintf(stderr, "vorn: %s: %s\n", shownPath(path).c_str(), analysis.file.problem.c_str());
    return 2;
  }
  int written = 0;
  {
    ConsoleReporter reporter(out);
    ReportScope scope(&reporter, {.debug = true, .verbose = true});
    analysis.run();  // the verdict is not used: the findings are the outcome
    written = reporter.finish();
  }
  if (written != 0) {
    std::fprintf(stderr, "vorn: standard output: %s\n", std::strerror(written));
    return 2;
  }
  if (analysis.file.shrank()) {
    // The findings printed so far stand; what followed would describe zeros.
    std::fprintf(stderr, "vorn: %s: the file shrank while it was being analysed\n", shownPath(path).c_str());
    return 2;
  }
  return 0;
}
