#include "command_line.h"

#include "box_analysis.h"
#include "console_reporter.h"
#include "report_scope.h"

int commandLineAnalysis(const char* path, FILE* out) {
  BoxAnalysis analysis(path);
  if (!analysis.file.data) {
    std::fprintf(stderr, "vorn: %s: %s\n", path, analysis.file.problem.c_str());
    return 2;
  }
  {
    ConsoleReporter reporter(out);
    ReportScope scope(&reporter, {.debug = true, .verbose = true});
    analysis.run();  // the verdict is not used: the findings are the outcome
  }
  std::fflush(out);
  if (analysis.file.shrank()) {
    // The findings printed so far stand; what followed would describe zeros.
    std::fprintf(stderr, "vorn: %s: the file shrank while it was being analysed\n", path);
    return 2;
  }
  return 0;
}
