#include "card_list.h"

#include <algorithm>

#include "box_format.h"

namespace {

static_assert(CardList::kRunStep == box::kCardHeadSize, "a run's card is its head alone");

// A deleted card of no body with nothing delivered against it: what six
// zero bytes read as.
bool emptyDeleted(const CardRecord& r) {
  return r.id == box::kGarbageId && r.size == 0 && r.level == 0 && !r.consistent && r.areaLength == 0 &&
         r.dataLength == 0;
}

}  // namespace

CardList::Place CardList::find(size_t i) const {
  // The last run that starts at or before card i; before every run the
  // records stand one to a card.
  const auto after = std::upper_bound(runs_.begin(), runs_.end(), i,
                                      [](size_t index, const Run& r) { return index < r.first; });
  if (after == runs_.begin()) return {i, nullptr, 0};
  const Run& r = *(after - 1);
  if (i < r.first + r.count) return {r.record, &r, i - r.first};
  return {r.record + 1 + (i - r.first - r.count), nullptr, 0};
}

CardRecord CardList::operator[](size_t i) const {
  const Place p = find(i);
  CardRecord card = records_[p.record];
  card.offset += static_cast<uint32_t>(kRunStep * p.inRun);
  return card;
}

size_t CardList::firstCardOf(size_t e, const Run** run) const {
  // The last run stored at or before record e; behind it the records stand
  // one to a card.
  const auto after = std::upper_bound(runs_.begin(), runs_.end(), e,
                                      [](size_t record, const Run& r) { return record < r.record; });
  *run = nullptr;
  if (after == runs_.begin()) return e;
  const Run& r = *(after - 1);
  if (r.record == e) {
    *run = &r;
    return r.first;
  }
  return r.first + r.count + (e - r.record - 1);
}

int32_t CardList::indexAtOffset(uint32_t offset) const {
  // The first record at or behind offset; the one before it may be a run
  // that holds offset.
  const auto at = std::lower_bound(records_.begin(), records_.end(), offset,
                                   [](const CardRecord& r, uint32_t o) { return r.offset < o; });
  const auto e = static_cast<size_t>(at - records_.begin());
  const Run* run = nullptr;
  if (at != records_.end() && at->offset == offset) return static_cast<int32_t>(firstCardOf(e, &run));
  if (e == 0) return -1;
  const size_t first = firstCardOf(e - 1, &run);
  if (!run) return -1;
  const uint32_t into = offset - records_[e - 1].offset;
  if (into % kRunStep != 0 || into / kRunStep >= run->count) return -1;
  return static_cast<int32_t>(first + into / kRunStep);
}

void CardList::joinLast() {
  if (records_.size() < 2 || !emptyDeleted(records_.back())) return;
  const size_t last = records_.size() - 1;
  const CardRecord& before = records_[last - 1];
  if (!runs_.empty() && runs_.back().record == last - 1) {
    Run& r = runs_.back();
    if (uint64_t{before.offset} + uint64_t{kRunStep} * r.count != records_[last].offset) return;
    ++r.count;
  } else {
    if (!emptyDeleted(before) || uint64_t{before.offset} + kRunStep != records_[last].offset) return;
    runs_.push_back({last - 1, size_ - 2, 2});
  }
  records_.pop_back();
}

CardRecord& CardList::slot(size_t i) {
  if (i < size_) return edit(i);
  joinLast();
  records_.emplace_back();
  ++size_;
  return records_.back();
}

CardRecord& CardList::edit(size_t i) {
  const Place p = find(i);
  if (!p.run) return records_[p.record];
  // The run becomes the cards before i, card i alone and the cards after
  // it; a part of one card is a record alone, a longer one a run.
  const auto runIndex = static_cast<size_t>(p.run - runs_.data());
  const Run r = *p.run;
  const CardRecord head = records_[r.record];
  const size_t before = p.inRun;
  const size_t after = r.count - before - 1;
  std::vector<CardRecord> parts;
  std::vector<Run> split;
  if (before > 0) {
    parts.push_back(head);
    if (before > 1) split.push_back({r.record, r.first, before});
  }
  const size_t alone = r.record + parts.size();
  CardRecord card = head;
  card.offset += static_cast<uint32_t>(kRunStep * before);
  parts.push_back(card);
  if (after > 0) {
    CardRecord rest = head;
    rest.offset += static_cast<uint32_t>(kRunStep * (before + 1));
    if (after > 1) split.push_back({r.record + parts.size(), i + 1, after});
    parts.push_back(rest);
  }
  const size_t added = parts.size() - 1;
  records_[r.record] = parts[0];
  records_.insert(records_.begin() + static_cast<std::ptrdiff_t>(r.record) + 1, parts.begin() + 1,
                  parts.end());
  for (size_t k = runIndex + 1; k < runs_.size(); ++k) runs_[k].record += added;
  runs_.erase(runs_.begin() + static_cast<std::ptrdiff_t>(runIndex));
  runs_.insert(runs_.begin() + static_cast<std::ptrdiff_t>(runIndex), split.begin(), split.end());
  return records_[alone];
}

CardList::const_iterator::const_iterator(const CardList* list, size_t index) : list_(list), index_(index) {}

CardRecord CardList::const_iterator::operator*() const {
  CardRecord card = list_->records_[record_];
  card.offset += static_cast<uint32_t>(kRunStep * inRun_);
  return card;
}

CardList::const_iterator& CardList::const_iterator::operator++() {
  ++index_;
  const std::vector<Run>& runs = list_->runs_;
  if (run_ < runs.size() && runs[run_].record == record_) {
    if (++inRun_ < runs[run_].count) return *this;
    ++run_;
    inRun_ = 0;
  }
  ++record_;
  return *this;
}
