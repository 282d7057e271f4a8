// The card list's indexed look-ups and the census give what the plain list
// searches give, on files where list order matters.
#include <gtest/gtest.h>

#include <map>
#include <set>

#include "address_book.h"
#include "box_analysis.h"
#include "box_builder.h"
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
