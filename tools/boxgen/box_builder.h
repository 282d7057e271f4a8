// Composes box files from parts, so that a test states its file in a few
// readable lines:
//
//   BuiltBox box = BoxBuilder()
//                      .field(1, "NAME", "Name")
//                      .field(4, "BDAY", "Birthday")
//                      .card(1, {text("Alice"), timeValue(103, 4, 12, 9, 30, 0)})
//                      .indexCard({{"KEY1", "name"}})
//                      .terminator()
//                      .build();
//
// build() lays the file out as a sound box: header positions and totals,
// the default offset table and the offset cards all agree with the cards.
// Damage is then made by changing single bytes of the result.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "box_writer.h"

namespace boxtest {

using Bytes = std::vector<uint8_t>;

Bytes text(std::string_view s);
// An encoded item length: 1, 2 or 4 bytes, big-endian.
Bytes encodeLength(uint32_t length);
// A TIME value from its raw fields (year as years since 1900, month 0-based
// as the C library counts it).
Bytes timeValue(unsigned year, unsigned month, unsigned day, unsigned hour, unsigned minute, unsigned second);

void putU16(Bytes& bytes, size_t at, uint16_t value);
void putU32(Bytes& bytes, size_t at, uint32_t value);
uint32_t getU32(const Bytes& bytes, size_t at);

// Named edits of a built box, so that a change says what it changes.
enum class HeaderField {
  kFirstCard,
  kItemInfoOffset,
  kItemInfoSize,
  kDefaultTable,
  kGarbageSize,
  kDataSize,     // 16 bits
  kLeastNullId,  // 16 bits
  kMaxId,        // 16 bits
};
void setHeader(Bytes& bytes, HeaderField field, uint32_t value);  // 16-bit fields take the low half
uint32_t header(const Bytes& bytes, HeaderField field);
void setSignatureByte(Bytes& bytes, size_t k, uint8_t value);

// The default offset table's entry for a card ID (1..500), and its link.
void setDefaultEntry(Bytes& bytes, uint32_t id, uint32_t value);
uint32_t defaultEntry(const Bytes& bytes, uint32_t id);
void setDefaultLink(Bytes& bytes, uint32_t value);

// The item info at its sound place: the count byte, and record k's length
// field and data ID (the records before it are walked by their lengths).
void setItemCount(Bytes& bytes, uint8_t count);
void setItemRecordLength(Bytes& bytes, size_t k, uint16_t length);
void setItemDataId(Bytes& bytes, size_t k, uint8_t dataId);
// Zeroes the whole item info, as the header declares its size.
void zeroItemInfo(Bytes& bytes);

// A card, by the file offset where it starts (BuiltBox::offsets).
void setCardId(Bytes& bytes, uint32_t card, uint16_t id);
void setCardSize(Bytes& bytes, uint32_t card, uint32_t size);
uint32_t cardSize(const Bytes& bytes, uint32_t card);
// A normal card's stated length of its item length area.
void setStatedAreaLength(Bytes& bytes, uint32_t card, uint16_t length);
// The file offset of a normal card's value k, by its item lengths.
uint32_t itemValueAt(const Bytes& bytes, uint32_t card, size_t k);
// An offset card's entry j and link (the link behind the entries its size holds).
void setOffsetCardEntry(Bytes& bytes, uint32_t card, uint32_t j, uint32_t value);
void setOffsetCardLink(Bytes& bytes, uint32_t card, uint32_t value);
// The length field of a reference index card's first entry.
void setFirstIndexEntryLength(Bytes& bytes, uint32_t card, uint16_t length);

// Writes bytes as the file at path, replacing it; false on any failure.
bool writeFile(const std::string& path, const Bytes& bytes);

struct IndexEntry {
  std::string shown;  // the four bytes listed in hex
  std::string name;
};

struct BuiltBox {
  Bytes bytes;
  std::vector<uint32_t> offsets;  // file offset of every chain element, in order
  uint32_t itemInfoSize = 0;
  uint32_t firstCard = 0;
};

class BoxBuilder {
 public:
  BoxBuilder& field(uint8_t dataId, std::string_view tag, std::string_view name, uint8_t attribute = 0);
  // Replaces the whole item info (count byte included).
  BoxBuilder& rawItemInfo(Bytes itemInfo);

  // A normal (or any) card with its values encoded behind its item lengths.
  BoxBuilder& card(uint16_t id, const std::vector<Bytes>& values);
  // A card with the given body; the head's size is the body's length.
  BoxBuilder& rawCard(uint16_t id, Bytes body);
  // Bytes in the chain with no head of their own.
  BoxBuilder& raw(Bytes bytes);
  BoxBuilder& garbage(uint32_t bodySize);
  // An offset card of the usual size; build() fills the entries of the IDs
  // it covers (501 on, 128 a card) and links the cards in chain order.
  BoxBuilder& offsetCard();
  BoxBuilder& indexCard(const std::vector<IndexEntry>& entries);
  BoxBuilder& terminator();

  BuiltBox build() const;

 private:
  enum class Kind { kCard, kRaw, kOffsetCard };
  struct Element {
    Kind kind;
    uint16_t id;
    Bytes body;
  };
  Bytes itemInfo_{0};
  bool rawItemInfo_ = false;
  std::vector<Element> chain_;
};

// A file holding bytes in a fresh temporary directory, removed with it.
class TempBox {
 public:
  explicit TempBox(const Bytes& bytes, std::string_view name = "TEST.BOX");
  ~TempBox();
  TempBox(const TempBox&) = delete;
  TempBox& operator=(const TempBox&) = delete;
  const std::string& path() const { return path_; }
  const std::string& dir() const { return dir_; }

 private:
  std::string dir_;
  std::string path_;
};

}  // namespace boxtest
