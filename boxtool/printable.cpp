#include "printable.h"

#include <cstdarg>
#include <cstdint>
#include <cstdio>

namespace {

// The length of the valid UTF-8 sequence at the start of s, or 0 when it
// does not start with one (stray continuation bytes, overlong forms,
// surrogates, code points above U+10FFFF, sequences cut short).
size_t utf8SequenceLength(std::string_view s) {
  const auto byte = [&](size_t i) { return static_cast<uint8_t>(s[i]); };
  const uint8_t b0 = byte(0);
  if (b0 < 0x80) return 1;
  size_t length;
  uint8_t low = 0x80, high = 0xBF;  // range of the second byte
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
    return 0;
  }
  if (s.size() < length || byte(1) < low || byte(1) > high) return 0;
  for (size_t i = 2; i < length; ++i) {
    if (byte(i) < 0x80 || byte(i) > 0xBF) return 0;
  }
  return length;
}

}  // namespace

std::string printable(std::string_view bytes) {
  std::string out;
  out.reserve(bytes.size());
  while (!bytes.empty()) {
    const uint8_t b = static_cast<uint8_t>(bytes[0]);
    const size_t length = utf8SequenceLength(bytes);
    if (length == 0 || b < 0x20 || b == 0x7F) {
      out += format("\\x%02x", b);
      bytes.remove_prefix(1);
      continue;
    }
    if (b == '\\') out += '\\';
    out.append(bytes.substr(0, length));
    bytes.remove_prefix(length);
  }
  return out;
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
