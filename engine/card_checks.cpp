#include "card_checks.h"

#include <climits>
#include <cstring>

#include "box_format.h"
#include "findings.h"
#include "texts_ja.h"
#include "time_value.h"

bool lengthFitsDataId(const ItemInfoEntry& entry, uint32_t length) {
  return box::lengthFitsFixed(entry.fixedLength, length);
}

bool checkItemValue(ByteView file, const ItemInfoEntry& entry, CardRecord& record, int item,
                    uint64_t position, uint32_t length) {
  if (length == 0 || position > UINT32_MAX) return true;
  const uint32_t pos = static_cast<uint32_t>(position);
  const box::ValueType type = box::dataIdTraits(entry.dataId).type;
  if (type == box::ValueType::kTime) {
    const uint8_t* d = file.at(pos, box::kTimeValueSize);
    if (!d) return true;
    const TimeFields t = decodeTime(d);
    if (t.unset || timeConverts(t)) return true;
    reportHere(record, code::card::kIllegalValue, "Illegal format of TIME.",
               " item %2d, data %02x%02x%02x%02x%02x %4d/%2d/%2d %02d:%02d:%02d.", item, d[0], d[1], d[2],
               d[3], d[4], t.year, t.month, t.day, t.hour, t.minute, t.second);
    return false;
  }
  if (type == box::ValueType::kWeekday) {
    const auto day = file.u8(pos);
    if (!day || *day <= 6) return true;
    reportHere(record, code::card::kIllegalValue, "Illegal format of WEEK", " at %d (%02x).", item, *day);
    return false;
  }
  return true;
}

int walkItemLengths(ByteView file, const ItemInfo& fields, CardRecord& record, const CardValues& values) {
  record.areaLength = values.areaLength;
  record.dataLength = values.dataLength;
  int misfits = 0;
  for (int k = values.count() - 1; k >= 0; --k) {
    const ItemInfoEntry& entry = fields.entries[static_cast<size_t>(k)];
    const uint32_t length = values.length(k);
    if (!lengthFitsDataId(entry, length)) {
      ++misfits;
      debugMessage(ja::kItemLengthWrong);
    }
    // Only TIME and WEEK values are checked; the rest pass unread.
    const box::ValueType type = box::dataIdTraits(entry.dataId).type;
    if (type == box::ValueType::kTime || type == box::ValueType::kWeekday) {
      checkItemValue(file, entry, record, k, values.position(k), length);
    }
  }
  return misfits;
}

bool checkItems(ByteView file, CardRecord& record, const ItemInfo& fields) {
  const CardValues values(file, record.offset, fields);
  const int misfits = walkItemLengths(file, fields, record, values);
  record.consistent = misfits == 0 && values.decoded == values.count() &&
                      values.areaLength == values.statedArea &&
                      record.size == box::normalCardSize(values.areaLength, values.valuesLength);
  if (misfits > 0) {
    reportHere(record, code::card::kIllegalLength, "Item with illegal lenth is exist.");
  }
  if (record.areaLength != values.statedArea) {
    reportHere(record, code::card::kWrongAreaLength, "Wrong size for Item data length area.");
  }
  // In 32 bits, as the device adds them.
  if (record.size != record.areaLength + record.dataLength + box::kCardBodyFixedSize) {
    reportHere(record, code::card::kWrongDataLength, "Data area length and/or Items data length have wrong.");
  }
  return (record.level & code::kFailing) == 0;
}

bool checkOffsetCardSize(CardRecord& record) {
  if (record.size % box::kOffsetEntrySize != 0) {
    reportHere(record, code::card::kIllegalOffsetCardSize, "Illegal card size.");
  } else if (record.size != box::kUsualOffsetCardSize) {
    reportHere(record, code::card::kUnusualOffsetCardSize, "Unusual card size.");
  }
  return record.level == 0;
}

bool dumpIndexCard(ByteView file, CardRecord& record) {
  debugMessage(" # %4d", static_cast<int>(record.size));
  const uint64_t bodyStart = uint64_t{record.offset} + box::kCardHeadSize;
  const uint64_t bodyEnd = bodyStart + record.size;
  int64_t remaining = record.size;
  uint64_t q = bodyStart;
  do {
    const bool first = q == bodyStart;
    if (q + box::kIndexEntryLengthSize > bodyEnd) break;
    const uint32_t len = file.u16(q).value_or(0);
    if (len <= box::kIndexEntryLengthSize) break;
    // An entry after the first starts with more than its fixed part of body
    // left, so only its name field can run past the body; that field is
    // searched for its NUL as far as it goes within the file.  The first
    // entry is read within the body alone.
    const uint64_t nameStart = q + box::kIndexEntryNameOffset;
    const uint64_t nameEnd =
        std::min<uint64_t>(q + box::kIndexEntryLengthSize + len, first ? bodyEnd : file.size());
    if (len <= box::kIndexEntryFixedSize || nameStart >= nameEnd) break;
    const uint8_t* name = file.at(nameStart, nameEnd - nameStart);
    if (!name || !std::memchr(name, 0, nameEnd - nameStart)) break;
    const uint8_t* e = file.at(q + box::kIndexEntryShownOffset, box::kIndexEntryShownSize);
    debugMessage(" ## %3d %02x %02x %02x %02x %s", static_cast<int>(len), e[0], e[1], e[2], e[3],
                 reinterpret_cast<const char*>(name));
    // An entry that overruns the body leaves none of it.
    remaining -= static_cast<int64_t>(len) + box::kIndexEntryLengthSize;
    q += uint64_t{len} + box::kIndexEntryLengthSize;
  } while (remaining > box::kIndexEntryNameOffset);
  return true;
}
