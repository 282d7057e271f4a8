#include "item_info.h"

#include <algorithm>
#include <cstring>

ItemInfo::ItemInfo(ByteView file, uint32_t offset, uint32_t declaredSize) {
  const auto countByte = file.u8(offset);
  count = countByte.value_or(0);
  entries.resize(static_cast<size_t>(count));

  report(*this, kItemInfoSection, 0, static_cast<uint32_t>(kItemInfoSection), 0, 0, nullptr);

  // Positions in 64 bits: the header's offset and size may be anything.
  const uint64_t start = offset;
  const uint64_t end = start + declaredSize;
  uint64_t p = start + 1;
  if (!countByte) {
    reportHere(*this, code::items::kOutsideFile, "Item Info. lies outside the box file.", " (%04lx).",
               static_cast<unsigned long>(offset));
    p = start;
  }

  for (int i = 0; i < count; ++i) {
    // A record is read up to the name bytes that are kept; when even those
    // are not in the file, the item info is cut off and the parse stops.
    const auto length = p + 2 <= file.size() ? file.u16(static_cast<uint32_t>(p)) : std::nullopt;
    const uint32_t L = length.value_or(0);
    const uint32_t nameLength = L > box::kItemRecordFixedSize ? L - box::kItemRecordFixedSize : 0;
    const uint32_t kept = std::min(nameLength, box::kItemNameCapacity);
    const uint32_t fieldBytes = std::min<uint32_t>(L, box::kItemRecordFixedSize);
    if (!length || !file.contains(static_cast<uint32_t>(p + 2), uint64_t{fieldBytes} + kept)) {
      reportHere(*this, code::items::kPastEndOfFile, "Item Info. runs past the end of the box file.",
                 " (%dth).", i);
      break;
    }
    p += 2;

    // A record shorter than its fixed fields owns only its first L bytes.
    const uint8_t* r = file.at(p, uint64_t{fieldBytes} + kept);
    ItemInfoEntry& e = entries[static_cast<size_t>(i)];
    e.length = L;
    e.dataId = fieldBytes > 0 ? r[0] : 0;
    e.attribute = fieldBytes > 1 ? r[1] : 0;
    if (fieldBytes > 2) std::memcpy(e.tag, r + 2, fieldBytes - 2);
    std::memcpy(e.name, r + box::kItemRecordFixedSize, kept);

    reportHere(*this, code::items::kRecordListing + static_cast<uint32_t>(i), "", "[%2d] %2d %2d %s \"%s\"",
               i, static_cast<int>(e.dataId), static_cast<int>(e.attribute), e.tag, e.name);
    if (L < box::kItemRecordFixedSize) {
      reportHere(*this, code::items::kRecordTooShort, "Item Info. record is too short.", " (%dth %d).", i,
                 static_cast<int>(L));
    } else if (nameLength > box::kItemNameCapacity) {
      reportHere(*this, code::items::kNameTooLong, "Item Info. name is too long.", " (%dth %d byte).", i,
                 static_cast<int>(nameLength));
    }

    p += L;
    if (p > end) {
      reportHere(*this, code::items::kTooLarge, "Item Info. size is too large.");
      break;
    }
    if (e.dataId == 0 || e.dataId > box::kMaxDataId) {
      reportHere(*this, code::items::kUnknownDataId, "Data ID is unknown", " (%dth %02x).", i,
                 static_cast<unsigned>(e.dataId));
      e.dataId = 0;
    }
  }

  for (ItemInfoEntry& e : entries) e.fixedLength = box::fixedValueLength(e.dataId);

  parsedSize = static_cast<uint32_t>(p - start);
  report(*this, kItemInfoSection, kSummaryOffset, static_cast<uint32_t>(kItemInfoSection), parsedSize, 0,
         nullptr);
  debugMessage("Item Info has %d items, %d byte (%d)", count, static_cast<int>(parsedSize),
               static_cast<int>(declaredSize));
}
