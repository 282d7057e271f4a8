#include "card_values.h"

#include "box_format.h"

CardValues::CardValues(ByteView file, uint64_t cardOffset, const ItemInfo& fields)
    : areaStart(cardOffset + box::kCardAreaOffset), count_(fields.count) {
  statedArea = file.u16(cardOffset + box::kCardAreaLengthOffset).value_or(0);
  uint64_t pos = areaStart;
  uint64_t offset = 0;
  int k = 0;
  // An encoded length takes at most 4 bytes.  When the longest area the
  // fields could have lies inside the file, no length needs its own bounds
  // test; this is the case for every card but those at the very end.
  constexpr uint64_t kWidest = kWidestItemLength;
  if (const uint8_t* area = file.at(areaStart, kWidest * static_cast<uint64_t>(count_))) {
    const uint8_t* p = area;
    for (; k < count_; ++k) {
      uint32_t length = 0;
      uint32_t width = 0;
      decodeItemLength(p, kWidest, &length, &width);
      p += width;
      items_[static_cast<size_t>(k)] = {length, offset};
      offset += length;
    }
    pos = areaStart + static_cast<uint64_t>(p - area);
  } else {
    for (; k < count_; ++k) {
      uint32_t length = 0;
      uint32_t width = 0;
      if (!file.itemLength(pos, &length, &width)) break;
      pos += width;
      items_[static_cast<size_t>(k)] = {length, offset};
      offset += length;
    }
  }
  decoded = k;
  valuesLength = offset;
  dataLength = static_cast<uint32_t>(offset);
  // Lengths the file does not hold count 0.
  for (; k < count_; ++k) items_[static_cast<size_t>(k)] = {0, offset};
  areaLength = static_cast<uint32_t>(pos - areaStart);
  valueStart_ = pos;  // the values begin right behind the area
}
