#include "salvage_scan.h"

#include <algorithm>

#if defined(__SSE2__)
#include <emmintrin.h>
#endif

#include "coding.h"

namespace {

constexpr uint64_t kWidest = kWidestItemLength;
constexpr uint64_t kFirstBlock = 1 << 8;  // positions looked at first; an answer is often near
constexpr uint64_t kLastBlock = 1 << 16;  // the blocks grow to this

// Calls visit(x) for every x in [0, length) whose byte could begin an
// encoded length of 0 or fixed: 0x00, fixed, 0x80 or 0xC0.
template <typename Visit>
void eachLengthStart(const uint8_t* d, uint64_t length, uint8_t fixed, Visit visit) {
  uint64_t x = 0;
#if defined(__SSE2__)
  const __m128i zero = _mm_setzero_si128();
  const __m128i one = _mm_set1_epi8(static_cast<char>(fixed));
  const __m128i two = _mm_set1_epi8(static_cast<char>(kTwoByteLength));
  const __m128i four = _mm_set1_epi8(static_cast<char>(kFourByteLength));
  for (; x + 16 <= length; x += 16) {
    const __m128i v = _mm_loadu_si128(reinterpret_cast<const __m128i*>(d + x));
    const __m128i hits = _mm_or_si128(_mm_or_si128(_mm_cmpeq_epi8(v, zero), _mm_cmpeq_epi8(v, one)),
                                      _mm_or_si128(_mm_cmpeq_epi8(v, two), _mm_cmpeq_epi8(v, four)));
    for (auto mask = static_cast<unsigned>(_mm_movemask_epi8(hits)); mask != 0; mask &= mask - 1)
      visit(x + static_cast<uint64_t>(__builtin_ctz(mask)));
  }
#endif
  for (; x < length; ++x) {
    const uint8_t b = d[x];
    if (b == 0 || b == fixed || b == kTwoByteLength || b == kFourByteLength) visit(x);
  }
}

}  // namespace

SalvageScan::SalvageScan(ByteView file, const ItemInfo& fields) : file_(file) {
  fixed_.reserve(static_cast<size_t>(fields.count));
  for (int k = 0; k < fields.count; ++k) {
    fixed_.push_back(fields.entries[static_cast<size_t>(k)].fixedLength);
    if (firstFixed_ < 0 && fixed_.back() != 0) firstFixed_ = k;
  }
}

bool SalvageScan::fitsFrom(uint64_t at, int from) const {
  const auto n = static_cast<int>(fixed_.size());
  uint64_t q = at;
  const uint8_t* lengths = file_.at(at, kWidest * static_cast<uint64_t>(n - from));
  for (int k = from; k < n; ++k) {
    uint32_t length = 0;
    uint32_t width = 0;
    // Where every length lies in the file, none needs a bounds test of its own.
    if (lengths ? !decodeItemLength(lengths + (q - at), kWidest, &length, &width)
                : !file_.itemLength(q, &length, &width))
      return false;
    const uint32_t fixed = fixed_[static_cast<size_t>(k)];
    if (length != 0 && fixed != 0 && length != fixed) return false;
    q += width;
  }
  return true;
}

void SalvageScan::candidates(uint64_t from, uint64_t to, std::vector<uint64_t>& bits) {
  bits.assign((to - from + 63) / 64, 0);
  const auto k = static_cast<uint64_t>(firstFixed_);
  // Field k's length lies k to 4k bytes behind a position.
  const uint64_t xFrom = from + k;
  const uint64_t xTo = std::min<uint64_t>(file_.size(), to + kWidest * k);
  if (xFrom >= xTo) return;
  const uint8_t* d = file_.at(xFrom, xTo - xFrom);
  eachLengthStart(d, xTo - xFrom, static_cast<uint8_t>(fixed_[k]), [&](uint64_t offset) {
    const uint64_t x = xFrom + offset;
    if (!fitsFrom(x, firstFixed_)) return;
    const uint64_t lo = std::max(from, x >= kWidest * k ? x - kWidest * k : 0);
    const uint64_t hi = std::min(to - 1, x - k);
    for (uint64_t p = lo; p <= hi; ++p) bits[(p - from) / 64] |= uint64_t{1} << ((p - from) % 64);
  });
}

uint64_t SalvageScan::next(uint64_t start) {
  const uint64_t size = file_.size();
  if (start >= size) return size;
  if (lastStart_ <= start && start <= lastAnswer_) return lastAnswer_;
  uint64_t answer = size;
  if (firstFixed_ < 0) {
    // Without a field of fixed length a position fits as soon as its
    // lengths are in the file.
    for (uint64_t p = start; p < size; ++p) {
      if (fitsFrom(p, 0)) {
        answer = p;
        break;
      }
    }
  } else {
    uint64_t block = kFirstBlock;
    for (uint64_t from = start; from < size && answer == size;
         from += block, block = std::min(block * 2, kLastBlock)) {
      const uint64_t to = std::min(size, from + block);
      candidates(from, to, block_);
      for (size_t w = 0; w < block_.size() && answer == size; ++w) {
        for (uint64_t bits = block_[w]; bits != 0; bits &= bits - 1) {
          const uint64_t p = from + 64 * w + static_cast<uint64_t>(__builtin_ctzll(bits));
          if (fitsFrom(p, 0)) {
            answer = p;
            break;
          }
        }
      }
    }
  }
  lastStart_ = start;
  lastAnswer_ = answer;
  return answer;
}
