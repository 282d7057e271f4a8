#include "engine/header_check.h"

#include <cstring>

#include "engine/texts_ja.h"

HeaderCheck::HeaderCheck(ByteView file) : header(file.data()), available_(file.size()) {
  if (available_ < box::kHeaderSize) {
    if (available_ > 0) std::memcpy(padded_, file.data(), available_);
    header = padded_;
  }
}

uint32_t HeaderCheck::check() {
  report(*this, kHeaderSection, 0, static_cast<uint32_t>(kHeaderSection), box::kHeaderSize, 0, nullptr);
  if (available_ < box::kHeaderSize) {
    reportHere(*this, 0x80000010, "Box file header is cut short.", " (%u of %u bytes).", available_,
               box::kHeaderSize);
  }

  reportHere(*this, 0x08000001, "Box file header", "%02x %02x %02x %02x", header[0], header[1], header[2],
             header[3]);
  if (std::memcmp(header, box::kSignature, sizeof box::kSignature) != 0) {
    reportHere(*this, 0x20000001, "Box file header has sick.");
  }

  const uint32_t table = defaultTableOffset();
  reportHere(*this, 0x08000002, "Default offset table", "at %3xh", table);
  if (table < box::kDefaultTableOffset) {
    reportHere(*this, 0x80000002, "Default offset table is laid on box header.");
  } else if (table != box::kDefaultTableOffset) {
    reportHere(*this, 0x20000002, "Unusual offset of default offset table", " (%04lx).",
               static_cast<unsigned long>(table));
  }

  const uint32_t itemInfo = itemInfoOffset();
  const uint32_t itemSize = itemInfoSize();
  reportHere(*this, 0x08000003, "Item Infos.", "at %3xh %4xh byte.", itemInfo, itemSize);
  if (itemInfo < box::kItemInfoOffset) {
    reportHere(*this, 0x80000004, "Item Info. is laid on default offset table.");
  } else if (itemInfo != box::kItemInfoOffset) {
    reportHere(*this, 0x20000004, "Unusual offset of Item Info.", " (%04lx).",
               static_cast<unsigned long>(itemInfo));
  }

  // The sound first-card position, wrapping like the 32-bit device does.
  const uint32_t first = firstCardOffset();
  const uint32_t expected = box::kItemInfoOffset + itemSize;
  if (expected > first) {
    reportHere(*this, 0x80000008, "First card is laid on Item Info.");
  } else if (expected != first) {
    reportHere(*this, 0x20000008, "Unusual offset of first card", " (%04lx).",
               static_cast<unsigned long>(first));
  }
  return level;
}

uint32_t HeaderCheck::checkTotals(uint32_t garbageSize, uint32_t normalCards, uint16_t leastNullId,
                                  uint16_t maxId) {
  report(*this, kHeaderSection, kSummaryOffset, static_cast<uint32_t>(kHeaderSection), box::kHeaderSize, 0,
         nullptr);

  // The "is wrong" details print both values as the device's signed ints.
  const uint32_t garbage = totalGarbageSize();
  reportHere(*this, 0x08000004, "Total garbage size", "%6.4xh byte.", garbage);
  if (garbageSize != garbage) {
    reportHere(*this, 0x40000100, "Total garbage size is wrong", " (%d => %d).", static_cast<int>(garbage),
               static_cast<int>(garbageSize));
  }

  const uint32_t data = totalDataSize();
  reportHere(*this, 0x08000005, "Total data size", "%6.4xh byte.", data);
  if (normalCards != data) {
    reportHere(*this, 0x40000200, "Total data size is wrong", " (%d => %d).", static_cast<int>(data),
               static_cast<int>(normalCards));
  }

  const uint32_t leastNull = leastNullCardId();
  reportHere(*this, 0x08000006, "Least null card ID", "%6xh.", leastNull);
  if (leastNullId != leastNull) {
    reportHere(*this, 0x40000400, "Least null card ID is wrong", " (%d => %d).", static_cast<int>(leastNull),
               static_cast<int>(leastNullId));
  }

  const uint32_t maximum = maximumCardId();
  reportHere(*this, 0x08000007, "Maximum card ID", "%6xh.", maximum);
  if (maxId != maximum) {
    reportHere(*this, 0x40000800, "Maximum card ID is wrong", " (%d => %d).", static_cast<int>(maximum),
               static_cast<int>(maxId));
  }

  // The handheld's long is 32 bits wide: a garbage size above 2^31 prints negative.
  debugMessage(ja::kHeaderTotalsDebug, static_cast<int>(data),
               static_cast<long>(static_cast<int32_t>(garbage)), maximum);
  return level;
}
