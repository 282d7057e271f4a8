// The card list's indexed look-ups and the census give what the plain list
// searches give, on files where list order matters.
#include <gtest/gtest.h>

#include <map>
#include <random>
#include <set>

#include "address_book.h"
#include "box_analysis.h"
#include "box_builder.h"
#include "card_list.h"
#include "findings.h"
#include "report_scope.h"
#include "reporter.h"

using namespace boxtest;

namespace {

struct CountingSink : SilentReporter {
  void entry(int32_t index, uint32_t, uint32_t, uint32_t, uint32_t code, const char* text, const char*,
             va_list) override {
    if (code == 0x20000004 && std::string(text) == "Duplicate card ID") duplicateAt.insert(index);
  }
  std::set<int32_t> duplicateAt;
};

// The plain definitions: the first record in list order, found by one
// forward pass over the list.
std::map<uint32_t, int32_t> firstInListOrder(const cardChain& c, bool byId) {
  std::map<uint32_t, int32_t> first;
  for (size_t i = 0; i < c.cards.size(); ++i)
    first.emplace(byId ? c.cards[i].id : c.cards[i].offset, static_cast<int32_t>(i));
  return first;
}
int32_t lookUp(const std::map<uint32_t, int32_t>& first, uint32_t key) {
  const auto found = first.find(key);
  return found == first.end() ? -1 : found->second;
}
bool isError(const CardRecord& r) { return r.level & 0xC0000000; }
// Normal cards whose ID occurs again later in the list (any class).
std::set<int32_t> plainDuplicates(const cardChain& c) {
  std::set<int32_t> found;
  std::set<uint16_t> seenLater;
  for (size_t i = c.cards.size(); i-- > 0;) {
    const CardRecord& r = c.cards[i];
    if (!isError(r) && r.id != 0 && r.id <= 0xFEFF && seenLater.count(r.id))
      found.insert(static_cast<int32_t>(i));
    seenLater.insert(r.id);
  }
  return found;
}
uint16_t plainLeastNull(const cardChain& c) {
  uint32_t value = 1;
  for (bool raised = true; raised;) {
    raised = false;
    for (const CardRecord& r : c.cards) {
      if (r.id >= 1 && r.id <= 0xFEFF && !(r.level & 0x80000000) && r.id == value) {
        ++value;
        raised = true;
      }
    }
  }
  return static_cast<uint16_t>(value);
}

// Checks every look-up against the plain search; true when the list has a
// record that does not stand behind the one before it.
bool expectIndexesAgree(const Bytes& bytes) {
  BoxAnalysis analysis(ByteView(bytes.data(), static_cast<uint32_t>(bytes.size())));
  CountingSink sink;
  {
    ReportScope scope(&sink, {});
    analysis.run();
  }
  const cardChain& c = *analysis.chain;

  bool backwards = false;
  for (size_t i = 1; i < c.cards.size(); ++i) backwards |= c.cards[i].offset <= c.cards[i - 1].offset;

  const auto byId = firstInListOrder(c, true);
  const auto byOffset = firstInListOrder(c, false);
  for (uint32_t id = 0; id <= 0xFFFF; ++id) {
    EXPECT_EQ(c.findById(static_cast<uint16_t>(id)), lookUp(byId, id)) << id;
  }
  for (uint32_t offset = 0; offset <= bytes.size(); ++offset) {
    EXPECT_EQ(c.findByOffset(offset), lookUp(byOffset, offset)) << offset;
  }
  for (size_t i = 0; i < c.cards.size(); ++i) {
    EXPECT_EQ(c.isFirstAtOffset(static_cast<int32_t>(i)),
              lookUp(byOffset, c.cards[i].offset) == static_cast<int32_t>(i));
  }
  EXPECT_EQ(sink.duplicateAt, plainDuplicates(c));
  EXPECT_EQ(c.duplicates, plainDuplicates(c).size());
  EXPECT_EQ(c.leastNullId, plainLeastNull(c));
  return backwards;
}

TEST(IndexedLookups, AgreeWithListSearchesOnDuplicatesAndDescendingIds) {
  // Long enough for the ID tables: IDs descending (least null needs many
  // passes), duplicates of all classes in both orders, a card that fails.
  BoxBuilder b = addressFields();
  for (unsigned id = 5000; id >= 1; --id) b.card(static_cast<uint16_t>(id), addressValues(id));
  b.card(7, addressValues(7)).card(7, addressValues(8)).garbage(10).card(300, addressValues(300));
  BuiltBox box = b.terminator().build();
  setStatedAreaLength(box.bytes, box.offsets[4500], 1);  // card 500 fails: an error card, salvaged
  expectIndexesAgree(box.bytes);
}

TEST(IndexedLookups, AgreeWhenASalvageReadsARecordAgainAtTheSameOffset) {
  // A short list (searched in ID order): a card whose stated item length
  // area is wrong is salvaged as garbage at its own offset and read again
  // there, two records at one offset; IDs repeat.
  BuiltBox box = BoxBuilder()
                     .field(1, "NAME", "Name")
                     .card(1, {text("Ann")})
                     .card(2, {text("Bob")})
                     .card(3, {text("Cy")})
                     .card(1, {text("Di")})
                     .card(2, {text("Ed")})
                     .terminator()
                     .build();
  setStatedAreaLength(box.bytes, box.offsets[1], 0);
  EXPECT_TRUE(expectIndexesAgree(box.bytes));
}

TEST(IndexedLookups, AgreeOnZeroStretchesReadAsEmptyDeletedCards) {
  // Zeros between cards, behind a garbage card and up to the end of the
  // file, and a card salvaged and read again at its own offset.
  BuiltBox box = BoxBuilder()
                     .field(1, "NAME", "Name")
                     .card(1, {text("Ann")})
                     .card(2, {text("Bob")})
                     .raw(Bytes(60, 0))
                     .card(3, {text("Cy")})
                     .garbage(3)
                     .raw(Bytes(13, 0))
                     .card(1, {text("Di")})
                     .raw(Bytes(600, 0))
                     .card(2, {text("Ed")})
                     .raw(Bytes(36, 0))
                     .build();
  setStatedAreaLength(box.bytes, box.offsets[1], 0);
  EXPECT_TRUE(expectIndexesAgree(box.bytes)) << "a record read again at its own offset";
}

// The run-length card list reads, card for card, as a plain list put
// through the same appends and changes.
TEST(CardListRuns, ReadAsThePlainList) {
  std::mt19937 random(2026);
  for (int trial = 0; trial < 200; ++trial) {
    CardList list;
    std::vector<CardRecord> plain;
    uint32_t offset = 100;
    for (int step = 0; step < 60; ++step) {
      const unsigned what = random() % 10;
      if (what < 6 || plain.empty()) {  // append: mostly empty deleted cards back to back
        CardRecord r;
        r.offset = offset;
        if (what >= 3) r.id = static_cast<uint16_t>(random() % 3), r.size = random() % 3;
        offset += 6 + r.size + (random() % 8 == 0 ? 6 : 0);
        list.slot(plain.size()) = r;
        plain.push_back(r);
      } else {  // change a card anywhere, mostly the last ones
        const size_t i = what < 8 ? plain.size() - 1 - random() % std::min<size_t>(plain.size(), 2)
                                  : random() % plain.size();
        const uint32_t code = what == 9 ? 0u : 0x40000000u;
        list.edit(i).level |= code;
        plain[i].level |= code;
      }
    }
    ASSERT_EQ(list.size(), plain.size());
    size_t i = 0;
    for (const CardRecord& card : list) {
      EXPECT_EQ(card.offset, plain[i].offset) << trial << " card " << i;
      EXPECT_EQ(card.id, plain[i].id);
      EXPECT_EQ(card.size, plain[i].size);
      EXPECT_EQ(card.level, plain[i].level);
      EXPECT_EQ(list[i].offset, plain[i].offset);
      EXPECT_EQ(list.indexAtOffset(plain[i].offset), static_cast<int32_t>(i));
      EXPECT_EQ(list.indexAtOffset(plain[i].offset + 1), -1);
      ++i;
    }
    size_t counted = 0;
    list.forEachStored([&](const CardList::Stored& s) {
      EXPECT_EQ(s.first, counted);
      for (size_t k = 0; k < s.count; ++k) EXPECT_EQ(s.record.offset + 6 * k, plain[s.first + k].offset);
      counted += s.count;
    });
    EXPECT_EQ(counted, plain.size());
  }
}

TEST(Census, EveryNormalIdHeldLeavesTheFirstSystemIdAsLeastNull) {
  const Bytes bytes = bigAddressBook(0xFEFF, false).bytes;
  BoxAnalysis analysis(ByteView(bytes.data(), static_cast<uint32_t>(bytes.size())));
  CountingSink sink;
  ReportScope scope(&sink, {});
  analysis.run();
  EXPECT_EQ(analysis.chain->leastNullId, 0xFF00);
  EXPECT_EQ(analysis.chain->maxId, 0xFEFF);
}

}  // namespace
