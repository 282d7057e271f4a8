#include "engine/box_analysis.h"
#include "engine/findings.h"
#include "engine/reporter.h"
#include "platform/boxlib/boxlib.h"

namespace {

// Takes every finding and shows none: delivery is what raises the levels.
class SilentReporter : public Reporter {
 public:
  void message(const char*, va_list) override {}
  void entry(int32_t, uint32_t, uint32_t, uint32_t, uint32_t, const char*, const char*,
             va_list) override {}
};

// The process-wide analysis state, put back when the check ends.
class SavedReportState {
 public:
  SavedReportState()
      : reporter_(currentReporter), debug_(debug), verbose_(verbose), noisy_(noisy),
        index_(lastIndex), offset_(lastOffset), id_(lastId), size_(lastSize),
        progressTime_(lastProgressTime) {}
  ~SavedReportState() {
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

 private:
  Reporter* reporter_;
  bool debug_, verbose_, noisy_;
  int32_t index_;
  uint32_t offset_, id_, size_;
  time_t progressTime_;
};

}  // namespace

extern "C" int _BXDFileCheckLevel(const char* path, int level) {
  if (!path) return BXD_CHECK_UNREADABLE & level;
  SavedReportState saved;
  SilentReporter silent;
  currentReporter = &silent;
  debug = verbose = noisy = false;

  BoxAnalysis analysis(path);
  if (!analysis.file.data) return BXD_CHECK_UNREADABLE & level;
  analysis.run();

  int failed = 0;
  if (levelFails(analysis.headerCheck->level)) failed |= BXD_CHECK_HEADER;
  if (levelFails(analysis.itemInfo->level)) failed |= BXD_CHECK_ITEM_INFO;
  // A broken card counts against the chain although its findings go to the
  // card's own record: the census has counted it as an error card.
  if (levelFails(analysis.chain->level) || analysis.chain->errorCount > 0) failed |= BXD_CHECK_CARD_CHAIN;
  if (levelFails(analysis.offsetTable.level)) failed |= BXD_CHECK_OFFSET_TABLE;
  return failed & level;
}
