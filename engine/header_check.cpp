#include "header_check.h"

#include <cstring>

#include "texts_ja.h"

HeaderCheck::HeaderCheck(ByteView file) : header(file.data()), available_(file.size()) {
  if (available_ < box::kHeaderSize) {
    if (available_ > 0) std::memcpy(padded_, file.data(), available_);
    header = padded_;
  }
}

uint32_t HeaderCheck::check() {
  report(*this, kHeaderSection, 0, static_cast<uint32_t>(kHeaderSection), box::kHeaderSize, 0, nullptr);
  if (available_ < box::kHeaderSize) {
    reportHere(*this, code::header::kCutShort, "Box file header is cut short.", " (%u of %u bytes).",
               available_, box::kHeaderSize);
  }

  reportHere(*this, code::header::kSignatureListing, "Box file header", "%02x %02x %02x %02x", header[0],
             header[1], header[2], header[3]);
  if (std::memcmp(header, box::kSignature, sizeof box::kSignature) != 0) {
    reportHere(*this, code::header::kSick, "Box file header has sick.");
  }

  const uint32_t table = defaultTableOffset();
  reportHere(*this, code::header::kDefaultTableListing, "Default offset table", "at %3xh", table);
  if (table < box::kDefaultTableOffset) {
    reportHere(*this, code::header::kDefaultTableOnHeader, "Default offset table is laid on box header.");
  } else if (table != box::kDefaultTableOffset) {
    reportHere(*this, code::header::kDefaultTableUnusual, "Unusual offset of default offset table",
               " (%04lx).", static_cast<unsigned long>(table));
  }

  const uint32_t itemInfo = itemInfoOffset();
  const uint32_t itemSize = itemInfoSize();
  reportHere(*this, code::header::kItemInfoListing, "Item Infos.", "at %3xh %4xh byte.", itemInfo, itemSize);
  if (itemInfo < box::kItemInfoOffset) {
    reportHere(*this, code::header::kItemInfoOnDefaultTable, "Item Info. is laid on default offset table.");
  } else if (itemInfo != box::kItemInfoOffset) {
    reportHere(*this, code::header::kItemInfoUnusual, "Unusual offset of Item Info.", " (%04lx).",
               static_cast<unsigned long>(itemInfo));
  }

  // The sound first-card position, wrapping like the 32-bit device does.
  const uint32_t first = firstCardOffset();
  const uint32_t expected = box::kItemInfoOffset + itemSize;
  if (expected > first) {
    reportHere(*this, code::header::kFirstCardOnItemInfo, "First card is laid on Item Info.");
  } else if (expected != first) {
    reportHere(*this, code::header::kFirstCardUnusual, "Unusual offset of first card", " (%04lx).",
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
  reportHere(*this, code::header::kGarbageSizeListing, "Total garbage size", "%6.4xh byte.", garbage);
  if (garbageSize != garbage) {
    reportHere(*this, code::header::kGarbageSizeWrong, "Total garbage size is wrong", " (%d => %d).",
               static_cast<int>(garbage), static_cast<int>(garbageSize));
  }

  const uint32_t data = totalDataSize();
  reportHere(*this, code::header::kDataSizeListing, "Total data size", "%6.4xh byte.", data);
  if (normalCards != data) {
    reportHere(*this, code::header::kDataSizeWrong, "Total data size is wrong", " (%d => %d).",
               static_cast<int>(data), static_cast<int>(normalCards));
  }

  const uint32_t leastNull = leastNullCardId();
  reportHere(*this, code::header::kLeastNullIdListing, "Least null card ID", "%6xh.", leastNull);
  if (leastNullId != leastNull) {
    reportHere(*this, code::header::kLeastNullIdWrong, "Least null card ID is wrong", " (%d => %d).",
               static_cast<int>(leastNull), static_cast<int>(leastNullId));
  }

  const uint32_t maximum = maximumCardId();
  reportHere(*this, code::header::kMaxIdListing, "Maximum card ID", "%6xh.", maximum);
  if (maxId != maximum) {
    reportHere(*this, code::header::kMaxIdWrong, "Maximum card ID is wrong", " (%d => %d).",
               static_cast<int>(maximum), static_cast<int>(maxId));
  }

  // The handheld's long is 32 bits wide: a garbage size above 2^31 prints negative.
  debugMessage(ja::kHeaderTotalsDebug, static_cast<int>(data),
               static_cast<long>(static_cast<int32_t>(garbage)), maximum);
  return level;
}
