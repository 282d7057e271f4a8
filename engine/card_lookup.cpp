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
    for (size_t i = 0; i < cards.size(); ++i) {
      const auto index = static_cast<int32_t>(i);
      if (firstById_[cards[i].id] < 0) firstById_[cards[i].id] = index;
      lastById_[cards[i].id] = index;
    }
  } else {
    byId_.reserve(cards.size());
    for (size_t i = 0; i < cards.size(); ++i) byId_.emplace_back(cards[i].id, static_cast<int32_t>(i));
    std::sort(byId_.begin(), byId_.end());
  }
  ascending_ = true;
  for (size_t i = 1; i < cards.size() && ascending_; ++i) ascending_ = cards[i - 1].offset < cards[i].offset;
  byOffset_.clear();
  firstAtOffset_.clear();
  if (ascending_) return;
  byOffset_.reserve(cards.size());
  for (size_t i = 0; i < cards.size(); ++i) byOffset_.emplace_back(cards[i].offset, static_cast<int32_t>(i));
  std::sort(byOffset_.begin(), byOffset_.end());
  firstAtOffset_.assign(cards.size(), false);
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
  if (ascending_) {
    const auto found = std::lower_bound(cards.begin(), cards.end(), offset,
                                        [](const CardRecord& r, uint32_t o) { return r.offset < o; });
    return found != cards.end() && found->offset == offset ? static_cast<int32_t>(found - cards.begin()) : -1;
  }
  const auto found = std::lower_bound(byOffset_.begin(), byOffset_.end(), std::make_pair(offset, INT32_MIN));
  return found != byOffset_.end() && found->first == offset ? found->second : -1;
}

bool cardChain::isFirstAtOffset(int32_t index) const {
  return ascending_ || firstAtOffset_[static_cast<size_t>(index)];
}
