// An analysis that the box library runs for itself: findings are delivered
// to a sink that shows nothing (delivery is what raises the levels), and
// the analysis' process-wide reporter, switches and registers are put back
// as they were when it ends.
#pragma once

#include "box_analysis.h"
#include "reporter.h"

class SilentAnalysis {
 public:
  explicit SilentAnalysis(const char* path);
  SilentAnalysis(const SilentAnalysis&) = delete;
  SilentAnalysis& operator=(const SilentAnalysis&) = delete;

  // False when the file could not be opened or mapped; then nothing ran.
  bool ran() const { return ran_; }
  BoxAnalysis analysis;

 private:
  bool ran_ = false;
};
