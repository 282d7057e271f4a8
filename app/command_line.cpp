#include "app/command_line.h"

#include <cstdio>

#include "app/console_reporter.h"
#include "engine/box_analysis.h"

int commandLineAnalysis(const char* path) {
  BoxAnalysis analysis(path);
  if (!analysis.file.data) {
    std::fprintf(stderr, "vorn: %s: %s\n", path, analysis.file.problem.c_str());
    return 2;
  }
  ConsoleReporter reporter;
  currentReporter = &reporter;
  debug = true;
  verbose = true;
  analysis.run();  // the verdict is not used: the findings are the outcome
  std::fflush(stdout);
  currentReporter = nullptr;
  if (analysis.file.shrank()) {
    // The findings printed so far stand; what followed would describe zeros.
    std::fprintf(stderr, "vorn: %s: the file shrank while it was being analysed\n", path);
    return 2;
  }
  return 0;
}
