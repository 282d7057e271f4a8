// Bytes as text: UTF-8 validation and lowercase hex, for the typed values
// of export and for boxtool's printable form of any bytes.
#pragma once

#include <cstdarg>
#include <cstddef>
#include <cstdint>
#include <string>

// The length of the valid UTF-8 sequence at the start of the available
// bytes, or 0 when they do not start with one (a stray continuation byte,
// an overlong form, a surrogate, a code point above U+10FFFF, a sequence cut
// short).
size_t utf8SequenceLength(const uint8_t* bytes, size_t available);

// True when the bytes are valid UTF-8 throughout.
bool validUtf8(const uint8_t* bytes, size_t length);

// Lowercase hex, two digits a byte, appended to out.
void appendHex(std::string& out, const uint8_t* bytes, size_t length);

// printf into a std::string, of any length.
std::string format(const char* fmt, ...) __attribute__((format(printf, 1, 2)));
std::string vformat(const char* fmt, va_list args) __attribute__((format(printf, 1, 0)));
