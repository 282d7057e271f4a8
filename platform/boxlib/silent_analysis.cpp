#include "platform/boxlib/silent_analysis.h"

#include "engine/findings.h"

SilentAnalysis::SilentAnalysis(const char* path)
    : analysis(path),
      reporter_(currentReporter),
      debug_(debug),
      verbose_(verbose),
      noisy_(noisy),
      index_(lastIndex),
      offset_(lastOffset),
      id_(lastId),
      size_(lastSize),
      progressTime_(lastProgressTime) {
  if (!analysis.file.data) return;
  currentReporter = &silent_;
  debug = verbose = noisy = false;
  analysis.run();
  ran_ = true;
}

SilentAnalysis::~SilentAnalysis() {
  currentReporter = reporter_;
  debug = debug_;
  verbose = verbose_;
  noisy = noisy_;
  lastIndex = index_;
  lastOffset = offset_;
  lastId = id_;
  lastSize = size_;
  lastProgressTime = progressTime_;
}
