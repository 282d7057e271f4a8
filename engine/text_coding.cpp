#include "text_coding.h"

#include <cstdio>
#include <cstring>

#if defined(__SSE2__)
#include <emmintrin.h>
#endif

size_t utf8SequenceLength(const uint8_t* bytes, size_t available) {
  if (available == 0) return 0;
  const uint8_t b0 = bytes[0];
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
  if (available < length || bytes[1] < low || bytes[1] > high) return 0;
  for (size_t i = 2; i < length; ++i) {
    if (bytes[i] < 0x80 || bytes[i] > 0xBF) return 0;
  }
  return length;
}

bool validUtf8(const uint8_t* bytes, size_t length) {
  size_t at = 0;
  while (at < length) {
    // Most text is ASCII: it is passed over sixteen bytes at a time where
    // the processor has SSE2, eight elsewhere.
#if defined(__SSE2__)
    while (at + 16 <= length &&
           _mm_movemask_epi8(_mm_loadu_si128(reinterpret_cast<const __m128i*>(bytes + at))) == 0)
      at += 16;
#endif
    constexpr uint64_t kHighBits = 0x8080808080808080u;
    uint64_t word = 0;
    while (at + 8 <= length && (std::memcpy(&word, bytes + at, 8), (word & kHighBits) == 0)) at += 8;
    if (at >= length) break;
    if (bytes[at] < 0x80) {
      ++at;
      continue;
    }
    const size_t n = utf8SequenceLength(bytes + at, length - at);
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

std::string vformat(const char* fmt, va_list args) {
  va_list again;
  va_copy(again, args);
  const int length = std::vsnprintf(nullptr, 0, fmt, args);
  std::string out(length > 0 ? static_cast<size_t>(length) : 0, '\0');
  if (length > 0) std::vsnprintf(out.data(), out.size() + 1, fmt, again);
  va_end(again);
  return out;
}

std::string format(const char* fmt, ...) {
  va_list args;
  va_start(args, fmt);
  std::string out = vformat(fmt, args);
  va_end(args);
  return out;
}
