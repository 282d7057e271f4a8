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
inline constexpr uint32_t kHeaderFieldSize = 4;      // the u32 fields

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

// The bytes of the header and the default table that no reader examines:
// the device's own, [from, to).
struct ByteRange {
  uint32_t from, to;
};
inline constexpr ByteRange kUnexaminedRanges[] = {{kDefaultTableField + kHeaderFieldSize, kGarbageSizeField},
                                                  {kMaxIdField + 2, kHeaderSize},
                                                  {kHeaderSize, kDefaultEntriesOffset}};

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
// The size a consistent normal card states: the fixed part, the item
// length area and the values.
inline constexpr uint64_t normalCardSize(uint64_t areaLength, uint64_t valuesLength) {
  return kCardBodyFixedSize + areaLength + valuesLength;
}

// A reference index card's body is a list of entries: u16 length L, four
// bytes the listing shows, six it does not, then the name field, L - 10
// bytes that hold the name and its NUL.  L counts the entry behind itself.
inline constexpr uint32_t kIndexEntryLengthSize = 2;
inline constexpr uint32_t kIndexEntryShownOffset = 2;
inline constexpr uint32_t kIndexEntryShownSize = 4;
inline constexpr uint32_t kIndexEntryHiddenSize = 6;
inline constexpr uint32_t kIndexEntryNameOffset = 12;
inline constexpr uint32_t kIndexEntryFixedSize = kIndexEntryNameOffset - kIndexEntryLengthSize;  // 10, in L

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

// Data IDs of the field descriptions, and what each says of its values:
// the length every value has (0: any length) and how a value is read.  The
// content checks, the field table's repair, the salvage scan and the typed
// values of export all read this one table.
inline constexpr uint32_t kMaxDataId = 18;
inline constexpr uint32_t kTimeDataId = 4;
inline constexpr uint32_t kWeekDataId = 7;
// A type without a fixed length: what a field of unknown type is written as.
inline constexpr uint8_t kAnyLengthDataId = 3;
inline constexpr uint32_t kTimeValueSize = 5;
inline constexpr uint32_t kUnsetYear = 255;

enum class ValueType : uint8_t {
  kText,     // bytes in the box's encoding
  kTime,     // a five-byte date and time (card_values.h decodes it)
  kWeekday,  // one byte, 0 to 6
  kInteger,  // little-endian, as long as the fixed length
};

struct DataIdTraits {
  uint8_t fixedLength;
  ValueType type;
};

inline constexpr DataIdTraits kDataIds[kMaxDataId + 1] = {
    {0, ValueType::kText},               // 0: unknown
    {0, ValueType::kText},               // 1
    {0, ValueType::kText},               // 2
    {0, ValueType::kText},               // 3
    {kTimeValueSize, ValueType::kTime},  // 4: TIME
    {0, ValueType::kText},               // 5
    {1, ValueType::kInteger},            // 6
    {1, ValueType::kWeekday},            // 7: WEEK
    {2, ValueType::kInteger},            // 8
    {0, ValueType::kText},               // 9
    {0, ValueType::kText},               // 10
    {1, ValueType::kInteger},            // 11
    {0, ValueType::kText},               // 12
    {0, ValueType::kText},               // 13
    {0, ValueType::kText},               // 14
    {0, ValueType::kText},               // 15
    {0, ValueType::kText},               // 16
    {0, ValueType::kText},               // 17
    {4, ValueType::kInteger},            // 18
};
static_assert(kDataIds[kTimeDataId].type == ValueType::kTime &&
              kDataIds[kWeekDataId].type == ValueType::kWeekday);

// The traits of a data ID; unknown ones (above 18) are text of any length.
inline constexpr DataIdTraits dataIdTraits(uint32_t dataId) {
  return dataId <= kMaxDataId ? kDataIds[dataId] : kDataIds[0];
}
inline constexpr uint32_t fixedValueLength(uint32_t dataId) { return dataIdTraits(dataId).fixedLength; }

// A value of length len fits a fixed length when len is 0, the length is
// not fixed (0), or len equals it.
inline constexpr bool lengthFitsFixed(uint32_t fixed, uint32_t len) {
  return len == 0 || fixed == 0 || len == fixed;
}
inline constexpr bool lengthFits(uint32_t dataId, uint32_t len) {
  return lengthFitsFixed(fixedValueLength(dataId), len);
}

}  // namespace box
