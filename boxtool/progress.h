// A progress display on standard error for the long runs of check, export
// and recover, as e2fsck -C and pv show theirs: only on a terminal (unless
// asked for or against), only once a run has lasted about a second, at most
// four updates a second, and erased when the run ends.
//
//   Progress progress("check", mode);
//   progress.show(done, total);      // as often as is convenient
//   ...                              // the destructor erases the line
#pragma once

#include <chrono>
#include <cstdint>
#include <functional>
#include <string>

#include "reporter.h"

class Progress {
 public:
  enum class Mode { kAuto, kAlways, kNever };

  // what names the run in the line: "check 3/10 files" or "export 45%".
  Progress(std::string what, Mode mode);
  ~Progress();
  Progress(const Progress&) = delete;
  Progress& operator=(const Progress&) = delete;

  // Shows done of total units ("files"), or a percentage when unit is empty.
  void show(uint64_t done, uint64_t total, const char* unit = "");

  // Erases the line now, before something else is written to the terminal.
  void clear();

  // Tells observer of every show() (done, total), whether or not the
  // line is shown: for a progress display of its own, a window's.
  using Observer = std::function<void(uint64_t done, uint64_t total)>;
  void setObserver(Observer observer) { observer_ = std::move(observer); }

 private:
  std::string what_;
  bool enabled_;
  bool shown_ = false;
  std::chrono::steady_clock::time_point start_;
  std::chrono::steady_clock::time_point last_;
  Observer observer_;
};

// The progress shown while an analysis runs, or null.
Progress* currentProgress();
void setCurrentProgress(Progress* progress);

// The share of an analysis done at a stage's percent (0 the trace, which
// takes nearly all of it; 1 the census; 2 the offset table), as a percent.
uint64_t analysisPercent(int stage, int percent);

// A sink that shows nothing but the analysis' progress.
class ProgressOnly : public SilentReporter {
 public:
  int progress(int stage, int percent) override;
};
