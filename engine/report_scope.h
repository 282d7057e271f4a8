// Installs a findings sink and the three switches for the analyses run while
// the scope lives, and puts the process-wide settings back as they were when
// it ends.
//
//   ConsoleReporter console(stdout);
//   ReportScope scope(&console, {.debug = true, .verbose = true});
//   analysis.run();
//
// Restored are the reporter, debug, verbose, noisy and the four
// last-position registers.  The time of the last delivered progress call is
// not: it is the throttle's memory, which the analysis never resets, so a
// run that starts within the second of an earlier one's last progress call
// loses its first call, whoever ran the earlier one.
#pragma once

#include <cstdint>

class Reporter;

struct Switches {
  bool debug = false;
  bool verbose = false;
  bool noisy = false;
};

class ReportScope {
 public:
  ReportScope(Reporter* reporter, Switches switches);
  ~ReportScope();
  ReportScope(const ReportScope&) = delete;
  ReportScope& operator=(const ReportScope&) = delete;

 private:
  Reporter* reporter_;
  Switches switches_;
  int32_t index_;
  uint32_t offset_, id_, size_;
};
