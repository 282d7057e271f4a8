#include "box_analysis.h"

BoxAnalysis::BoxAnalysis(const char* path) : file(path) {}

BoxAnalysis::BoxAnalysis(ByteView bytes) : file(bytes) {}

BoxAnalysis::~BoxAnalysis() {
  // The checkers made by run() go first, then the offset table and the file.
  chain.reset();
  itemInfo.reset();
  headerCheck.reset();
}

bool BoxAnalysis::run() {
  if (!file.data) return false;
  const ByteView bytes = file.view();

  headerCheck = std::make_unique<HeaderCheck>(bytes);
  headerCheck->check();

  itemInfo = std::make_unique<ItemInfo>(bytes, headerCheck->itemInfoOffset(), headerCheck->itemInfoSize());

  chain = std::make_unique<cardChain>(file.size, file.data);
  chain->trace(headerCheck->firstCardOffset(), *itemInfo);
  chain->census();

  headerCheck->checkTotals(chain->garbageBytes, chain->normalCount, chain->leastNullId, chain->maxId);

  offsetTable.check(file.data, box::kHeaderSize, *chain);

  const uint32_t levels = headerCheck->level | itemInfo->level | chain->level | offsetTable.level;
  return levelFails(levels);
}
