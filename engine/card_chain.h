// The card chain: the cards behind the item info, each card's head stating
// the length of its body, closed by a two-byte terminator.
//
// trace() walks the chain from the first card to the end of the file, runs
// each card's content check and salvages broken cards by a heuristic scan;
// census() then classifies and counts the cards it read.  Both report in the
// data-chunk section (index -4) and at card indexes.
#pragma once

#include <cstdint>
#include <memory>
#include <unordered_map>
#include <utility>
#include <vector>

#include "byte_view.h"
#include "card_list.h"
#include "card_record.h"
#include "findings.h"
#include "item_info.h"
#include "salvage_scan.h"

class cardChain : public Checker {
 public:
  // fileStart is the mapping, fileSize its length and the trace's limit.
  cardChain(uint32_t fileSize, const uint8_t* fileStart);
  cardChain(const cardChain&) = delete;
  cardChain& operator=(const cardChain&) = delete;

  // Walks the chain from the first-card offset.  1 when the walk reached the
  // end of the file, 0 when a salvage found nothing to resume at.
  int trace(uint32_t first, const ItemInfo& fields);

  // Classifies and counts the traced cards.  True when no ID was duplicated.
  bool census();

  // Index of the first record in list order with that ID / starting at that
  // file offset; -1 when there is none.  Valid once trace() has run.
  int32_t findById(uint16_t id) const;
  int32_t findByOffset(uint32_t offset) const;
  // True when no earlier record starts where record index does, so that
  // findByOffset of its offset finds it.
  bool isFirstAtOffset(int32_t index) const;
  // True when no card stands before the one before it in the file (two may
  // stand at one offset).
  bool inFileOrder() const { return inOrder_; }

  // Reads the card head at offset into record.  The offset of the next card,
  // or -1 when the head or the body would run past limit.
  int64_t parseCardHead(CardRecord& record, uint32_t offset, uint32_t limit) const;

  // The first position from start on whose bytes decode as a fitting item
  // length area, as a card offset (position - 10); 0 when there is none.
  int64_t scanForCard(const ItemInfo& fields, uint64_t start, uint32_t limit) const;

  CardList cards;  // in trace order; the card index is the position here
  uint32_t fileSize;
  const uint8_t* fileStart;

  // Census results.
  uint32_t normalCount = 0, systemCount = 0, garbageCount = 0, errorCount = 0;
  uint32_t normalBytes = 0, systemBytes = 0, garbageBytes = 0, errorBytes = 0;
  uint16_t maxId = 0;        // highest ID among the normal cards
  uint16_t leastNullId = 0;  // least ID from 1 on that no eligible card holds
  uint32_t duplicates = 0;

 private:
  // How often a salvage ran for each pair (failed card's offset, previous
  // card's offset): what a salvage does depends only on that pair.
  using SalvageMemory = std::unordered_map<uint64_t, int>;

  // The steps of trace(), in the order they run for one card.
  int walk(uint32_t first, const ItemInfo& fields);
  CardRecord& readCard(size_t index, uint32_t offset, uint32_t first, int64_t* next);
  bool cardPasses(CardRecord& record, int64_t next, const ItemInfo& fields);
  int64_t salvageCandidate(size_t index, uint32_t offset, const ItemInfo& fields,
                           SalvageMemory& memory) const;
  void markGarbage(size_t index, int64_t declaredEnd, int64_t candidate);
  void shortenPrevious(size_t index, uint32_t offset, int64_t candidate);
  void buildIndexes();

  // Whether record index has a later record with the same ID.
  bool hasLaterDuplicate(size_t index) const;

  ByteView file_;
  // The salvage scan over the file, made at the first salvage and kept:
  // what it learnt of the bytes serves the scans after it.
  mutable std::unique_ptr<SalvageScan> scan_;
  mutable const ItemInfo* scanFields_ = nullptr;
  // Look-up by ID: for a long list a table of the first record of every ID
  // (65536 slots, -1 when absent) and of the last one; for a short list,
  // where filling those would cost more than the analysis, the (ID, index)
  // pairs in order.
  std::vector<int32_t> firstById_;
  std::vector<int32_t> lastById_;
  std::vector<std::pair<uint16_t, int32_t>> byId_;
  bool idTables_ = false;
  // Records normally stand in strictly ascending file order, and then the
  // list itself is searched.  A salvage that reads a record again at its
  // own offset leaves them in order but for equal offsets: the list is
  // still searched, and firstAtOffset_ marks the first record of every
  // offset.  After a salvage that went back, byOffset_ holds (offset,
  // index) pairs in that order as well.
  bool ascending_ = true;
  bool inOrder_ = true;
  std::vector<std::pair<uint32_t, int32_t>> byOffset_;
  std::vector<bool> firstAtOffset_;
};
