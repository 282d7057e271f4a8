// One analysis run over one box file: maps the file, runs the checks in
// their fixed order and returns the verdict.
//
//   BoxAnalysis analysis(path);   // opens and maps at once
//   currentReporter = &sink;       // and the switches
//   bool failed = analysis.run();
//
// The mapping stays in place until the analysis is destroyed; the checkers
// keep pointers into it.
#pragma once

#include <memory>

#include "engine/box_file.h"
#include "engine/card_chain.h"
#include "engine/findings.h"
#include "engine/header_check.h"
#include "engine/item_info.h"
#include "engine/offset_table.h"

class BoxAnalysis : public Checker {
 public:
  explicit BoxAnalysis(const char* path);
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
