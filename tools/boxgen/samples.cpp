#include "samples.h"

#include "address_book.h"

namespace boxtest {

namespace {

// A sound address book of `cards` IDs; every 50th ID deleted (a garbage
// card where it stood), offset cards as the IDs need them.
BuiltBox addressBook(unsigned cards) {
  BoxBuilder b = addressFields();
  for (unsigned id = 1; id <= cards; ++id) {
    if (id % 50 == 0) {
      b.garbage(40);
      continue;
    }
    b.card(static_cast<uint16_t>(id), addressValues(id));
    if (id == 480 || id == 620) b.offsetCard();
  }
  b.indexCard({{"NAME", "kqadrs_name.idx"}, {"KANA", "kqadrs_kana.idx"}});
  b.terminator();
  return b.build();
}

}  // namespace

std::vector<Sample> samples() {
  std::vector<Sample> samples;
  // Sound: nothing to report but listings and summaries.
  const BuiltBox sound = addressBook(700);
  samples.push_back({"KQADRS.BOX", sound.bytes});

  // Header damage: a wrong signature byte, an unusual table position (the
  // table is still read at its fixed place) and stale totals.
  {
    Bytes b = sound.bytes;
    setSignatureByte(b, 3, 0x30);
    setHeader(b, HeaderField::kDefaultTable, 0x50);
    setHeader(b, HeaderField::kGarbageSize, 0);
    setHeader(b, HeaderField::kDataSize, 702);
    setHeader(b, HeaderField::kLeastNullId, 0x33);
    samples.push_back({"BADHEAD.BOX", b});
  }

  // Item info damage: an unknown data ID and a table longer than declared.
  {
    Bytes b = sound.bytes;
    setItemDataId(b, 0, 19);
    setHeader(b, HeaderField::kItemInfoSize, sound.itemInfoSize - 8);
    samples.push_back({"BADITEMS.BOX", b});
  }

  // Card damage, each on a fresh copy of the address book.  Card k of the
  // chain stands at sound.offsets[k].
  const auto& at = sound.offsets;

  // A deleted card that claims 20 bytes more than it has (deleted cards
  // are not checked): the trace finds the card behind it, shortens it and
  // goes on.  Chain element 49 is the first deleted card.
  {
    Bytes b = sound.bytes;
    setCardSize(b, at[49], cardSize(b, at[49]) + 20);
    samples.push_back({"SALVAGE.BOX", b});
  }

  // A card whose stated item length area is wrong: salvaged as garbage.
  {
    Bytes b = sound.bytes;
    setStatedAreaLength(b, at[20], 3);
    samples.push_back({"GARBAGE.BOX", b});
  }

  // Values: an impossible date and a weekday 7 in card 5.
  {
    BoxBuilder book = addressFields();
    for (unsigned id = 1; id <= 30; ++id) {
      std::vector<Bytes> values = addressValues(id);
      if (id == 5) {
        values[8] = timeValue(250, 1, 1, 0, 0, 0);  // 2050: beyond a 32-bit time_t
        values[6] = Bytes{7};
      }
      book.card(static_cast<uint16_t>(id), values);
    }
    book.indexCard({{"NAME", "kqadrs_name.idx"}}).terminator();
    samples.push_back({"VALUES.BOX", book.build().bytes});
  }

  // The end of the file cut off: the last cards and the terminator are gone.
  {
    Bytes b = sound.bytes;
    b.resize(b.size() - 150);
    samples.push_back({"TRUNC.BOX", b});
  }

  // Duplicate IDs and offset entries that point at the wrong card.
  {
    BoxBuilder book = addressFields();
    for (unsigned id = 1; id <= 40; ++id) {
      book.card(static_cast<uint16_t>(id), addressValues(id));
      if (id == 7 || id == 8) book.card(3, addressValues(3));
    }
    book.indexCard({{"NAME", "kqadrs_name.idx"}}).terminator();
    Bytes b = book.build().bytes;
    setDefaultEntry(b, 10, defaultEntry(b, 11));  // ID 10's entry holds ID 11's offset
    setDefaultEntry(b, 12, 0);                    // ID 12 has no entry
    setDefaultEntry(b, 45, 0x900);                // ID 45 does not exist
    samples.push_back({"DUPLICATE.BOX", b});
  }
  return samples;
}

}  // namespace boxtest
