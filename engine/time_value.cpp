#include "time_value.h"

#include <climits>
#include <cstdio>
#include <cstring>

#include "box_format.h"

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

namespace {

// Writes value (0 <= value < 10^width) as width digits ending at end.
void putDigits(char* end, int value, int width) {
  for (int k = 0; k < width; ++k) {
    *--end = static_cast<char>('0' + value % 10);
    value /= 10;
  }
}

bool inRange(const TimeFields& t) {
  static constexpr int kDays[12] = {31, 29, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
  if (t.month < 0 || t.month > 11 || t.day < 1 || t.hour > 23 || t.minute > 59 || t.second > 59) return false;
  if (t.day > kDays[t.month]) return false;
  if (t.month == 1 && t.day == 29) {
    const int y = 1900 + t.year;
    return (y % 4 == 0 && y % 100 != 0) || y % 400 == 0;
  }
  return true;
}

}  // namespace

void appendIsoTime(std::string& s, TimeFields t) {
  if (!inRange(t)) {
    struct tm fields = calendarOf(t);
    const time_t whole = timegm(&fields);
    struct tm normal = {};
    gmtime_r(&whole, &normal);
    t = {normal.tm_sec, normal.tm_min, normal.tm_hour, normal.tm_mday, normal.tm_mon, normal.tm_year, false};
  }
  const long year = 1900L + t.year;
  if (year < 0 || year > 9999) {  // no TIME value reaches this far; written as printf would
    char text[64];
    std::snprintf(text, sizeof text, "%04ld-%02d-%02dT%02d:%02d:%02d", year, t.month + 1, t.day, t.hour,
                  t.minute, t.second);
    s += text;
    return;
  }
  char text[] = "0000-00-00T00:00:00";
  putDigits(text + 4, static_cast<int>(year), 4);
  putDigits(text + 7, t.month + 1, 2);
  putDigits(text + 10, t.day, 2);
  putDigits(text + 13, t.hour, 2);
  putDigits(text + 16, t.minute, 2);
  putDigits(text + 19, t.second, 2);
  s.append(text, sizeof text - 1);
}
