#include "card_values.h"

#include <climits>
#include <cstring>
#include <ctime>

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
  constexpr uint64_t kWidest = 4;
  if (areaStart + kWidest * static_cast<uint64_t>(count_) <= file.size()) {
    const uint8_t* p = file.data() + areaStart;
    for (; k < count_; ++k) {
      uint32_t length = 0;
      uint32_t width = 0;
      decodeItemLength(p, kWidest, &length, &width);
      p += width;
      items_[static_cast<size_t>(k)] = {length, offset};
      offset += length;
    }
    pos = static_cast<uint64_t>(p - file.data());
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

TimeFields decodeTime(const uint8_t* d) {
  TimeFields t;
  t.year = (d[3] >> 4) + 16 * d[4];
  t.unset = t.year == static_cast<int>(box::kUnsetYear);
  if (!t.unset && t.year > 130) t.year -= 100;
  t.second = d[0];
  t.minute = d[1] & 0x3F;
  t.hour = (d[1] >> 6) + 4 * (d[2] & 0x07);
  t.day = d[2] >> 3;
  t.month = d[3] & 0x0F;
  return t;
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

}  // namespace

bool timeConverts(const TimeFields& t) {
  // Out-of-range fields move a date by at most a day back (day 0) and a year
  // and a half forward (month 15, day 31, hour 31, ...).  Years 1903 to 2034
  // therefore stay well inside the 32-bit range, and only those near 1970
  // can come near -1, mktime's failure value.
  if (t.year >= 3 && t.year <= 134 && (t.year < 67 || t.year > 71)) return true;
  // The time as UTC, normalised the way mktime normalises its fields.  Local
  // time is less than three days away from it, so when it lies further than
  // that from the 32-bit limits and from -1 (mktime's failure value), mktime
  // succeeds for sure; only the values near those points need the library,
  // which re-reads the time zone on every call.
  constexpr int64_t kMargin = int64_t{3} * 86400;
  const int64_t utc =
      daysFromCivil(1900 + t.year + t.month / 12, static_cast<unsigned>(t.month % 12) + 1, 1) * 86400 +
      (t.day - 1) * int64_t{86400} + t.hour * int64_t{3600} + t.minute * int64_t{60} + t.second;
  if (utc > INT32_MIN + kMargin && utc < INT32_MAX - kMargin && (utc < -1 - kMargin || utc > -1 + kMargin)) {
    return true;
  }
  struct tm fields = calendarOf(t);
  const time_t converted = mktime(&fields);
  return converted != static_cast<time_t>(-1) && converted >= INT32_MIN && converted <= INT32_MAX;
}

struct tm calendarOf(const TimeFields& t) {
  struct tm fields;
  std::memset(&fields, 0, sizeof fields);
  fields.tm_sec = t.second;
  fields.tm_min = t.minute;
  fields.tm_hour = t.hour;
  fields.tm_mday = t.day;
  fields.tm_mon = t.month;
  fields.tm_year = t.year;
  return fields;
}
