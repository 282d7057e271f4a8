// Bounds-checked little-endian readers over the mapped file.
//
// Every read of box file data goes through a ByteView, which knows where the
// mapping ends: a field that does not lie wholly inside the view yields
// nothing instead of a read past the end.  The checks never compare offsets
// with the raw file size themselves.
#pragma once

#include <cstdint>
#include <optional>

inline uint16_t decodeU16(const uint8_t* p) { return static_cast<uint16_t>(p[0] | (p[1] << 8)); }

inline uint32_t decodeU32(const uint8_t* p) {
  return static_cast<uint32_t>(p[0]) | (static_cast<uint32_t>(p[1]) << 8) |
         (static_cast<uint32_t>(p[2]) << 16) | (static_cast<uint32_t>(p[3]) << 24);
}

class ByteView {
 public:
  ByteView() = default;
  ByteView(const uint8_t* data, uint32_t size) : data_(data), size_(data ? size : 0) {}

  const uint8_t* data() const { return data_; }
  uint32_t size() const { return size_; }

  // True when [offset, offset + length) lies inside the view; never wraps.
  bool contains(uint64_t offset, uint64_t length) const {
    return offset <= size_ && length <= size_ - offset;
  }

  // Pointer to length bytes at offset, or null when they are not all inside.
  const uint8_t* at(uint64_t offset, uint64_t length) const {
    return contains(offset, length) ? data_ + offset : nullptr;
  }

  std::optional<uint8_t> u8(uint64_t offset) const {
    if (!contains(offset, 1)) return std::nullopt;
    return data_[offset];
  }
  std::optional<uint16_t> u16(uint64_t offset) const {
    if (!contains(offset, 2)) return std::nullopt;
    return decodeU16(data_ + offset);
  }
  std::optional<uint32_t> u32(uint64_t offset) const {
    if (!contains(offset, 4)) return std::nullopt;
    return decodeU32(data_ + offset);
  }

 private:
  const uint8_t* data_ = nullptr;
  uint32_t size_ = 0;
};
