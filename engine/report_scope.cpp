#include "report_scope.h"

#include "findings.h"

ReportScope::ReportScope(Reporter* reporter, Switches switches)
    : reporter_(currentReporter),
      switches_{debug, verbose, noisy},
      index_(lastIndex),
      offset_(lastOffset),
      id_(lastId),
      size_(lastSize) {
  currentReporter = reporter;
  debug = switches.debug;
  verbose = switches.verbose;
  noisy = switches.noisy;
}

ReportScope::~ReportScope() {
  currentReporter = reporter_;
  debug = switches_.debug;
  verbose = switches_.verbose;
  noisy = switches_.noisy;
  lastIndex = index_;
  lastOffset = offset_;
  lastId = id_;
  lastSize = size_;
}
