// The findings sink of the graphical mode: files every entry of an analysis
// into a result tree (one node per card or section, one finding under it per
// finding) and keeps its progress for the window.  It works on the
// analysis' thread and touches no widget: the window shows the tree when
// the run has ended, and the progress while it runs.
#pragma once

#include <atomic>
#include <memory>

#include "findings_model.h"
#include "reporter.h"

// The progress of one run, written by the sink and read by the window.
struct RunProgress {
  std::atomic<unsigned> calls{0};      // progress calls received
  std::atomic<int> value{0};           // stage * 100 + percent of the last one
  std::atomic<bool> cancelled{false};  // the window gave the run up: file nothing more
};

class ResultReporter : public Reporter {
 public:
  // With echo, entries and findings are copied to standard error as the
  // console prints them.
  ResultReporter(std::shared_ptr<FindingsTree> list, std::shared_ptr<RunProgress> progressBar, bool echo);
  ~ResultReporter() override;
  ResultReporter(const ResultReporter&) = delete;
  ResultReporter& operator=(const ResultReporter&) = delete;

  void message(const char* format, va_list args) override __attribute__((format(printf, 2, 0)));
  void entry(int32_t index, uint32_t offset, uint32_t id, uint32_t size, uint32_t code, const char* text,
             const char* format, va_list args) override __attribute__((format(printf, 8, 0)));
  int progress(int stage, int percent) override;

  // The node of index in the tree, or -1.
  int64_t findItem(int index) const { return list->find(index); }

  std::shared_ptr<FindingsTree> list;
  std::shared_ptr<RunProgress> progressBar;
  bool echo;
  unsigned calls = 0;

  static constexpr int kDetailBuffer = 8192;
};
