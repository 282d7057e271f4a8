// An analysis that the box library runs for itself: findings are delivered
// to a sink that shows nothing (delivery is what raises the levels), and
// the analysis' process-wide reporter, switches and registers are put back
// as they were when it is destroyed.
#pragma once

#include <ctime>

#include "engine/box_analysis.h"
#include "engine/reporter.h"

class SilentAnalysis {
 public:
  explicit SilentAnalysis(const char* path);
  ~SilentAnalysis();
  SilentAnalysis(const SilentAnalysis&) = delete;
  SilentAnalysis& operator=(const SilentAnalysis&) = delete;

  // False when the file could not be opened or mapped; then nothing ran.
  bool ran() const { return ran_; }
  BoxAnalysis analysis;

 private:
  class Silent : public Reporter {
   public:
    void message(const char*, va_list) override {}
    void entry(int32_t, uint32_t, uint32_t, uint32_t, uint32_t, const char*, const char*, va_list) override {}
  } silent_;
  Reporter* reporter_;
  bool debug_, verbose_, noisy_;
  int32_t index_;
  uint32_t offset_, id_, size_;
  time_t progressTime_;
  bool ran_ = false;
};
