#include "record_values.h"

#include <iconv.h>

#include <algorithm>
#include <cctype>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <ctime>

#if defined(__SSE2__)
#include <emmintrin.h>
#endif

#include "box_format.h"
#include "card_values.h"
#include "coding.h"

namespace {

bool isUtf8Name(const std::string& name) {
  std::string plain;
  for (char c : name) {
    if (c != '-' && c != '_') plain += static_cast<char>(std::toupper(static_cast<unsigned char>(c)));
  }
  return plain == "UTF8";
}

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

// Appends YYYY-MM-DDTHH:MM:SS.  Fields beyond their range carry over as
// the C library's conversion carries them (January 32nd is February 1st).
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

}  // namespace

size_t utf8SequenceLength(const uint8_t* p, size_t available) {
  if (available == 0) return 0;
  const uint8_t b0 = p[0];
  if (b0 < 0x80) return 1;
  size_t length;
  uint8_t low = 0x80, high = 0xBF;  // the second byte's range
  if (b0 >= 0xC2 && b0 <= 0xDF) {
    length = 2;
  } else if (b0 >= 0xE0 && b0 <= 0xEF) {
    length = 3;
    if (b0 == 0xE0) low = 0xA0;   // overlong
    if (b0 == 0xED) high = 0x9F;  // surrogates
  } else if (b0 >= 0xF0 && b0 <= 0xF4) {
    length = 4;
    if (b0 == 0xF0) low = 0x90;   // overlong
    if (b0 == 0xF4) high = 0x8F;  // above U+10FFFF
  } else {
    return 0;  // a continuation byte, C0, C1 or F5 to FF
  }
  if (available < length || p[1] < low || p[1] > high) return 0;
  for (size_t i = 2; i < length; ++i) {
    if (p[i] < 0x80 || p[i] > 0xBF) return 0;
  }
  return length;
}

bool validUtf8(const uint8_t* p, size_t length) {
  size_t at = 0;
  while (at < length) {
    // Most text is ASCII: it is passed over sixteen bytes at a time where
    // the processor has SSE2, eight elsewhere.
#if defined(__SSE2__)
    while (at + 16 <= length &&
           _mm_movemask_epi8(_mm_loadu_si128(reinterpret_cast<const __m128i*>(p + at))) == 0)
      at += 16;
#endif
    constexpr uint64_t kHighBits = 0x8080808080808080u;
    uint64_t word = 0;
    while (at + 8 <= length && (std::memcpy(&word, p + at, 8), (word & kHighBits) == 0)) at += 8;
    if (at >= length) break;
    if (p[at] < 0x80) {
      ++at;
      continue;
    }
    const size_t n = utf8SequenceLength(p + at, length - at);
    if (n == 0) return false;
    at += n;
  }
  return true;
}

void appendHex(std::string& out, const uint8_t* bytes, size_t length) {
  static constexpr char kDigits[] = "0123456789abcdef";
  for (size_t k = 0; k < length; ++k) {
    out += kDigits[bytes[k] >> 4];
    out += kDigits[bytes[k] & 0x0F];
  }
}

ValueDecoder::ValueDecoder(const std::string& encoding) : utf8_(isUtf8Name(encoding)) {
  if (utf8_) return;
  const iconv_t cd = iconv_open("UTF-8", encoding.c_str());
  if (cd != reinterpret_cast<iconv_t>(-1)) converter_ = cd;
}

ValueDecoder::~ValueDecoder() {
  if (converter_) iconv_close(static_cast<iconv_t>(converter_));
}

bool ValueDecoder::toText(const uint8_t* bytes, uint32_t length, RecordValue& value) {
  if (utf8_) {
    if (!validUtf8(bytes, length)) return false;
    value.inPlace = std::string_view(reinterpret_cast<const char*>(bytes), length);
    return true;
  }
  std::string& out = value.text;
  const auto cd = static_cast<iconv_t>(converter_);
  iconv(cd, nullptr, nullptr, nullptr, nullptr);  // the initial shift state
  // Four bytes of UTF-8 for every input byte is more than any conversion
  // needs; the loop grows the buffer should one need more.
  buffer_.resize(uint64_t{length} * 4 + 16);
  char* in = const_cast<char*>(reinterpret_cast<const char*>(bytes));
  size_t inLeft = length;
  size_t done = 0;
  for (;;) {
    char* outPtr = buffer_.data() + done;
    size_t outLeft = buffer_.size() - done;
    const size_t r = iconv(cd, &in, &inLeft, &outPtr, &outLeft);
    done = static_cast<size_t>(outPtr - buffer_.data());
    if (r != static_cast<size_t>(-1)) break;
    if (errno != E2BIG) return false;  // EILSEQ, EINVAL: not text in this encoding
    buffer_.resize(buffer_.size() * 2);
  }
  // The closing shift sequence, if the encoding has one.
  char* outPtr = buffer_.data() + done;
  size_t outLeft = buffer_.size() - done;
  if (iconv(cd, nullptr, nullptr, &outPtr, &outLeft) == static_cast<size_t>(-1)) return false;
  done = static_cast<size_t>(outPtr - buffer_.data());
  out.assign(buffer_.data(), done);
  return true;
}

void ValueDecoder::decode(const ItemInfoEntry& field, const uint8_t* bytes, uint32_t length,
                          RecordValue& out) {
  out.text.clear();
  out.inPlace = {};
  out.integer = 0;
  if (length == 0) {
    out.kind = ValueKind::kNull;
    return;
  }
  const uint32_t fixed = box::fixedValueLength(field.dataId);
  if (fixed != 0 && length != fixed) {
    out.kind = ValueKind::kHex;
    appendHex(out.text, bytes, length);
    return;
  }
  switch (field.dataId) {
    case box::kTimeDataId: {
      const TimeFields t = decodeTime(bytes);
      if (t.unset) {
        out.kind = ValueKind::kNull;
      } else if (!timeConverts(t)) {
        out.kind = ValueKind::kIllegalTime;
        appendHex(out.text, bytes, length);
      } else {
        out.kind = ValueKind::kTime;
        appendIsoTime(out.text, t);
      }
      return;
    }
    case 6:
    case box::kWeekDataId:
    case 11:
      out.kind = ValueKind::kInteger;
      out.integer = bytes[0];
      return;
    case 8:
      out.kind = ValueKind::kInteger;
      out.integer = decodeFixed16(bytes);
      return;
    case 18:
      out.kind = ValueKind::kInteger;
      out.integer = decodeFixed32(bytes);
      return;
    default:
      if (toText(bytes, length, out)) {
        out.kind = ValueKind::kText;
      } else {
        out.kind = ValueKind::kHex;
        out.text.clear();
        appendHex(out.text, bytes, length);
      }
  }
}
