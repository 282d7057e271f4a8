// Whole-section runs of vorn over built boxes: the card census with the
// header totals it feeds, and the walk and check of the offset table.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "box_builder.h"
#include "euc.h"
#include "output.h"

using namespace boxtest;

namespace {

using Lines = std::vector<std::string>;

const std::string kTotals = " --   -1: 0x000064: 0xffffffff, 0x000048";
const std::string kTable = " --   -3: 0x000000: 0xfffffffd, 0x000000";

Lines census(const Lines& all) { return section(all, euc("カードの数:   通常:"), " --   -4: 0x000064"); }
Lines totals(const Lines& all) { return section(all, kTotals, euc("カードの数: ")); }
Lines offsetTable(const Lines& all) { return section(all, kTable); }

// A normal card that breaks the size rule by one trailing byte.
Bytes sizeRuleBroken(const std::string& value) {
  Bytes body = normalBody({text(value)});
  body.push_back(0);
  return body;
}

TEST(Census, ClassCountsAndHeaderTotals) {
  // Deleted card, failed card with ID 2 (an error card of 3 bytes after the
  // salvage), normal card 1, a system card, an offset card, the index card
  // and the terminator (2 bytes).
  BuiltBox box = BoxBuilder()
                     .field(1, "NAME", "Name")
                     .rawCard(0, steeringBody())
                     .rawCard(2, sizeRuleBroken("Bob"))
                     .raw({0xEE, 0xEE, 0xEE})
                     .card(1, {text("Alice")})
                     .rawCard(0xFF10, {1, 2, 3, 4})
                     .offsetCard()
                     .indexCard({{"ABCD", "name"}})
                     .terminator()
                     .build();
  steer(box, 0, 3);
  const Lines out = analyse(box.bytes);
  // The error card does not raise the maximum, but its ID still fills a
  // place for the least null ID.
  EXPECT_EQ(census(out), (Lines{euc("カードの数:   通常:     1, システム:     4, ゴミ:     1, エラー:     1"),
                                euc("カードサイズ: 通常:    16, システム:   557, ゴミ:    16, エラー:     9"),
                                euc("MAXカードID == 0x0001"), euc("先頭無効ID == 0x0003"),
                                " --   -4: 0x000064: 0xfffffffc, 0x000010"}));
  // The header counted the failed card as a normal one.
  EXPECT_EQ(totals(out),
            (Lines{kTotals, kTotals, "    8000004 Total garbage size  0010h byte.", kTotals,
                   "    8000005 Total data size  0002h byte.", kTotals,
                   "    40000200 Total data size is wrong (2 => 1).", kTotals,
                   "    8000006 Least null card ID     3h.", kTotals, "    8000007 Maximum card ID     2h.",
                   kTotals, "    40000800 Maximum card ID is wrong (2 => 1).",
                   euc("カードの数:      2, ゴミサイズ:    16, MAXカードID == 0x0002")}));
}

TEST(Census, DuplicateIds) {
  // Three cards 7: two findings.  Error card 9 before normal card 9: none.
  // Normal card 5 before error card 5: one.
  BuiltBox box = BoxBuilder()
                     .field(1, "NAME", "Name")
                     .card(7, {text("A")})
                     .card(7, {text("B")})
                     .card(7, {text("C")})
                     .rawCard(0, steeringBody())
                     .rawCard(9, sizeRuleBroken("D"))
                     .card(9, {text("E")})
                     .card(5, {text("F")})
                     .rawCard(0, steeringBody())
                     .rawCard(5, sizeRuleBroken("G"))
                     .card(6, {text("H")})
                     .indexCard({{"ABCD", "name"}})
                     .terminator()
                     .build();
  steer(box, 3, 5);
  steer(box, 7, 9);
  EXPECT_EQ(section(analyse(box.bytes), "trace end at", " --   -4: 0x000064"),
            (Lines{"trace end at 0x0008f0 limit = 0x0008f0", " --    0: 0xffffffff: 0x0007, 0x000006",
                   "    20000004 Duplicate card ID 0007", " --    1: 0xffffffff: 0x0007, 0x000006",
                   "    20000004 Duplicate card ID 0007", " --    6: 0xffffffff: 0x0005, 0x000006",
                   "    20000004 Duplicate card ID 0005",
                   euc("カードの数:   通常:     6, システム:     2, ゴミ:     2, エラー:     2"),
                   euc("カードサイズ: 通常:    72, システム:    25, ゴミ:    32, エラー:    12"),
                   euc("MAXカードID == 0x0009"), euc("先頭無効ID == 0x0001"),
                   " --   -4: 0x000064: 0xfffffffc, 0x000048"}));
}

TEST(Census, MaximumAndLeastNullIdsInAnyOrder) {
  struct Case {
    std::vector<uint16_t> ids;
    bool indexCard;
    Lines expected;
  };
  const Lines oneToThree = {euc("カードの数:   通常:     3, システム:     2, ゴミ:     0, エラー:     0"),
                            euc("カードサイズ: 通常:    36, システム:    25, ゴミ:     0, エラー:     0"),
                            euc("MAXカードID == 0x0003"), euc("先頭無効ID == 0x0004"),
                            " --   -4: 0x000064: 0xfffffffc, 0x000024"};
  const Case cases[] = {
      {{1, 2, 3}, true, oneToThree},
      {{3, 2, 1}, true, oneToThree},
      // Without a reference index card; the finding keeps the terminator's position.
      {{1, 3},
       false,
       {euc("カードの数:   通常:     2, システム:     1, ゴミ:     0, エラー:     0"),
        euc("カードサイズ: 通常:    24, システム:     2, ゴミ:     0, エラー:     0"),
        euc("MAXカードID == 0x0003"), euc("先頭無効ID == 0x0002"), " --   -4: 0x00086d: 0xffff, 0x000000",
        "    20000004 Reference index card not found.", " --   -4: 0x000064: 0xfffffffc, 0x000018"}},
  };
  for (const Case& c : cases) {
    BoxBuilder builder;
    builder.field(1, "NAME", "Name");
    for (uint16_t id : c.ids) builder.card(id, {text("x")});
    if (c.indexCard) builder.indexCard({{"ABCD", "name"}});
    builder.terminator();
    EXPECT_EQ(census(analyse(builder.build().bytes)), c.expected) << c.ids.front();
  }
}

TEST(Census, AllFourHeaderTotalsWrong) {
  BoxBuilder builder;
  builder.field(1, "NAME", "Name");
  for (uint16_t id = 1; id <= 300; ++id) builder.card(id, {text("")});
  Bytes b = builder.terminator().build().bytes;
  setHeader(b, HeaderField::kGarbageSize, 5);
  setHeader(b, HeaderField::kDataSize, 0x0102);
  setHeader(b, HeaderField::kLeastNullId, 0x10);
  setHeader(b, HeaderField::kMaxId, 0x200);
  EXPECT_EQ(totals(analyse(b)), (Lines{kTotals, kTotals, "    8000004 Total garbage size  0005h byte.",
                                       kTotals, "    40000100 Total garbage size is wrong (5 => 0).", kTotals,
                                       "    8000005 Total data size  0102h byte.", kTotals,
                                       "    40000200 Total data size is wrong (258 => 300).", kTotals,
                                       "    8000006 Least null card ID    10h.", kTotals,
                                       "    40000400 Least null card ID is wrong (16 => 301).", kTotals,
                                       "    8000007 Maximum card ID   200h.", kTotals,
                                       "    40000800 Maximum card ID is wrong (512 => 300).",
                                       euc("カードの数:    258, ゴミサイズ:     5, MAXカードID == 0x0200")}));
}

TEST(OffsetTable, EntriesAndALinkToANormalCard) {
  BuiltBox box = BoxBuilder()
                     .field(1, "NAME", "Name")
                     .card(1, {text("A")})
                     .card(2, {text("B")})
                     .card(3, {text("C")})
                     .card(5, {text("D")})
                     .card(5, {text("E")})
                     .card(7, {text("F")})
                     .terminator()
                     .build();
  const auto entry = [&](uint32_t id, uint32_t value) { setDefaultEntry(box.bytes, id, value); };
  entry(2, 0);                                // card 2 exists: no offset information
  entry(3, box.offsets[0]);                   // card 1's offset: wrong
  entry(4, 0xFFFFFFFF);                       // free ID, no offset: counts nowhere
  entry(5, box.offsets[4]);                   // the second card 5: only the first matches
  entry(9, box.offsets[5]);                   // no card 9
  setDefaultLink(box.bytes, box.offsets[5]);  // link to normal card 7
  EXPECT_EQ(offsetTable(analyse(box.bytes)), (Lines{kTable, kTable, "    8000001 at 0x000074 [   1 -  500]",
                                                    euc(" -- 0x000000 0x0002: オフセット情報がない."),
                                                    euc(" -- 0x000855 0x0003: オフセット情報間違い."),
                                                    euc(" -- 0x000885 0x0005: オフセット情報間違い."),
                                                    euc(" -- 0x000891 0x0009: カードは見つからない."), kTable,
                                                    "    40000004 Offset data refer no offset card.", kTable,
                                                    "    40000002 Offset info card has errors (4).",
                                                    " --   -3: 0x000064: 0xfffffffd, 0x000002",
                                                    euc("カードの数:   通常:     2, エラー:     4")}));
}

TEST(OffsetTable, OversizedOffsetCardHoldsAnExtraEntry) {
  // The 0x208 offset card fails its own check; 0x208 junk bytes behind it
  // make its garbage size 0x208 again, the size the walk then sees.
  BuiltBox box = BoxBuilder()
                     .field(1, "NAME", "Name")
                     .rawCard(0, steeringBody())
                     .rawCard(0xFFF0, Bytes(0x208, 0))
                     .raw(Bytes(0x208, 0xEE))
                     .card(629, {text("Alice")})
                     .terminator()
                     .build();
  steer(box, 0, 3);
  setDefaultLink(box.bytes, box.offsets[1]);
  setOffsetCardEntry(box.bytes, box.offsets[1], 128, box.offsets[3]);  // entry 129: card 629
  EXPECT_EQ(offsetTable(analyse(box.bytes)),
            (Lines{kTable, kTable, "    8000001 at 0x000074 [   1 -  500]", kTable,
                   "    20000001 Offset card size != 0x204 (0x208)", kTable,
                   "    80001f5 at 0x00086b [ 501 -  629]", " --   -3: 0x000064: 0xfffffffd, 0x000001",
                   euc("カードの数:   通常:     1, エラー:     0")}));
}

TEST(OffsetTable, ChainOfOffsetCardsLinkingBack) {
  BuiltBox box = BoxBuilder()
                     .field(1, "NAME", "Name")
                     .card(1, {text("A")})
                     .offsetCard()
                     .offsetCard()
                     .card(630, {text("B")})
                     .terminator()
                     .build();
  setOffsetCardLink(box.bytes, box.offsets[2], box.offsets[1]);  // second card links to the first
  EXPECT_EQ(
      offsetTable(analyse(box.bytes)),
      (Lines{kTable, kTable, "    8000001 at 0x000074 [   1 -  500]", kTable,
             "    80001f5 at 0x000867 [ 501 -  628]", kTable, "    8000275 at 0x000a71 [ 629 -  756]", kTable,
             "    40000008 Offset card link loops back. (0x000861).",
             " --   -3: 0x000064: 0xfffffffd, 0x000002", euc("カードの数:   通常:     2, エラー:     0")}));
}

TEST(OffsetTable, OffsetCardTooSmallForEntries) {
  // Size field 0: the run has no entries (it must not wrap to a huge count);
  // its link is read from the next card's head and leads nowhere.
  BuiltBox box = BoxBuilder()
                     .field(1, "NAME", "Name")
                     .rawCard(0, steeringBody())
                     .rawCard(0xFFF0, {})
                     .card(1, {text("Alice")})
                     .terminator()
                     .build();
  steer(box, 0, 2);
  setDefaultLink(box.bytes, box.offsets[1]);
  EXPECT_EQ(offsetTable(analyse(box.bytes)),
            (Lines{kTable, kTable, "    8000001 at 0x000074 [   1 -  500]", kTable,
                   "    20000001 Offset card size != 0x204 (0x000)", kTable,
                   "    80001f5 at 0x00086b [ 501 -  500]", " --   -3: 0x000064: 0xfffffffd, 0x000001",
                   euc("カードの数:   通常:     1, エラー:     0")}));
}

TEST(OffsetTable, RunPastTheEndOfTheFile) {
  // The file ends 25 entries into the offset card; those are still checked.
  BuiltBox box = BoxBuilder()
                     .field(1, "NAME", "Name")
                     .card(501, {text("Alice")})
                     .indexCard({{"ABCD", "name"}})
                     .offsetCard()
                     .build();
  const uint32_t entries = box.offsets[2] + 6;
  putU32(box.bytes, entries + 4, box.offsets[0]);  // entry 502: no such card
  box.bytes.resize(entries + 100);
  EXPECT_EQ(
      offsetTable(analyse(box.bytes)),
      (Lines{kTable, kTable, "    8000001 at 0x000074 [   1 -  500]", kTable,
             "    80001f5 at 0x000882 [ 501 -  628]", kTable,
             "    40000010 Offset table runs past the end of box file. (25 of 128 entries).",
             euc(" -- 0x000855 0x01f6: カードは見つからない."), kTable,
             "    40000002 Offset info card has errors (1).", " --   -3: 0x000064: 0xfffffffd, 0x000001",
             euc("カードの数:   通常:     1, エラー:     1")}));
}

}  // namespace
