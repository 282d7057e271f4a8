#include "box_builder.h"

#include <fcntl.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <stdexcept>

#include "box_format.h"
#include "box_writer.h"
#include "coding.h"
#include "output_file.h"

namespace boxtest {

namespace {

// Where a header field lies and how wide it is.
struct FieldPlace {
  uint32_t at;
  bool wide;
};
FieldPlace place(HeaderField field) {
  switch (field) {
    case HeaderField::kFirstCard:
      return {box::kFirstCardField, true};
    case HeaderField::kItemInfoOffset:
      return {box::kItemInfoOffsetField, true};
    case HeaderField::kItemInfoSize:
      return {box::kItemInfoSizeField, true};
    case HeaderField::kDefaultTable:
      return {box::kDefaultTableField, true};
    case HeaderField::kGarbageSize:
      return {box::kGarbageSizeField, true};
    case HeaderField::kDataSize:
      return {box::kDataSizeField, false};
    case HeaderField::kLeastNullId:
      return {box::kLeastNullIdField, false};
    case HeaderField::kMaxId:
      return {box::kMaxIdField, false};
  }
  throw std::logic_error("unknown header field");
}

// File offset of item info record k: behind the count byte and the records
// before it.
size_t itemRecordAt(const Bytes& bytes, size_t k) {
  size_t at = box::kItemInfoOffset + box::kItemCountSize;
  for (size_t r = 0; r < k; ++r) at += box::kItemRecordLengthSize + decodeFixed16(bytes.data() + at);
  return at;
}

}  // namespace

Bytes text(std::string_view s) { return Bytes(s.begin(), s.end()); }

Bytes encodeLength(uint32_t length) {
  Bytes out;
  appendItemLength(out, length);
  return out;
}

Bytes timeValue(unsigned year, unsigned month, unsigned day, unsigned hour, unsigned minute,
                unsigned second) {
  return {static_cast<uint8_t>(second), static_cast<uint8_t>((minute & 0x3F) | ((hour & 3) << 6)),
          static_cast<uint8_t>(((hour >> 2) & 7) | (day << 3)),
          static_cast<uint8_t>((month & 0x0F) | ((year & 0x0F) << 4)), static_cast<uint8_t>(year >> 4)};
}

void putU16(Bytes& bytes, size_t at, uint16_t value) {
  if (bytes.size() < at + 2) bytes.resize(at + 2);
  encodeFixed16(bytes.data() + at, value);
}

void putU32(Bytes& bytes, size_t at, uint32_t value) {
  if (bytes.size() < at + 4) bytes.resize(at + 4);
  encodeFixed32(bytes.data() + at, value);
}

uint32_t getU32(const Bytes& bytes, size_t at) { return decodeFixed32(bytes.data() + at); }

void setHeader(Bytes& bytes, HeaderField field, uint32_t value) {
  const FieldPlace p = place(field);
  if (p.wide) {
    putU32(bytes, p.at, value);
  } else {
    putU16(bytes, p.at, static_cast<uint16_t>(value));
  }
}

uint32_t header(const Bytes& bytes, HeaderField field) {
  const FieldPlace p = place(field);
  return p.wide ? decodeFixed32(bytes.data() + p.at) : decodeFixed16(bytes.data() + p.at);
}

void setSignatureByte(Bytes& bytes, size_t k, uint8_t value) { bytes.at(k) = value; }

void setDefaultEntry(Bytes& bytes, uint32_t id, uint32_t value) {
  putU32(bytes, box::defaultEntryOffset(id), value);
}

uint32_t defaultEntry(const Bytes& bytes, uint32_t id) { return getU32(bytes, box::defaultEntryOffset(id)); }

void setDefaultLink(Bytes& bytes, uint32_t value) { putU32(bytes, box::kDefaultLinkOffset, value); }

void setItemCount(Bytes& bytes, uint8_t count) { bytes.at(box::kItemInfoOffset) = count; }

void setItemRecordLength(Bytes& bytes, size_t k, uint16_t length) {
  putU16(bytes, itemRecordAt(bytes, k), length);
}

void setItemDataId(Bytes& bytes, size_t k, uint8_t dataId) {
  bytes.at(itemRecordAt(bytes, k) + box::kItemRecordLengthSize) = dataId;
}

void zeroItemInfo(Bytes& bytes) {
  const auto from = bytes.begin() + box::kItemInfoOffset;
  std::fill(from, from + header(bytes, HeaderField::kItemInfoSize), 0);
}

void setCardId(Bytes& bytes, uint32_t card, uint16_t id) { putU16(bytes, card, id); }

void setCardSize(Bytes& bytes, uint32_t card, uint32_t size) {
  putU32(bytes, card + box::kCardSizeField, size);
}

uint32_t cardSize(const Bytes& bytes, uint32_t card) { return getU32(bytes, card + box::kCardSizeField); }

void setStatedAreaLength(Bytes& bytes, uint32_t card, uint16_t length) {
  putU16(bytes, card + box::kCardAreaLengthOffset, length);
}

uint32_t itemValueAt(const Bytes& bytes, uint32_t card, size_t k) {
  const uint32_t area = card + box::kCardAreaOffset;
  uint32_t at = area + decodeFixed16(bytes.data() + card + box::kCardAreaLengthOffset);
  uint32_t pos = area;
  for (size_t item = 0; item < k; ++item) {
    uint32_t length = 0;
    uint32_t width = 0;
    if (!decodeItemLength(bytes.data() + pos, bytes.size() - pos, &length, &width)) break;
    pos += width;
    at += length;
  }
  return at;
}

void setOffsetCardEntry(Bytes& bytes, uint32_t card, uint32_t j, uint32_t value) {
  putU32(bytes, card + box::kCardHeadSize + box::kOffsetEntrySize * j, value);
}

void setOffsetCardLink(Bytes& bytes, uint32_t card, uint32_t value) {
  setOffsetCardEntry(bytes, card, box::offsetCardEntryCount(cardSize(bytes, card)), value);
}

void setFirstIndexEntryLength(Bytes& bytes, uint32_t card, uint16_t length) {
  putU16(bytes, card + box::kCardHeadSize, length);
}

bool writeFile(const std::string& path, const Bytes& bytes) {
  const int fd = open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0644);
  if (fd < 0) return false;
  const bool written = writeAll(fd, bytes.data(), bytes.size(), ::write);
  return close(fd) == 0 && written;
}

