// On-disk layout of a box file, named once for every reader of the engine.
//
// A box file is: a 72-byte header, the 2048-byte default offset table, the
// item info (field table), then a chain of cards closed by a two-byte
// terminator.  All multi-byte integers are little-endian except the encoded
// item lengths inside a card, which are big-endian.
#pragma once

#include <cstddef>
#include <cstdint>

namespace box {

// Box header: signature FF 00 10 31, then the positions of the structures.
inline constexpr uint32_t kHeaderSize = 72;  // 0x48
inline constexpr uint8_t kSignature[4] = {0xFF, 0x00, 0x10, 0x31};
inline constexpr uint32_t kFirstCardField = 4;       // u32
inline constexpr uint32_t kItemInfoOffsetField = 8;  // u32
inline constexpr uint32_t kItemInfoSizeField = 12;   // u32
inline constexpr uint32_t kDefaultTableField = 16;   // u32
inline constexpr uint32_t kGarbageSizeField = 48;    // u32
inline constexpr uint32_t kDataSizeField = 52;       // u16
inline constexpr uint32_t kLeastNullIdField = 54;    // u16
inline constexpr uint32_t kMaxIdField = 56;          // u16

// Where a sound file keeps its structures.
inline constexpr uint32_t kDefaultTableOffset = 0x48;
inline constexpr uint32_t kDefaultTableSize = 0x800;
inline constexpr uint32_t kItemInfoOffset = kDefaultTableOffset + kDefaultTableSize;  // 0x848

// Offset table entries: the file offset of the card with an ID; 0 and
// 0xFFFFFFFF mean the ID has no card.  A run of entries is followed by the
// link to the next offset card.
inline constexpr uint32_t kOffsetEntrySize = 4;
inline constexpr bool isEmptyEntry(uint32_t value) { return value == 0 || value == 0xFFFFFFFF; }

// Default offset table: 44 bytes not examined, 500 entries for IDs 1..500,
// then the link to the first offset card.
inline constexpr uint32_t kDefaultEntriesOffset = kHeaderSize + 44;  // 116
inline constexpr uint32_t kDefaultEntryCount = 500;
inline constexpr uint32_t kDefaultLinkOffset =
    kDefaultEntriesOffset + kOffsetEntrySize * kDefaultEntryCount;  // 2116
inline constexpr uint32_t defaultEntryOffset(uint32_t id) {
  return kDefaultEntriesOffset + kOffsetEntrySize * (id - 1);
}

// Item info record: u16 length L, data ID, attribute, 4 tag bytes, L - 6 name bytes.
inline constexpr uint32_t kItemRecordFixedSize = 6;  // data ID .. tag, counted in L
inline constexpr uint32_t kItemTagSize = 4;
inline constexpr uint32_t kItemNameCapacity = 26;  // bytes kept of a name

// Card: u16 ID, u32 body size, body.  A normal card's body starts with a
// u16 not examined, the u16 stated length of the item length area, the area.
inline constexpr uint32_t kCardHeadSize = 6;
inline constexpr uint32_t kCardSizeField = 2;         // u32, from the card start
inline constexpr uint32_t kCardAreaLengthOffset = 8;  // u16, from the card start
inline constexpr uint32_t kCardAreaOffset = 10;       // item length area
// What a normal card's size counts besides its area and values: the
// unexamined word and the stated area length.
inline constexpr uint32_t kCardBodyFixedSize = kCardAreaOffset - kCardHeadSize;  // 4

// Card ID classes.
inline constexpr uint16_t kGarbageId = 0x0000;
inline constexpr uint16_t kFirstNormalId = 0x0001;
inline constexpr uint16_t kLastNormalId = 0xFEFF;
inline constexpr uint16_t kOffsetCardId = 0xFFF0;
inline constexpr uint16_t kIndexCardId = 0xFFF1;
inline constexpr uint16_t kTerminatorId = 0xFFFF;
inline constexpr uint32_t kTerminatorSize = 2;   // the ID alone, no size field
inline constexpr size_t kCardIdSpace = 0x10000;  // every 16-bit ID

inline constexpr bool isNormalId(uint32_t id) { return id >= kFirstNormalId && id <= kLastNormalId; }
inline constexpr bool isSystemId(uint32_t id) { return id > kLastNormalId; }

// The terminator is the ID 0xFFFF in exactly the last two bytes of the
// file; a 0xFFFF anywhere else heads an ordinary card with a size field.
inline constexpr bool isTerminatorAt(uint64_t offset, uint32_t id, uint64_t fileSize) {
  return id == kTerminatorId && offset + kTerminatorSize == fileSize;
}

// An offset card's body is its entries and the link, so size / 4 - 1
// entries; a size below 4 holds none.  The usual card: 128 entries and a link.
inline constexpr uint32_t kUsualOffsetCardSize = 0x204;
inline constexpr uint32_t kUsualOffsetCardEntries = kUsualOffsetCardSize / kOffsetEntrySize - 1;  // 128
inline constexpr uint32_t offsetCardEntryCount(uint32_t size) {
  return size >= kOffsetEntrySize ? size / kOffsetEntrySize - 1 : 0;
}
// The first card ID of the first offset card: the default table's IDs are 1..500.
inline constexpr uint32_t kFirstOffsetCardId = kDefaultEntryCount + 1;

// Item info: a count byte, then the records.
inline constexpr uint32_t kItemCountSize = 1;
inline constexpr uint32_t kItemRecordLengthSize = 2;

// Data IDs of the field descriptions.
inline constexpr uint32_t kMaxDataId = 18;
inline constexpr uint32_t kTimeDataId = 4;
inline constexpr uint32_t kWeekDataId = 7;
// A type without a fixed length: what a field of unknown type is written as.
inline constexpr uint8_t kAnyLengthDataId = 3;
inline constexpr uint32_t kTimeValueSize = 5;
inline constexpr uint32_t kUnsetYear = 255;

// Fixed value length of a data ID; 0 means any length.  Unknown data IDs
// (0 and above 18) have none.
inline constexpr uint32_t fixedValueLength(uint32_t dataId) {
  switch (dataId) {
    case 4:
      return 5;
    case 6:
    case 7:
    case 11:
      return 1;
    case 8:
      return 2;
    case 18:
      return 4;
    default:
      return 0;
  }
}

// A value of length len fits a data ID when len is 0, the data ID has no
// fixed length, or len equals it.
inline constexpr bool lengthFits(uint32_t dataId, uint32_t len) {
  const uint32_t fixed = fixedValueLength(dataId);
  return len == 0 || fixed == 0 || len == fixed;
}

}  // namespace box
