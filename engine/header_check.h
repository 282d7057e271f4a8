// Checks of the 72-byte box header: the signature, where the default offset
// table, the item info and the first card lie, and (after the census) the
// four totals the header records.  Everything is reported in the header
// section (index -1).
#pragma once

#include <cstdint>

#include "box_format.h"
#include "byte_view.h"
#include "findings.h"

class HeaderCheck : public Checker {
 public:
  // file is the whole mapping; the header is its first 72 bytes.  A file
  // shorter than that is read as if the missing header bytes were zero, and
  // check() says so with a finding of its own.
  explicit HeaderCheck(ByteView file);
  HeaderCheck(const HeaderCheck&) = delete;
  HeaderCheck& operator=(const HeaderCheck&) = delete;

  uint32_t check();
  uint32_t checkTotals(uint32_t garbageSize, uint32_t normalCards, uint16_t leastNullId, uint16_t maxId);

  uint32_t firstCardOffset() const { return decodeFixed32(header + box::kFirstCardField); }
  uint32_t itemInfoOffset() const { return decodeFixed32(header + box::kItemInfoOffsetField); }
  uint32_t itemInfoSize() const { return decodeFixed32(header + box::kItemInfoSizeField); }
  uint32_t defaultTableOffset() const { return decodeFixed32(header + box::kDefaultTableField); }
  uint32_t totalGarbageSize() const { return decodeFixed32(header + box::kGarbageSizeField); }
  uint16_t totalDataSize() const { return decodeFixed16(header + box::kDataSizeField); }
  uint16_t leastNullCardId() const { return decodeFixed16(header + box::kLeastNullIdField); }
  uint16_t maximumCardId() const { return decodeFixed16(header + box::kMaxIdField); }

  const uint8_t* header;  // the 72 header bytes

 private:
  uint32_t available_;                     // header bytes present in the file
  uint8_t padded_[box::kHeaderSize] = {};  // zero-padded copy of a short header
};
