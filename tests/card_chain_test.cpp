// Whole-section runs of vorn over built boxes: the card chain trace, its
// salvage of broken cards and the per-card content checks.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "box_builder.h"
#include "euc.h"
#include "output.h"

using namespace boxtest;

namespace {

using Lines = std::vector<std::string>;

Lines traceOf(const Bytes& bytes) { return section(analyse(bytes), "cardChain::trace", "trace end at"); }

Bytes withU16(Bytes bytes, size_t at, uint16_t value) {
  putU16(bytes, at, value);
  return bytes;
}

TEST(CardChainTrace, SoundChainGivesNoFindings) {
  // Deleted, system and 0xFFFF cards with a body pass without checks.
  const Bytes b = BoxBuilder()
                      .field(1, "NAME", "Name")
                      .card(1, {text("Alice")})
                      .garbage(4)
                      .rawCard(0xFFFF, {1, 2})
                      .rawCard(0xFF10, {})
                      .indexCard({{"ABCD", "name"}})
                      .terminator()
                      .build()
                      .bytes;
  EXPECT_EQ(traceOf(b), (Lines{"cardChain::trace () PTR 2198", " #   17", " ##  15 41 42 43 44 name",
                               "trace end at 0x000896 limit = 0x000896"}));
}

TEST(CardChainTrace, MissingTerminator) {
  const Bytes b = BoxBuilder()
                      .field(1, "NAME", "Name")
                      .card(1, {text("Alice")})
                      .indexCard({{"ABCD", "name"}})
                      .build()
                      .bytes;
  EXPECT_EQ(traceOf(b),
            (Lines{"cardChain::trace () PTR 2172", " #   17", " ##  15 41 42 43 44 name",
                   " --   -4: 0x000865: 0xfff1, 0x000011", "    20000002 No data chunk terminater.",
                   "trace end at 0x00087c limit = 0x00087c"}));
}

TEST(CardChainTrace, FirstCardAtTheEndOfTheFileLeavesNoCards) {
  Bytes b = BoxBuilder().field(1, "NAME", "Name").card(1, {text("Alice")}).terminator().build().bytes;
  setHeader(b, HeaderField::kFirstCard, static_cast<uint32_t>(b.size()));
  // Nothing reports in between, so the findings keep the item info summary's position.
  EXPECT_EQ(section(analyse(b), "cardChain::trace", " --   -4: 0x000064: 0xfffffffc"),
            (Lines{"cardChain::trace () PTR 2151", " --   -4: 0x000064: 0xfffffffe, 0x00000d",
                   "    20000002 No data chunk terminater.", "trace end at 0x000867 limit = 0x000867",
                   euc("カードの数:   通常:     0, システム:     0, ゴミ:     0, エラー:     0"),
                   euc("カードサイズ: 通常:     0, システム:     0, ゴミ:     0, エラー:     0"),
                   euc("MAXカードID == 0x0000"), euc("先頭無効ID == 0x0001"),
                   " --   -4: 0x000064: 0xfffffffe, 0x00000d", "    20000004 Reference index card not found.",
                   " --   -4: 0x000064: 0xfffffffc, 0x000000"}));
}

TEST(CardChainSalvage, UnreadableTailWithNothingToResumeAtStopsTheTrace) {
  // Behind the reference index card, whose bytes 8..9 point far past the end,
  // the scan finds no card: the trace stops, no terminator check, no end line.
  const auto tail = [](Bytes stray) {
    return BoxBuilder()
        .field(1, "NAME", "Name")
        .card(1, {text("Alice")})
        .indexCard({{"ABCD", "name"}})
        .raw(std::move(stray))
        .build()
        .bytes;
  };
  const std::string census = euc("カードの数:   通常:");
  // One byte left: the record shows ID 0 and size 0 and counts as deleted.
  EXPECT_EQ(section(analyse(tail({0x5A})), "cardChain::trace", census),
            (Lines{"cardChain::trace () PTR 2173", " #   17", " ##  15 41 42 43 44 name",
                   " --   -4: 0x00087c: 0x0000, 0x000000",
                   "    40000008 Data Chunk tracing terminated at 0x00087c/0x00087d.",
                   euc("カードの数:   通常:     1, システム:     1, ゴミ:     1, エラー:     0")}));
  // Three bytes left, a 0xFFFF in front: the ID is read, the size is 0.
  EXPECT_EQ(section(analyse(tail({0xFF, 0xFF, 0x5A})), "cardChain::trace", census),
            (Lines{"cardChain::trace () PTR 2175", " #   17", " ##  15 41 42 43 44 name",
                   " --   -4: 0x00087c: 0xffff, 0x000000",
                   "    40000008 Data Chunk tracing terminated at 0x00087c/0x00087f.",
                   euc("カードの数:   通常:     1, システム:     2, ゴミ:     0, エラー:     0")}));
}

TEST(CardChainSalvage, CardHiddenInAnOverlongCardIsRecovered) {
  // A deleted card claims 11 bytes too many and ends inside the next card,
  // where "lice" and the terminator read as a head with a huge size.
  BuiltBox box = BoxBuilder()
                     .field(1, "NAME", "Name")
                     .rawCard(0, steeringBody())
                     .card(1, {text("Alice")})
                     .terminator()
                     .build();
  steer(box, 0, 1);
  setCardSize(box.bytes, box.offsets[0], 21);
  EXPECT_EQ(traceOf(box.bytes),
            (Lines{"cardChain::trace () PTR 2167", " heuristic scan at 0x000865 (0x000870)",
                   " --    1: 0x000870: 0x6c41, 0xff656369", "    10000000 This card is disappeare.",
                   " --    0: 0x000855: 0x0000, 0x00000a",
                   "    40000200 Data broken, it is made small (0x0015 => 0x000a)",
                   " --   -4: 0x000855: 0x0000, 0x00000a", "    20000001 Data chunk salvage is invoked.",
                   "trace end at 0x000877 limit = 0x000877"}));
}

TEST(CardChainSalvage, BrokenFirstCardBecomesGarbageUpToTheNextCard) {
  // The first card's size runs past the end; its own bytes 8..9 steer the
  // scan to the next card.  A head that failed counts its end as -1, so the
  // garbage size is the candidate plus one.
  BuiltBox box = BoxBuilder()
                     .field(1, "NAME", "Name")
                     .rawCard(1, steeringBody())
                     .card(2, {text("Bob")})
                     .terminator()
                     .build();
  steer(box, 0, 1);
  setCardSize(box.bytes, box.offsets[0], 0x100000);
  EXPECT_EQ(traceOf(box.bytes),
            (Lines{"cardChain::trace () PTR 2165", " heuristic scan at 0x000865 (0x000855)",
                   " --    0: 0x000855: 0x0001, 0x000866", "    40000400 Garbage data.",
                   " --   -4: 0x000855: 0x0001, 0x000866", "    20000001 Data chunk salvage is invoked.",
                   "trace end at 0x000875 limit = 0x000875"}));
}

TEST(CardContent, FailedCardsAreReportedAndSalvagedAsGarbage) {
  // Each broken card stands behind a deleted card that steers the scan past
  // three junk bytes to a sound card; the garbage size is the distance from
  // the broken card's declared end to that card.
  struct Case {
    uint16_t id;
    Bytes body;
    Lines expected;
  };
  Bytes tooLong = normalBody({text("Alice")});
  tooLong.push_back(0);
  const Case cases[] = {
      {1,
       tooLong,
       {" --    1: 0x000865: 0x0001, 0x00000b",
        "    40000002 Data area length and/or Items data length have wrong.",
        " heuristic scan at 0x000879 (0x000865)", " --    1: 0x000865: 0x0001, 0x000003",
        "    40000400 Garbage data.", " --   -4: 0x000865: 0x0001, 0x000003",
        "    20000001 Data chunk salvage is invoked.", "trace end at 0x000889 limit = 0x000889"}},
      {1,
       withU16(normalBody({text("Alice")}), 2, 2),
       {" --    1: 0x000865: 0x0001, 0x00000a", "    40000001 Wrong size for Item data length area.",
        " heuristic scan at 0x000878 (0x000865)", " --    1: 0x000865: 0x0001, 0x000003",
        "    40000400 Garbage data.", " --   -4: 0x000865: 0x0001, 0x000003",
        "    20000001 Data chunk salvage is invoked.", "trace end at 0x000888 limit = 0x000888"}},
      {0xFFF0,
       Bytes(0x206, 0),
       {" --    1: 0x000865: 0xfff0, 0x000206", "    40000200 Illegal card size.",
        " heuristic scan at 0x000a74 (0x000865)", " --    1: 0x000865: 0xfff0, 0x000003",
        "    40000400 Garbage data.", " --   -4: 0x000865: 0xfff0, 0x000003",
        "    20000001 Data chunk salvage is invoked.", "trace end at 0x000a84 limit = 0x000a84"}},
      // A warning alone fails an offset card.
      {0xFFF0,
       Bytes(0x208, 0),
       {" --    1: 0x000865: 0xfff0, 0x000208", "    20000010 Unusual card size.",
        " heuristic scan at 0x000a76 (0x000865)", " --    1: 0x000865: 0xfff0, 0x000003",
        "    40000400 Garbage data.", " --   -4: 0x000865: 0xfff0, 0x000003",
        "    20000001 Data chunk salvage is invoked.", "trace end at 0x000a86 limit = 0x000a86"}},
  };
  for (const Case& c : cases) {
    BuiltBox box = BoxBuilder()
                       .field(1, "NAME", "Name")
                       .rawCard(0, steeringBody())
                       .rawCard(c.id, c.body)
                       .raw({0xEE, 0xEE, 0xEE})
                       .card(2, {text("Bob")})
                       .terminator()
                       .build();
    steer(box, 0, 3);
    Lines trace = traceOf(box.bytes);
    ASSERT_FALSE(trace.empty());
    trace.erase(trace.begin());
    EXPECT_EQ(trace, c.expected) << c.expected[1];
  }
}

TEST(CardContent, ItemLengthMisfits) {
  // Two items whose lengths do not fit their fixed-length fields: one debug
  // line each, last item first, and a single finding for the card.
  BuiltBox box = BoxBuilder()
                     .field(1, "NAME", "Name")
                     .field(8, "NUM", "Num")
                     .field(6, "FLAG", "Flag")
                     .rawCard(0, steeringBody())
                     .card(1, {text("Al"), {0x07}, {0x09, 0x09}})
                     .raw({0xEE, 0xEE, 0xEE})
                     .card(2, {text("Co"), {0x01, 0x02}, {0x03}})
                     .terminator()
                     .build();
  steer(box, 0, 3);
  const std::string misfit = euc("項目の長さがおかしい");
  EXPECT_EQ(traceOf(box.bytes),
            (Lines{"cardChain::trace () PTR 2213", misfit, misfit, " --    1: 0x00087c: 0x0001, 0x00000c",
                   "    40000800 Item with illegal lenth is exist.", " heuristic scan at 0x000891 (0x00087c)",
                   " --    1: 0x00087c: 0x0001, 0x000003", "    40000400 Garbage data.",
                   " --   -4: 0x00087c: 0x0001, 0x000003", "    20000001 Data chunk salvage is invoked.",
                   "trace end at 0x0008a5 limit = 0x0008a5"}));
}

TEST(CardContent, TimeAndWeekValues) {
  // Warnings only: no card fails, so nothing is salvaged.
  const Bytes b = BoxBuilder()
                      .field(1, "NAME", "Name")
                      .field(4, "WHEN", "When")
                      .field(7, "DAY", "Day")
                      .card(1, {text("A"), timeValue(103, 4, 12, 9, 30, 0), {3}})
                      .card(2, {text("B"), timeValue(255, 0, 1, 0, 0, 0), {6}})  // no date set
                      .card(3, {text("C"), {}, {0}})                             // empty: not checked
                      .card(4, {text("D"), timeValue(238, 0, 1, 0, 0, 0), {0}})  // 238 - 100: 2038
                      .card(5, {text("E"), timeValue(240, 1, 15, 13, 45, 30), {7}})
                      .card(6, {text("F"), timeValue(69, 11, 31, 23, 59, 59), {6}})  // one second before 1970
                      .terminator()
                      .build()
                      .bytes;
  EXPECT_EQ(traceOf(b),
            (Lines{"cardChain::trace () PTR 2273", " --    4: 0x0008b7: 0x0005, 0x00000e",
                   "    20000080 Illegal format of WEEK at 2 (07).", " --    4: 0x0008b7: 0x0005, 0x00000e",
                   "    20000080 Illegal format of TIME. item  1, data 1e6d7b010f  140/ 1/15 13:45:30.",
                   " --    5: 0x0008cb: 0x0006, 0x00000e",
                   "    20000080 Illegal format of TIME. item  1, data 3bfbfd5b04   69/11/31 23:59:59.",
                   "trace end at 0x0008e1 limit = 0x0008e1"}));
}

TEST(CardContent, ReferenceIndexCardListing) {
  // A card of two entries; one whose first entry is too short to hold a
  // name; one whose last 12 bytes are too few for another entry (read on,
  // they would take their name from the next card's head).
  Bytes shortEntry = {0x02, 0x00, 'A', 'B', 'C', 'D', 0, 0, 0, 0, 0, 0, 'x', 0};
  Bytes withTail = {14, 0, 'E', 'F', 'G', 'H', 0, 0, 0, 0, 0, 0, 'a', 'b', 'c', 0};
  const Bytes tail = {13, 0, 'Q', 'R', 'S', 'T', 0, 0, 0, 0, 0, 0};
  withTail.insert(withTail.end(), tail.begin(), tail.end());
  const Bytes b = BoxBuilder()
                      .field(1, "NAME", "Name")
                      .indexCard({{"ABCD", "name"}, {"WXYZ", "second"}})
                      .rawCard(0xFFF1, shortEntry)
                      .rawCard(0xFFF1, withTail)
                      .card(1, {text("Alice")})
                      .terminator()
                      .build()
                      .bytes;
  EXPECT_EQ(traceOf(b), (Lines{"cardChain::trace () PTR 2247", " #   36", " ##  15 41 42 43 44 name",
                               " ##  17 57 58 59 5a second", " #   14", " #   28", " ##  14 45 46 47 48 abc",
                               "trace end at 0x0008c7 limit = 0x0008c7"}));
}

}  // namespace
