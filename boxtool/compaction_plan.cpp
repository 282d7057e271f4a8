#include "compaction_plan.h"

#include "box_format.h"

CompactionPlan compactionPlan(const BoxAnalysis& a) {
  const cardChain& chain = *a.chain;
  CompactionPlan plan;
  plan.sizeAfter = a.headerCheck->firstCardOffset();
  bool terminated = false;
  for (size_t i = 0; i < chain.cards.size(); ++i) {
    const CardRecord& card = chain.cards[i];
    const uint64_t bytes = uint64_t{box::kCardHeadSize} + card.size;
    if (card.id == box::kGarbageId) {
      plan.dropped.push_back({i, card.offset, bytes});
      plan.droppedBytes += bytes;
      continue;
    }
    terminated = box::isTerminatorAt(card.offset, card.id, a.file.size);
    plan.sizeAfter += terminated ? box::kTerminatorSize : bytes;
  }
  plan.addsTerminator = !terminated;
  if (!terminated) plan.sizeAfter += box::kTerminatorSize;
  return plan;
}