BoxBuilder& BoxBuilder::field(uint8_t dataId, std::string_view tag, std::string_view name,
                              uint8_t attribute) {
  if (rawItemInfo_) throw std::logic_error("field() after rawItemInfo()");
  Bytes record;
  appendFixed16(record, static_cast<uint16_t>(box::kItemRecordFixedSize + name.size()));
  record.push_back(dataId);
  record.push_back(attribute);
  for (size_t k = 0; k < box::kItemTagSize; ++k) record.push_back(k < tag.size() ? tag[k] : ' ');
  record.insert(record.end(), name.begin(), name.end());
  itemInfo_[0] = static_cast<uint8_t>(itemInfo_[0] + 1);
  itemInfo_.insert(itemInfo_.end(), record.begin(), record.end());
  return *this;
}

BoxBuilder& BoxBuilder::rawItemInfo(Bytes itemInfo) {
  itemInfo_ = std::move(itemInfo);
  rawItemInfo_ = true;
  return *this;
}

BoxBuilder& BoxBuilder::card(uint16_t id, const std::vector<Bytes>& values) {
  return rawCard(id, normalCardBody(values));
}

BoxBuilder& BoxBuilder::rawCard(uint16_t id, Bytes body) {
  chain_.push_back({Kind::kCard, id, std::move(body)});
  return *this;
}

BoxBuilder& BoxBuilder::raw(Bytes bytes) {
  chain_.push_back({Kind::kRaw, 0, std::move(bytes)});
  return *this;
}

BoxBuilder& BoxBuilder::garbage(uint32_t bodySize) { return rawCard(box::kGarbageId, Bytes(bodySize, 0xA5)); }

BoxBuilder& BoxBuilder::offsetCard() {
  chain_.push_back({Kind::kOffsetCard, box::kOffsetCardId, {}});
  return *this;
}

BoxBuilder& BoxBuilder::indexCard(const std::vector<IndexEntry>& entries) {
  // Each entry: its length, four bytes shown, six not shown, the name and its NUL.
  Bytes body;
  for (const IndexEntry& e : entries) {
    appendFixed16(body, static_cast<uint16_t>(box::kIndexEntryFixedSize + e.name.size() + 1));
    for (size_t k = 0; k < box::kIndexEntryShownSize; ++k)
      body.push_back(k < e.shown.size() ? e.shown[k] : 0);
    body.insert(body.end(), box::kIndexEntryHiddenSize, 0);
    body.insert(body.end(), e.name.begin(), e.name.end());
    body.push_back(0);
  }
  return rawCard(box::kIndexCardId, std::move(body));
}

BoxBuilder& BoxBuilder::terminator() {
  Bytes bytes;
  appendFixed16(bytes, box::kTerminatorId);
  return raw(std::move(bytes));
}

BuiltBox BoxBuilder::build() const {
  BuiltBox box;
  BoxWriter writer(itemInfo_);
  for (const Element& e : chain_) {
    switch (e.kind) {
      case Kind::kCard:
        box.offsets.push_back(writer.card(e.id, e.body));
        break;
      case Kind::kOffsetCard:
        box.offsets.push_back(writer.offsetCard());
        break;
      case Kind::kRaw:
        box.offsets.push_back(writer.raw(e.body));
        break;
    }
  }
  box.firstCard = writer.firstCard();
  box.itemInfoSize = static_cast<uint32_t>(itemInfo_.size());
  box.bytes = writer.finish();
  return box;
}

TempBox::TempBox(const Bytes& bytes, std::string_view name) {
  char dir[] = "/tmp/vorn-test-XXXXXX";
  if (!mkdtemp(dir)) throw std::runtime_error("mkdtemp failed");
  dir_ = dir;
  path_ = dir_ + "/" + std::string(name);
  if (!writeFile(path_, bytes)) throw std::runtime_error("cannot write " + path_);
}

TempBox::~TempBox() {
  // Tests may have swapped the file for something else; remove whatever is there.
  const std::string command = "rm -rf '" + dir_ + "'";
  if (std::system(command.c_str()) != 0) std::fprintf(stderr, "could not remove %s\n", dir_.c_str());
}

}  // namespace boxtest
