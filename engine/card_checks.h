// Content checks of single cards, run by the trace as it reads each card.  Findings go to the card's own
// record with reportHere, so they carry the position of the card's entry.
#pragma once

#include <cstdint>

#include "byte_view.h"
#include "card_record.h"
#include "card_values.h"
#include "item_info.h"

bool lengthFitsDataId(const ItemInfoEntry& entry, uint32_t length);

// Checks one value; TIME (data ID 4) and WEEK (7) only.  Values not wholly
// inside the file are skipped.
bool checkItemValue(ByteView file, const ItemInfoEntry& entry, CardRecord& record, int item,
                    uint64_t position, uint32_t length);

// Checks every item of the decoded card, last to first.  Sets the record's
// area and data length; returns the misfit count.
int walkItemLengths(ByteView file, const ItemInfo& fields, CardRecord& record, const CardValues& values);

bool checkItems(ByteView file, CardRecord& record, const ItemInfo& fields);  // normal cards
bool checkOffsetCardSize(CardRecord& record);                                // ID 0xFFF0
bool dumpIndexCard(ByteView file, CardRecord& record);                       // ID 0xFFF1
