#include "card_checks.h"

#include <array>
#include <climits>
#include <cstring>
#include <ctime>

#include "box_format.h"
#include "findings.h"
#include "texts_ja.h"

bool lengthFitsDataId(const ItemInfoEntry& entry, uint32_t length) {
  return box::lengthFits(entry.dataId, length);
}

namespace {

// Days from 1970-01-01 to the given date of the proleptic Gregorian calendar.
int64_t daysFromCivil(int64_t y, unsigned m, unsigned d) {
  y -= m <= 2;
  const int64_t era = (y >= 0 ? y : y - 399) / 400;
  const unsigned yoe = static_cast<unsigned>(y - era * 400);
  const unsigned doy = (153 * (m + (m > 2 ? -3 : 9)) + 2) / 5 + d - 1;
  const unsigned doe = yoe * 365 + yoe / 4 - yoe / 100 + doy;
  return era * 146097 + static_cast<int64_t>(doe) - 719468;
}

// Judges a TIME value as the 32-bit handheld would: mktime must succeed and
// its result must fit a signed 32-bit time_t.
bool timeConverts(int year, int month, int day, int hour, int minute, int second) {
  // The time as UTC, normalised the way mktime normalises its fields.  Local
  // time is less than three days away from it, so when it lies further than
  // that from the 32-bit limits and from -1 (mktime's failure value), mktime
  // succeeds for sure; only the values near those points need the library,
  // which re-reads the time zone on every call.
  constexpr int64_t kMargin = int64_t{3} * 86400;
  const int64_t utc =
      daysFromCivil(1900 + year + month / 12, static_cast<unsigned>(month % 12) + 1, 1) * 86400 +
      (day - 1) * int64_t{86400} + hour * int64_t{3600} + minute * int64_t{60} + second;
  if (utc > INT32_MIN + kMargin && utc < INT32_MAX - kMargin && (utc < -1 - kMargin || utc > -1 + kMargin)) {
    return true;
  }
  struct tm t;
  std::memset(&t, 0, sizeof t);
  t.tm_sec = second;
  t.tm_min = minute;
  t.tm_hour = hour;
  t.tm_mday = day;
  t.tm_mon = month;
  t.tm_year = year;
  const time_t converted = mktime(&t);
  return converted != static_cast<time_t>(-1) && converted >= INT32_MIN && converted <= INT32_MAX;
}

}  // namespace

bool checkItemValue(ByteView file, const ItemInfoEntry& entry, CardRecord& record, int item,
                    uint64_t position, uint32_t length) {
  if (length == 0 || position > UINT32_MAX) return true;
  const uint32_t pos = static_cast<uint32_t>(position);
  if (entry.dataId == box::kTimeDataId) {
    const uint8_t* d = file.at(pos, box::kTimeValueSize);
    if (!d) return true;
    int year = (d[3] >> 4) + 16 * d[4];
    if (year == static_cast<int>(box::kUnsetYear)) return true;
    if (year > 130) year -= 100;
    const int second = d[0];
    const int minute = d[1] & 0x3F;
    const int hour = (d[1] >> 6) + 4 * (d[2] & 0x07);
    const int day = d[2] >> 3;
    const int month = d[3] & 0x0F;
    if (timeConverts(year, month, day, hour, minute, second)) return true;
    reportHere(record, code::card::kIllegalValue, "Illegal format of TIME.",
               " item %2d, data %02x%02x%02x%02x%02x %4d/%2d/%2d %02d:%02d:%02d.", item, d[0], d[1], d[2],
               d[3], d[4], year, month, day, hour, minute, second);
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

int walkItemLengths(ByteView file, const ItemInfo& fields, CardRecord& record, uint64_t areaStart) {
  // At most 255 fields; lengths the file does not hold count 0.  The arrays
  // are filled only as far as the field count, once per card.
  std::array<uint32_t, 256> lengths;
  const int count = fields.count;
  uint64_t pos = areaStart;
  uint32_t dataLength = 0;
  int decoded = 0;
  for (; decoded < count; ++decoded) {
    uint32_t width = 0;
    if (!file.itemLength(pos, &lengths[decoded], &width)) break;
    pos += width;
    dataLength += lengths[decoded];  // wraps like the device's 32-bit sum
  }
  for (int k = decoded; k < count; ++k) lengths[k] = 0;
  record.areaLength = static_cast<uint32_t>(pos - areaStart);
  record.dataLength = dataLength;

  // Value positions: the item data begins right behind the area.
  std::array<uint64_t, 256> valueAt;
  uint64_t value = pos;
  for (int k = 0; k < count; ++k) {
    valueAt[k] = value;
    value += lengths[k];
  }

  int misfits = 0;
  for (int k = count - 1; k >= 0; --k) {
    const ItemInfoEntry& entry = fields.entries[static_cast<size_t>(k)];
    if (!lengthFitsDataId(entry, lengths[k])) {
      ++misfits;
      debugMessage(ja::kItemLengthWrong);
    }
    // Only TIME and WEEK values are checked; the rest pass unread.
    if (entry.dataId == box::kTimeDataId || entry.dataId == box::kWeekDataId) {
      checkItemValue(file, entry, record, k, valueAt[k], lengths[k]);
    }
  }
  return misfits;
}

bool checkItems(ByteView file, CardRecord& record, const ItemInfo& fields) {
  const uint64_t offset = record.offset;
  if (walkItemLengths(file, fields, record, offset + box::kCardAreaOffset) > 0) {
    reportHere(record, code::card::kIllegalLength, "Item with illegal lenth is exist.");
  }
  const uint32_t stated = file.u16(record.offset + box::kCardAreaLengthOffset).value_or(0);
  if (record.areaLength != stated) {
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
