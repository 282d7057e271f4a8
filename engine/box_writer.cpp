#include "box_writer.h"

#include <sys/mman.h>
#include <unistd.h>

#include <algorithm>

#include "box_format.h"
#include "coding.h"

std::vector<uint8_t> normalCardBody(const std::vector<std::vector<uint8_t>>& values) {
  std::vector<uint8_t> area;
  size_t valuesLength = 0;
  for (const std::vector<uint8_t>& v : values) {
    appendItemLength(area, static_cast<uint32_t>(v.size()));
    valuesLength += v.size();
  }
  std::vector<uint8_t> body;
  body.reserve(box::normalCardSize(area.size(), valuesLength));
  appendFixed16(body, 0);
  appendFixed16(body, static_cast<uint16_t>(area.size()));
  body.insert(body.end(), area.begin(), area.end());
  for (const std::vector<uint8_t>& v : values) body.insert(body.end(), v.begin(), v.end());
  return body;
}

BoxWriter::BoxWriter(const std::vector<uint8_t>& itemInfo) {
  // Sized once and copied into, rather than grown by insert: GCC 12 at -O3
  // misreads the insert after the zeroed header as writing out of bounds.
  out_.resize(box::kItemInfoOffset + itemInfo.size());
  std::copy(itemInfo.begin(), itemInfo.end(), out_.begin() + box::kItemInfoOffset);
  firstCard_ = static_cast<uint32_t>(out_.size());
}

void BoxWriter::reserve(size_t bytes) {
  out_.reserve(bytes);
#ifdef MADV_POPULATE_WRITE
  // Only whole pages inside the reserved room; a kernel without the advice
  // refuses it, and the pages then fault in one by one as before.
  const auto page = static_cast<uintptr_t>(sysconf(_SC_PAGESIZE));
  const auto from = (reinterpret_cast<uintptr_t>(out_.data() + out_.size()) + page - 1) & ~(page - 1);
  const auto to = reinterpret_cast<uintptr_t>(out_.data() + out_.capacity()) & ~(page - 1);
  // NOLINTNEXTLINE(performance-no-int-to-ptr): a page address, computed from the buffer's own
  if (to > from + (64u << 10)) madvise(reinterpret_cast<void*>(from), to - from, MADV_POPULATE_WRITE);
#endif
}

uint32_t BoxWriter::card(uint16_t id, const std::vector<uint8_t>& body) {
  return card(id, body.data(), body.size());
}

uint32_t BoxWriter::card(uint16_t id, const uint8_t* body, size_t size) {
  const auto at = static_cast<uint32_t>(out_.size());
  appendFixed16(out_, id);
  appendFixed32(out_, static_cast<uint32_t>(size));
  out_.insert(out_.end(), body, body + size);
  cards_.emplace_back(id, at);
  return at;
}

uint32_t BoxWriter::offsetCard() {
  const uint32_t at = card(box::kOffsetCardId, std::vector<uint8_t>(box::kUsualOffsetCardSize, 0));
  offsetCards_.push_back(at);
  return at;
}

uint32_t BoxWriter::raw(const std::vector<uint8_t>& bytes) {
  const auto at = static_cast<uint32_t>(out_.size());
  out_.insert(out_.end(), bytes.begin(), bytes.end());
  return at;
}

uint32_t BoxWriter::terminator() {
  const auto at = static_cast<uint32_t>(out_.size());
  appendFixed16(out_, box::kTerminatorId);
  return at;
}

std::vector<uint8_t> BoxWriter::finish() {
  uint8_t* h = out_.data();
  std::copy(std::begin(box::kSignature), std::end(box::kSignature), h);
  encodeFixed32(h + box::kFirstCardField, firstCard_);
  encodeFixed32(h + box::kItemInfoOffsetField, box::kItemInfoOffset);
  encodeFixed32(h + box::kItemInfoSizeField, firstCard_ - box::kItemInfoOffset);
  encodeFixed32(h + box::kDefaultTableField, box::kDefaultTableOffset);

  // The totals, as the census counts them in a sound box.
  uint32_t garbage = 0;
  uint32_t normal = 0;
  uint16_t maxId = 0;
  // The offset of the first card with each ID; 0 for none, since no card
  // starts at offset 0.
  std::vector<uint32_t> firstOffset(box::kCardIdSpace, 0);
  for (const auto& [id, at] : cards_) {
    if (id == box::kGarbageId) garbage += box::kCardHeadSize + decodeFixed32(h + at + box::kCardSizeField);
    if (box::isNormalId(id)) {
      ++normal;
      maxId = std::max(maxId, id);
    }
    if (firstOffset[id] == 0) firstOffset[id] = at;
  }
  uint32_t leastNull = box::kFirstNormalId;
  while (leastNull <= box::kLastNormalId && firstOffset[leastNull] != 0) ++leastNull;
  encodeFixed32(h + box::kGarbageSizeField, garbage);
  encodeFixed16(h + box::kDataSizeField, static_cast<uint16_t>(normal));
  encodeFixed16(h + box::kLeastNullIdField, static_cast<uint16_t>(leastNull));
  encodeFixed16(h + box::kMaxIdField, maxId);

  // The default run, then one run per offset card, each linking to the next.
  auto entryFor = [&](uint32_t id) -> uint32_t { return box::isNormalId(id) ? firstOffset[id] : 0; };
  for (uint32_t id = 1; id <= box::kDefaultEntryCount; ++id) {
    encodeFixed32(h + box::defaultEntryOffset(id), entryFor(id));
  }
  encodeFixed32(h + box::kDefaultLinkOffset, offsetCards_.empty() ? 0 : offsetCards_[0]);
  for (size_t c = 0; c < offsetCards_.size(); ++c) {
    uint8_t* entries = h + offsetCards_[c] + box::kCardHeadSize;
    const uint32_t firstId =
        box::kFirstOffsetCardId + static_cast<uint32_t>(c) * box::kUsualOffsetCardEntries;
    for (uint32_t j = 0; j < box::kUsualOffsetCardEntries; ++j) {
      encodeFixed32(entries + size_t{box::kOffsetEntrySize} * j, entryFor(firstId + j));
    }
    encodeFixed32(entries + size_t{box::kOffsetEntrySize} * box::kUsualOffsetCardEntries,
                  c + 1 < offsetCards_.size() ? offsetCards_[c + 1] : 0);
  }
  return std::move(out_);
}
