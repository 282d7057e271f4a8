// The item info: the table of field descriptions that every card's values
// follow.  Construction parses the table, lists every record and reports
// records that run past the declared size and data IDs that are unknown.
// Everything is reported in the item info section (index -2).
#pragma once

#include <cstdint>
#include <vector>

#include "box_format.h"
#include "byte_view.h"
#include "findings.h"

struct ItemInfoEntry {
  uint32_t length = 0;  // the record's length field L
  uint32_t dataId = 0;  // 0 when the record's data ID is unknown
  uint32_t attribute = 0;
  char tag[box::kItemTagSize + 1] = {};
  char name[box::kItemNameCapacity + 1] = {};
  uint32_t fixedLength = 0;  // the value length the data ID fixes; 0 for any length
};

class ItemInfo : public Checker {
 public:
  // Parses the item info at offset in file, declaredSize bytes long as the
  // header says.  Reads stay inside file whatever the header claims.
  ItemInfo(ByteView file, uint32_t offset, uint32_t declaredSize);

  int count = 0;            // number of records, the first byte of the item info
  uint32_t parsedSize = 0;  // bytes up to the end of the last record parsed
  // count entries in file order; those behind a record that stopped the
  // parse stay zero (data ID 0 takes values of any length).
  std::vector<ItemInfoEntry> entries;
};
