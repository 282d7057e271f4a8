#include "silent_analysis.h"

#include "report_scope.h"

SilentAnalysis::SilentAnalysis(const char* path) : analysis(path) {
  if (!analysis.file.data) return;
  SilentReporter silent;
  ReportScope scope(&silent, {});
  analysis.run();
  ran_ = true;
}
