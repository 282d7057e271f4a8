// The card list of a trace: the records in trace order, a card's index in
// the findings being its position here.
//
// A stretch of zero bytes in the card area reads as an empty deleted card
// (ID 0, size 0) every six bytes, 174,763 of them to the MiB.  The list
// keeps such cards, when they stand back to back with nothing delivered
// against them, as one stored record that stands for them all, so that its
// memory follows the cards that hold something, not the length of the
// zeros.  Every card reads as it would stored alone.
//
//   for (const CardRecord& card : chain.cards) ...     // every card, in order
//   const CardRecord card = chain.cards[i];           // one, by value
//   chain.cards.edit(i).level |= code;                // one, to change
#pragma once

#include <cstddef>
#include <cstdint>
#include <deque>
#include <iterator>
#include <vector>

#include "card_record.h"

class CardList {
 public:
  size_t size() const { return size_; }
  // The records stored: one for each card but a run of empty deleted cards.
  size_t storedCount() const { return records_.size(); }
  bool empty() const { return size_ == 0; }

  // Card i, i < size().
  CardRecord operator[](size_t i) const;
  CardRecord back() const { return (*this)[size_ - 1]; }

  // Card i to change, i < size(); a card of a run is first taken out of it.
  // The reference holds until the list is changed again.
  CardRecord& edit(size_t i);
  // Card i to fill or change, i <= size(): i == size() appends an empty
  // record.  Appending lets the card before the last join a run.
  CardRecord& slot(size_t i);

  // The index of the first card at offset, -1 when there is none; for a
  // list in which no card stands before the one before it.
  int32_t indexAtOffset(uint32_t offset) const;

  // The stored records in order: each stands for count cards from index
  // first on, at offsets step (the card head) apart; count is 1 but for a
  // run of empty deleted cards.
  struct Stored {
    const CardRecord& record;
    size_t first;
    size_t count;
  };
  template <typename F>
  void forEachStored(F f) const {
    size_t run = 0;
    size_t index = 0;
    for (size_t e = 0; e < records_.size(); ++e) {
      const bool inRun = run < runs_.size() && runs_[run].record == e;
      const size_t count = inRun ? runs_[run++].count : 1;
      f(Stored{records_[e], index, count});
      index += count;
    }
  }
  // The bytes one card of a run takes, its head alone.
  static constexpr uint32_t kRunStep = 6;

  // Every card in order, by value.
  class const_iterator {
   public:
    using iterator_category = std::forward_iterator_tag;
    using value_type = CardRecord;
    using difference_type = std::ptrdiff_t;
    using pointer = void;
    using reference = CardRecord;

    const_iterator() = default;
    CardRecord operator*() const;
    const_iterator& operator++();
    const_iterator operator++(int) {
      const_iterator before = *this;
      ++*this;
      return before;
    }
    bool operator==(const const_iterator& other) const { return index_ == other.index_; }

   private:
    friend class CardList;
    const_iterator(const CardList* list, size_t index);
    const CardList* list_ = nullptr;
    size_t index_ = 0;
    size_t record_ = 0;  // the stored record of card index_
    size_t run_ = 0;     // the first run that does not end before index_
    size_t inRun_ = 0;   // cards of the run before index_
  };
  const_iterator begin() const { return {this, 0}; }
  const_iterator end() const { return {this, size_}; }

 private:
  // Cards first .. first + count - 1 (count >= 2), all read as the stored
  // record at index record with the offset moved on by kRunStep per card.
  struct Run {
    size_t record;
    size_t first;
    size_t count;
  };

  // Where card i is: its stored record, and for a card of a run the run
  // and the card's place in it.
  struct Place {
    size_t record;
    const Run* run;  // null for a card stored alone
    size_t inRun;
  };
  Place find(size_t i) const;
  // The index of the first card that stored record e stands for, and its
  // run (null for a record alone).
  size_t firstCardOf(size_t e, const Run** run) const;
  // Lets the last stored record join the card before it, when both are
  // empty deleted cards back to back.
  void joinLast();

  // In blocks, so that a growing list never holds its old copy beside the
  // new one.
  std::deque<CardRecord> records_;
  std::vector<Run> runs_;  // by first card
  size_t size_ = 0;
};
