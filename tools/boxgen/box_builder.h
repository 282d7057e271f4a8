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

namespace boxtest {

using Bytes = std::vector<uint8_t>;

Bytes text(std::string_view s);
// An encoded item length: 1, 2 or 4 bytes, big-endian.
Bytes encodeLength(uint32_t length);
// A TIME value from its raw fields (year as years since 1900, month 0-based
// as the C library counts it).
Bytes timeValue(unsigned year, unsigned month, unsigned day, unsigned hour, unsigned minute, unsigned second);
// The body of a normal card: the unexamined word, the stated area length,
// the encoded lengths and the values.
Bytes normalBody(const std::vector<Bytes>& values);

void putU16(Bytes& bytes, size_t at, uint16_t value);
void putU32(Bytes& bytes, size_t at, uint32_t value);
uint32_t getU32(const Bytes& bytes, size_t at);

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
