#include "tools/boxgen/box_builder.h"

#include <fcntl.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <map>
#include <stdexcept>

namespace boxtest {

namespace {
constexpr uint32_t kItemInfoAt = 0x848;
constexpr uint32_t kEntriesAt = 116;
constexpr uint32_t kLinkAt = 2116;
constexpr uint32_t kOffsetCardEntries = 128;
}  // namespace

Bytes text(std::string_view s) { return Bytes(s.begin(), s.end()); }

Bytes encodeLength(uint32_t length) {
  if (length < 0x80) return {static_cast<uint8_t>(length)};
  if (length < 0x8000) return {static_cast<uint8_t>(0x80 | (length >> 8)), static_cast<uint8_t>(length)};
  return {static_cast<uint8_t>(0xC0 | ((length >> 24) & 0x3F)), static_cast<uint8_t>(length >> 16),
          static_cast<uint8_t>(length >> 8), static_cast<uint8_t>(length)};
}

Bytes timeValue(unsigned year, unsigned month, unsigned day, unsigned hour, unsigned minute,
                unsigned second) {
  return {static_cast<uint8_t>(second), static_cast<uint8_t>((minute & 0x3F) | ((hour & 3) << 6)),
          static_cast<uint8_t>(((hour >> 2) & 7) | (day << 3)),
          static_cast<uint8_t>((month & 0x0F) | ((year & 0x0F) << 4)), static_cast<uint8_t>(year >> 4)};
}

Bytes normalBody(const std::vector<Bytes>& values) {
  Bytes area;
  Bytes data;
  for (const Bytes& v : values) {
    const Bytes len = encodeLength(static_cast<uint32_t>(v.size()));
    area.insert(area.end(), len.begin(), len.end());
    data.insert(data.end(), v.begin(), v.end());
  }
  Bytes body(4);
  putU16(body, 2, static_cast<uint16_t>(area.size()));
  body.insert(body.end(), area.begin(), area.end());
  body.insert(body.end(), data.begin(), data.end());
  return body;
}

void putU16(Bytes& bytes, size_t at, uint16_t value) {
  if (bytes.size() < at + 2) bytes.resize(at + 2);
  bytes[at] = static_cast<uint8_t>(value);
  bytes[at + 1] = static_cast<uint8_t>(value >> 8);
}

void putU32(Bytes& bytes, size_t at, uint32_t value) {
  if (bytes.size() < at + 4) bytes.resize(at + 4);
  for (int k = 0; k < 4; ++k) bytes[at + k] = static_cast<uint8_t>(value >> (8 * k));
}

uint32_t getU32(const Bytes& bytes, size_t at) {
  return bytes[at] | (bytes[at + 1] << 8) | (bytes[at + 2] << 16) |
         (static_cast<uint32_t>(bytes[at + 3]) << 24);
}

BoxBuilder& BoxBuilder::field(uint8_t dataId, std::string_view tag, std::string_view name,
                              uint8_t attribute) {
  if (rawItemInfo_) throw std::logic_error("field() after rawItemInfo()");
  Bytes record(2);
  putU16(record, 0, static_cast<uint16_t>(6 + name.size()));
  record.push_back(dataId);
  record.push_back(attribute);
  for (size_t k = 0; k < 4; ++k) record.push_back(k < tag.size() ? tag[k] : ' ');
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
  return rawCard(id, normalBody(values));
}

BoxBuilder& BoxBuilder::rawCard(uint16_t id, Bytes body) {
  chain_.push_back({Kind::kCard, id, std::move(body)});
  return *this;
}

BoxBuilder& BoxBuilder::raw(Bytes bytes) {
  chain_.push_back({Kind::kRaw, 0, std::move(bytes)});
  return *this;
}

BoxBuilder& BoxBuilder::garbage(uint32_t bodySize) { return rawCard(0, Bytes(bodySize, 0xA5)); }

BoxBuilder& BoxBuilder::offsetCard() {
  chain_.push_back({Kind::kOffsetCard, 0xFFF0, Bytes(0x204, 0)});
  return *this;
}

BoxBuilder& BoxBuilder::indexCard(const std::vector<IndexEntry>& entries) {
  Bytes body;
  for (const IndexEntry& e : entries) {
    Bytes entry(2);
    putU16(entry, 0, static_cast<uint16_t>(10 + e.name.size() + 1));
    for (size_t k = 0; k < 4; ++k) entry.push_back(k < e.shown.size() ? e.shown[k] : 0);
    entry.insert(entry.end(), 6, 0);
    entry.insert(entry.end(), e.name.begin(), e.name.end());
    entry.push_back(0);
    body.insert(body.end(), entry.begin(), entry.end());
  }
  return rawCard(0xFFF1, std::move(body));
}

BoxBuilder& BoxBuilder::terminator() { return raw({0xFF, 0xFF}); }

BuiltBox BoxBuilder::build() const {
  BuiltBox box;
  Bytes& out = box.bytes;
  out.assign(kItemInfoAt, 0);
  out.insert(out.end(), itemInfo_.begin(), itemInfo_.end());
  box.itemInfoSize = static_cast<uint32_t>(itemInfo_.size());
  box.firstCard = static_cast<uint32_t>(out.size());

  // Lay out the chain.
  std::vector<size_t> offsetCards;
  for (const Element& e : chain_) {
    box.offsets.push_back(static_cast<uint32_t>(out.size()));
    if (e.kind != Kind::kRaw) {
      const size_t at = out.size();
      putU16(out, at, e.id);
      putU32(out, at + 2, static_cast<uint32_t>(e.body.size()));
      if (e.kind == Kind::kOffsetCard) offsetCards.push_back(at);
    }
    out.insert(out.end(), e.body.begin(), e.body.end());
  }

  // Header: signature, positions and the totals a sound census gives.
  out[0] = 0xFF, out[1] = 0x00, out[2] = 0x10, out[3] = 0x31;
  putU32(out, 4, box.firstCard);
  putU32(out, 8, kItemInfoAt);
  putU32(out, 12, box.itemInfoSize);
  putU32(out, 16, 0x48);
  uint32_t garbage = 0;
  uint16_t normal = 0;
  uint16_t maxId = 0;
  std::map<uint16_t, uint32_t> firstOffset;
  for (size_t k = 0; k < chain_.size(); ++k) {
    const Element& e = chain_[k];
    if (e.kind == Kind::kRaw) continue;
    if (e.id == 0) garbage += 6 + static_cast<uint32_t>(e.body.size());
    if (e.id >= 1 && e.id <= 0xFEFF) {
      ++normal;
      maxId = std::max(maxId, e.id);
    }
    firstOffset.emplace(e.id, box.offsets[k]);
  }
  uint16_t leastNull = 1;
  while (leastNull <= 0xFEFF && firstOffset.count(leastNull)) ++leastNull;
  putU32(out, 48, garbage);
  putU16(out, 52, normal);
  putU16(out, 54, leastNull);
  putU16(out, 56, maxId);

  // Offset table: the default run, then one run per offset card.
  auto entryFor = [&](uint32_t id) -> uint32_t {
    const auto found = id <= 0xFEFF ? firstOffset.find(static_cast<uint16_t>(id)) : firstOffset.end();
    return found == firstOffset.end() || id == 0 ? 0 : found->second;
  };
  for (uint32_t j = 0; j < 500; ++j) putU32(out, kEntriesAt + 4 * j, entryFor(1 + j));
  putU32(out, kLinkAt, offsetCards.empty() ? 0 : static_cast<uint32_t>(offsetCards[0]));
  for (size_t c = 0; c < offsetCards.size(); ++c) {
    const size_t at = offsetCards[c] + 6;
    const uint32_t firstId = 501 + static_cast<uint32_t>(c) * kOffsetCardEntries;
    for (uint32_t j = 0; j < kOffsetCardEntries; ++j) putU32(out, at + 4 * j, entryFor(firstId + j));
    const uint32_t link = c + 1 < offsetCards.size() ? static_cast<uint32_t>(offsetCards[c + 1]) : 0;
    putU32(out, at + 4 * kOffsetCardEntries, link);
  }
  return box;
}

TempBox::TempBox(const Bytes& bytes, std::string_view name) {
  char dir[] = "/tmp/vorn-test-XXXXXX";
  if (!mkdtemp(dir)) throw std::runtime_error("mkdtemp failed");
  dir_ = dir;
  path_ = dir_ + "/" + std::string(name);
  FILE* f = std::fopen(path_.c_str(), "wb");
  if (!f) throw std::runtime_error("cannot write " + path_);
  if (!bytes.empty()) std::fwrite(bytes.data(), 1, bytes.size(), f);
  std::fclose(f);
}

TempBox::~TempBox() {
  // Tests may have swapped the file for something else; remove whatever is there.
  const std::string command = "rm -rf '" + dir_ + "'";
  if (std::system(command.c_str()) != 0) std::fprintf(stderr, "could not remove %s\n", dir_.c_str());
}

}  // namespace boxtest
