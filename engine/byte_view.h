// Bounds-checked readers over the bytes of a box file.
//
// Every read of box file data goes through a ByteView, which knows where the
// bytes end: a field that does not lie wholly inside the view yields nothing
// instead of a read past the end.  The checks never compare offsets with the
// raw file size themselves.
#pragma once

#include <cstdint>
#include <optional>

#include "coding.h"

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
    return decodeFixed16(data_ + offset);
  }
  std::optional<uint32_t> u32(uint64_t offset) const {
    if (!contains(offset, 4)) return std::nullopt;
    return decodeFixed32(data_ + offset);
  }

  // The encoded item length at offset; false when it does not lie wholly
  // inside the view.
  bool itemLength(uint64_t offset, uint32_t* value, uint32_t* width) const {
    if (offset >= size_) return false;
    return decodeItemLength(data_ + offset, size_ - offset, value, width);
  }

 private:
  const uint8_t* data_ = nullptr;
  uint32_t size_ = 0;
};
