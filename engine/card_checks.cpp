#include "card_checks.h"

#include <climits>
#include <cstring>

#include "box_format.h"
#include "findings.h"
#include "texts_ja.h"

bool lengthFitsDataId(const ItemInfoEntry& entry, uint32_t length) {
  return length == 0 || entry.fixedLength == 0 || length == entry.fixedLength;
}

bool checkItemValue(ByteView file, const ItemInfoEntry& entry, CardRecord& record, int item,
                    uint64_t position, uint32_t length) {
  if (length == 0 || position > UINT32_MAX) return true;
  const uint32_t pos = static_cast<uint32_t>(position);
  if (entry.dataId == box::kTimeDataId) {
    const uint8_t* d = file.at(pos, box::kTimeValueSize);
    if (!d) return true;
    const TimeFields t = decodeTime(d);
    if (t.unset || timeConverts(t)) return true;
    reportHere(record, code::card::kIllegalValue, "Illegal format of TIME.",
               " item %2d, data %02x%02x%02x%02x%02x %4d/%2d/%2d %02d:%02d:%02d.", item, d[0], d[1], d[2],
               d[3], d[4], t.year, t.month, t.day, t.hour, t.minute, t.second);
    return false;
  }
  if (entry.dataId == box::kWeekDataId) {
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
    if (entry.dataId == box::kTimeDataId || entry.dataId == box::kWeekDataId) {
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
                      record.size == box::kCardBodyFixedSize + values.areaLength + values.valuesLength;
  if (misfits > 0) {
    reportHere(record, code::card::kIllegalLength, "Item with illegal lenth is exist.");
  }
  if (record.areaLength != values.statedArea) {
    reportHere(record, code::card::kWrongAreaLength, "Wrong size for Item data length area.");
  }
  if (record.size != record.areaLength + record.dataLength + 4) {
    reportHere(record, code::card::kWrongDataLength, "Data area length and/or Items data length have wrong.");
  }
  return (record.level & code::kFailing) == 0;
}

bool checkOffsetCardSize(CardRecord& record) {
  if (record.size % 4 != 0) {
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
    if (q + 2 > bodyEnd) break;
    const uint32_t len = decodeFixed16(file.data() + q);
    if (len <= 2) break;
    // The name starts 12 bytes into the entry and its field is len - 10
    // bytes long.  An entry after the first starts with more than 12 bytes
    // of body left, so only its name field can run past the body; that
    // field is searched for its NUL as far as it goes within the file.  The
    // first entry is read within the body alone.
    const uint64_t nameStart = q + 12;
    const uint64_t nameEnd = std::min<uint64_t>(q + 2 + len, first ? bodyEnd : file.size());
    if (len <= 10 || nameStart >= nameEnd) break;
    const auto* name = file.data() + nameStart;
    if (!std::memchr(name, 0, nameEnd - nameStart)) break;
    const uint8_t* e = file.data() + q;
    debugMessage(" ## %3d %02x %02x %02x %02x %s", static_cast<int>(len), e[2], e[3], e[4], e[5],
                 reinterpret_cast<const char*>(name));
    // An entry that overruns the body leaves none of it.
    remaining -= static_cast<int64_t>(len) + 2;
    q += uint64_t{len} + 2;
  } while (remaining > 12);
  return true;
}
