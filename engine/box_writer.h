// Lays out a box file from its parts as a sound box has them: the 72-byte
// header, the default offset table, the item info, then the chain of cards
// in the order they are given.
//
//   BoxWriter writer(itemInfoBytes);
//   writer.card(1, body);
//   writer.offsetCard();
//   writer.terminator();
//   std::vector<uint8_t> box = writer.finish();
//
// finish() fills in everything that must agree with the cards: the header's
// positions and its four totals as the census counts them, the default
// table's entries and link, and the entries and link of every offset card
// (the offset cards linked in chain order, each continuing the card IDs
// where the run before it ended).  An entry holds the offset of the first
// card with its ID, or 0 for a free ID.
#pragma once

#include <cstddef>
#include <cstdint>
#include <utility>
#include <vector>

// The body of a normal card holding values, in field-table order: the
// unexamined word (0), the stated length of the item length area, the area
// (each value's length, encoded) and the values.
std::vector<uint8_t> normalCardBody(const std::vector<std::vector<uint8_t>>& values);

class BoxWriter {
 public:
  // itemInfo is the whole item info: the count byte and the records.
  explicit BoxWriter(const std::vector<uint8_t>& itemInfo);

  // Room for a box of that many bytes, its pages made present at once: one
  // call instead of a page fault for every page the cards are copied into.
  void reserve(size_t bytes);

  // A card with a head (ID and size) and the body as it stands; returns the
  // card's file offset.
  uint32_t card(uint16_t id, const std::vector<uint8_t>& body);
  uint32_t card(uint16_t id, const uint8_t* body, size_t size);
  // An offset card of the usual size, whose entries finish() fills.
  uint32_t offsetCard();
  // Bytes in the chain without a head of their own.
  uint32_t raw(const std::vector<uint8_t>& bytes);
  // The two-byte terminator; it must come last for the box to be sound.
  uint32_t terminator();

  // The laid-out box; the writer is spent.
  std::vector<uint8_t> finish();

  uint32_t firstCard() const { return firstCard_; }

 private:
  std::vector<uint8_t> out_;
  uint32_t firstCard_;
  std::vector<std::pair<uint16_t, uint32_t>> cards_;  // ID and offset of every card with a head
  std::vector<uint32_t> offsetCards_;
};
