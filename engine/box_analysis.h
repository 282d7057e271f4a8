// One analysis run over one box file: maps the file, runs the checks in
// their fixed order and returns the verdict.
//
//   BoxAnalysis analysis(path);                      // opens and maps at once
//   ReportScope scope(&sink, {.verbose = true});     // the sink and the switches
//   bool failed = analysis.run();
//
// The mapping (or the caller's bytes) stays in place until the analysis is
// destroyed; the checkers keep pointers into it.
#pragma once

#include <memory>

#include "box_file.h"
#include "card_chain.h"
#include "findings.h"
#include "header_check.h"
#include "item_info.h"
#include "offset_table.h"

class BoxAnalysis : public Checker {
 public:
  explicit BoxAnalysis(const char* path);
  // The analysis of bytes in memory, which must outlive it.
  explicit BoxAnalysis(ByteView bytes);
  ~BoxAnalysis();
  BoxAnalysis(const BoxAnalysis&) = delete;
  BoxAnalysis& operator=(const BoxAnalysis&) = delete;

  // Runs every check once.  True when the file failed: an Error or a
  // Critical was delivered against one of the four checkers.  Without a
  // mapping no check runs and the result is false.
  bool run();

  BoxFile file;
  std::unique_ptr<HeaderCheck> headerCheck;
  std::unique_ptr<ItemInfo> itemInfo;
  std::unique_ptr<cardChain> chain;
  OffsetTable offsetTable;
};
