// How the box format encodes integers, both ways.
//
// Fixed-width integers are little-endian and stand at any byte offset, so
// they are assembled byte by byte.  The item lengths inside a card are a
// variable-width big-endian code: the first byte says whether the length
// takes 1, 2 or 4 bytes.  The readers of the engine, the box library's
// collector and the box builder all use these functions, so the format is
// spelled here only.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

inline uint16_t decodeFixed16(const uint8_t* p) { return static_cast<uint16_t>(p[0] | (p[1] << 8)); }

inline uint32_t decodeFixed32(const uint8_t* p) {
  return static_cast<uint32_t>(p[0]) | (static_cast<uint32_t>(p[1]) << 8) |
         (static_cast<uint32_t>(p[2]) << 16) | (static_cast<uint32_t>(p[3]) << 24);
}

inline void encodeFixed16(uint8_t* p, uint16_t value) {
  p[0] = static_cast<uint8_t>(value);
  p[1] = static_cast<uint8_t>(value >> 8);
}

inline void encodeFixed32(uint8_t* p, uint32_t value) {
  for (int k = 0; k < 4; ++k) p[k] = static_cast<uint8_t>(value >> (8 * k));
}

// Encoded item lengths.  The value range each width can hold:
//   0x00..0x7F  1 byte   b0
//   0x80..0xBF  2 bytes  (b0 & 0x7F) << 8 | b1            up to 0x7FFF
//   0xC0..0xFF  4 bytes  (b0 & 0x3F) << 24 | b1 b2 b3     up to 0x3FFFFFFF
inline constexpr uint32_t kMaxItemLength = 0x3FFFFFFF;
inline constexpr uint8_t kTwoByteLength = 0x80;   // the least first byte of a two-byte length
inline constexpr uint8_t kFourByteLength = 0xC0;  // and of a four-byte one
inline constexpr uint32_t kWidestItemLength = 4;  // bytes an encoded length takes at most

// The width of the encoded length whose first byte is b0.
inline constexpr uint32_t itemLengthWidth(uint8_t b0) {
  return b0 < kTwoByteLength ? 1 : b0 < kFourByteLength ? 2 : kWidestItemLength;
}

// Decodes the length at p, of which `available` bytes may be read.  False
// when its width needs more than that.
inline bool decodeItemLength(const uint8_t* p, uint64_t available, uint32_t* value, uint32_t* width) {
  if (available < 1) return false;
  const uint32_t w = itemLengthWidth(p[0]);
  if (available < w) return false;
  if (w == 1) {
    *value = p[0];
  } else if (w == 2) {
    *value = (static_cast<uint32_t>(p[0] & 0x7F) << 8) | p[1];
  } else {
    *value = (static_cast<uint32_t>(p[0] & 0x3F) << 24) | (static_cast<uint32_t>(p[1]) << 16) |
             (static_cast<uint32_t>(p[2]) << 8) | p[3];
  }
  *width = w;
  return true;
}

// Appends the shortest encoding of length (at most kMaxItemLength).
inline void appendItemLength(std::vector<uint8_t>& out, uint32_t length) {
  if (length < 0x80) {
    out.push_back(static_cast<uint8_t>(length));
  } else if (length < 0x8000) {
    out.push_back(static_cast<uint8_t>(0x80 | (length >> 8)));
    out.push_back(static_cast<uint8_t>(length));
  } else {
    out.push_back(static_cast<uint8_t>(0xC0 | ((length >> 24) & 0x3F)));
    out.push_back(static_cast<uint8_t>(length >> 16));
    out.push_back(static_cast<uint8_t>(length >> 8));
    out.push_back(static_cast<uint8_t>(length));
  }
}

// Appends a fixed-width integer.
inline void appendFixed16(std::vector<uint8_t>& out, uint16_t value) {
  out.push_back(static_cast<uint8_t>(value));
  out.push_back(static_cast<uint8_t>(value >> 8));
}
inline void appendFixed32(std::vector<uint8_t>& out, uint32_t value) {
  for (int k = 0; k < 4; ++k) out.push_back(static_cast<uint8_t>(value >> (8 * k)));
}
