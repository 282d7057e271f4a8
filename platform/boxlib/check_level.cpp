#include "boxlib.h"
#include "findings.h"
#include "silent_analysis.h"

// NOLINTNEXTLINE(bugprone-reserved-identifier): the library's own name
extern "C" int _BXDFileCheckLevel(const char* path, int level) {
  if (!path) return BXD_CHECK_UNREADABLE & level;
  SilentAnalysis check(path);
  if (!check.ran() || check.analysis.file.shrank()) return BXD_CHECK_UNREADABLE & level;
  const BoxAnalysis& analysis = check.analysis;

  int failed = 0;
  if (levelFails(analysis.headerCheck->level)) failed |= BXD_CHECK_HEADER;
  if (levelFails(analysis.itemInfo->level)) failed |= BXD_CHECK_ITEM_INFO;
  // A broken card counts against the chain although its findings go to the
  // card's own record: the census has counted it as an error card.
  if (levelFails(analysis.chain->level) || analysis.chain->errorCount > 0) {
    failed |= BXD_CHECK_CARD_CHAIN;
  }
  if (levelFails(analysis.offsetTable.level)) failed |= BXD_CHECK_OFFSET_TABLE;
  return failed & level;
}
