// Realistic address book content for generated boxes: ten fields of the
// handheld's address book (texts, a birthday, flags, a weekday, a category,
// an update time, a unique ID) and deterministic values for any card ID.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdio>
#include <string>
#include <vector>

#include "box_builder.h"

namespace boxtest {

inline const char* const kGiven[] = {"Akira",   "Emi",     "Hiroshi", "Kaori", "Kenji", "Mika", "Naoki",
                                     "Sachiko", "Takeshi", "Yuko",    "Jun",   "Rie",   "Shin", "Aya"};
inline const char* const kFamily[] = {"Sato",     "Suzuki",   "Takahashi", "Tanaka", "Watanabe", "Ito",
                                      "Yamamoto", "Nakamura", "Kobayashi", "Kato",   "Yoshida"};

// The address book's fields: texts, a birthday, flags, a weekday and an ID.
inline BoxBuilder addressFields() {
  BoxBuilder b;
  b.field(1, "NAME", "Name")
      .field(1, "KANA", "Reading")
      .field(2, "TEL1", "Phone")
      .field(3, "MAIL", "E-mail")
      .field(4, "BDAY", "Birthday")
      .field(6, "FLAG", "Flags", 1)
      .field(7, "WDAY", "Meeting day")
      .field(8, "CATG", "Category")
      .field(4, "UPDT", "Updated", 2)
      .field(18, "UID ", "Unique ID");
  return b;
}

inline std::vector<Bytes> addressValues(unsigned id) {
  const std::string given = kGiven[id % 14];
  const std::string family = kFamily[(id * 7) % 11];
  const std::string name = family + " " + given;
  char phone[32];
  std::snprintf(phone, sizeof phone, "03-%04u-%04u", (id * 37) % 10000, (id * 91) % 10000);
  std::string mail = given + "." + family + "@example.jp";
  for (char& c : mail) c = static_cast<char>(c >= 'A' && c <= 'Z' ? c - 'A' + 'a' : c);
  Bytes uid(4);
  putU32(uid, 0, 0x10000 + id);
  return {text(name),
          text(family),
          id % 5 == 0 ? Bytes{} : text(phone),
          text(mail),
          id % 3 == 0 ? Bytes{} : timeValue(60 + id % 40, id % 12, 1 + id % 28, 0, 0, 0),
          Bytes{static_cast<uint8_t>(id & 0x0F)},
          Bytes{static_cast<uint8_t>(id % 7)},
          Bytes{static_cast<uint8_t>(id % 4), 0},
          timeValue(103, (id / 30) % 12, 1 + id % 28, id % 24, id % 60, id % 60),
          uid};
}

// A large address book: see make_bigbox.
// With memoBytes, every card's e-mail value (any length) carries that many
// bytes of memo text behind the address, as a mail box's cards would.
inline BuiltBox bigAddressBook(unsigned cards, bool damage, unsigned memoBytes = 0) {
  BoxBuilder b = addressFields();
  const Bytes memo = text(std::string(memoBytes, '.'));
  for (unsigned id = 1; id <= cards; ++id) {
    std::vector<Bytes> values = addressValues(id);
    values[3].insert(values[3].end(), memo.begin(), memo.end());
    b.card(static_cast<uint16_t>(id), values);
    if (id % 97 == 0) b.garbage(24 + id % 40);
    // One offset card for every 128 IDs past the default table's 500.
    if (id > 500 && (id - 500) % 128 == 0) b.offsetCard();
  }
  if (cards > 500 && (cards - 500) % 128 != 0) b.offsetCard();
  if (damage) {
    for (unsigned id = 1000; id <= cards; id += 1000) b.card(static_cast<uint16_t>(id), addressValues(id));
  }
  b.indexCard({{"NAME", "kqadrs_name.idx"}, {"KANA", "kqadrs_kana.idx"}}).terminator();
  BuiltBox box = b.build();
  if (damage) {
    // Entry id holds the offset of card id + 1.
    for (unsigned id = 50; id + 1 <= 500 && id + 1 <= cards; id += 50) {
      setDefaultEntry(box.bytes, id, defaultEntry(box.bytes, id + 1));
    }
  }
  return box;
}

// Ways a large box gets damaged, for benchmarks of damaged boxes.
enum class Wreck {
  kRandom,     // its middle half overwritten with random bytes
  kZeros,      // eight stretches of 64 KiB zeroed, spread through it
  kSizeEarly,  // the size of its tenth card one too large
  kJunkTail,   // a quarter of its size in random bytes behind the terminator
};

// Damages box as kind says, the same way every time.
inline void wreck(BuiltBox& box, Wreck kind) {
  Bytes& b = box.bytes;
  uint64_t state = 0x9E3779B97F4A7C15u;
  const auto next = [&state] {
    state ^= state << 13;
    state ^= state >> 7;
    state ^= state << 17;
    return static_cast<uint8_t>(state);
  };
  const size_t n = b.size();
  switch (kind) {
    case Wreck::kRandom:
      for (size_t k = n / 4; k < 3 * n / 4; ++k) b[k] = next();
      break;
    case Wreck::kZeros:
      for (size_t k = 1; k <= 8; ++k) {
        const size_t at = n * k / 9;
        std::fill(b.begin() + static_cast<std::ptrdiff_t>(at),
                  b.begin() + static_cast<std::ptrdiff_t>(std::min(n, at + (size_t{64} << 10))), 0);
      }
      break;
    case Wreck::kSizeEarly:
      putU32(b, box.offsets[10] + 2, getU32(b, box.offsets[10] + 2) + 1);
      break;
    case Wreck::kJunkTail:
      for (size_t k = 0; k < n / 4; ++k) b.push_back(next());
      break;
  }
}

}  // namespace boxtest
