// The card list's look-ups by ID and by offset.  Each gives exactly what a
// plain search of the list in order would give; the indexes only make them
// fast on long lists.
#include <algorithm>

#include "box_format.h"
#include "card_chain.h"

namespace {
// From this many records on, the 65536-slot tables pay for themselves.
constexpr size_t kIdTableThreshold = 4096;
}  // namespace

void cardChain::buildIndexes() {
  idTables_ = cards.size() >= kIdTableThreshold;
  firstById_.clear();
  lastById_.clear();
  byId_.clear();
  if (idTables_) {
    firstById_.assign(box::kCardIdSpace, -1);
    lastById_.assign(box::kCardIdSpace, -1);
    cards.forEachStored([&](const CardList::Stored& s) {
      const uint16_t id = s.record.id;
      if (firstById_[id] < 0) firstById_[id] = static_cast<int32_t>(s.first);
      lastById_[id] = static_cast<int32_t>(s.first + s.count - 1);
    });
  } else {
    byId_.reserve(cards.size());
    int32_t index = 0;
    for (const CardRecord& card : cards) byId_.emplace_back(card.id, index++);
    std::sort(byId_.begin(), byId_.end());
  }
  // The cards of a run stand in ascending order among themselves.
  ascending_ = true;
  inOrder_ = true;
  bool firstRecord = true;
  uint64_t lastOffset = 0;
  cards.forEachStored([&](const CardList::Stored& s) {
    if (!firstRecord && s.record.offset <= lastOffset) ascending_ = false;
    if (!firstRecord && s.record.offset < lastOffset) inOrder_ = false;
    firstRecord = false;
    lastOffset = s.record.offset + uint64_t{CardList::kRunStep} * (s.count - 1);
  });
  byOffset_.clear();
  firstAtOffset_.clear();
  if (ascending_) return;
  firstAtOffset_.assign(cards.size(), false);
  if (inOrder_) {
    size_t i = 0;
    uint64_t previous = UINT64_MAX;
    for (const CardRecord& card : cards) {
      firstAtOffset_[i++] = card.offset != previous;
      previous = card.offset;
    }
    return;
  }
  byOffset_.reserve(cards.size());
  int32_t index = 0;
  for (const CardRecord& card : cards) byOffset_.emplace_back(card.offset, index++);
  std::sort(byOffset_.begin(), byOffset_.end());
  for (size_t k = 0; k < byOffset_.size(); ++k) {
    if (k == 0 || byOffset_[k - 1].first != byOffset_[k].first)
      firstAtOffset_[static_cast<size_t>(byOffset_[k].second)] = true;
  }
}

int32_t cardChain::findById(uint16_t id) const {
  if (idTables_) return firstById_[id];
  const auto found = std::lower_bound(byId_.begin(), byId_.end(), std::make_pair(id, INT32_MIN));
  return found != byId_.end() && found->first == id ? found->second : -1;
}

bool cardChain::hasLaterDuplicate(size_t index) const {
  const uint16_t id = cards[index].id;
  if (idTables_) return lastById_[id] > static_cast<int32_t>(index);
  const auto at =
      std::lower_bound(byId_.begin(), byId_.end(), std::make_pair(id, static_cast<int32_t>(index)));
  return at + 1 != byId_.end() && (at + 1)->first == id;
}

int32_t cardChain::findByOffset(uint32_t offset) const {
  if (inOrder_) return cards.indexAtOffset(offset);
  const auto found = std::lower_bound(byOffset_.begin(), byOffset_.end(), std::make_pair(offset, INT32_MIN));
  return found != byOffset_.end() && found->first == offset ? found->second : -1;
}

bool cardChain::isFirstAtOffset(int32_t index) const {
  return ascending_ || firstAtOffset_[static_cast<size_t>(index)];
}
