// A TIME value: five bytes of a card, as the handheld reads them, checks
// them and as export writes them.
#pragma once

#include <cstdint>
#include <ctime>
#include <string>

// A TIME value's fields, as the handheld reads its five bytes: a 40-bit
// little-endian field with second, minute, hour, day, month (0-based as the
// C library counts it) and year (years since 1900).
struct TimeFields {
  int second, minute, hour, day, month, year;
  bool unset;  // the year value 255: no date is set
};

// Decodes the five bytes at d; a year value above 130 is taken as 100 less,
// as the handheld takes it.
TimeFields decodeTime(const uint8_t* d);

// Whether the handheld would accept the fields: mktime in the process's time
// zone succeeds and its result fits a signed 32-bit time_t.
bool timeConverts(const TimeFields& t);

// The fields as the C library's calendar record, everything else zero
// (daylight saving off), ready for mktime or timegm.
struct tm calendarOf(const TimeFields& t);

// Appends YYYY-MM-DDTHH:MM:SS.  Fields beyond their range carry over as
// the C library's conversion carries them (January 32nd is February 1st).
void appendIsoTime(std::string& s, TimeFields t);
