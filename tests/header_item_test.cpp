// Whole-output runs of vorn over built boxes: the complete output of a small
// sound box, then the header and item info sections under damage.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "box_builder.h"
#include "euc.h"
#include "output.h"

using namespace boxtest;

namespace {

using Lines = std::vector<std::string>;

const std::string kHeaderStart = " --   -1: 0x000000: 0xffffffff, 0x000048";
const std::string kItemStart = " --   -2: 0x000000: 0xfffffffe, 0x000000";

Lines headerSection(const Bytes& bytes) { return sectionUntil(analyse(bytes), kHeaderStart, " --   -2:"); }
Lines itemSection(const Bytes& bytes) { return sectionUntil(analyse(bytes), kItemStart, "cardChain::"); }

TEST(WholeOutput, SmallSoundBox) {
  const Lines out = analyse(smallSoundBox().bytes);
  const Lines expected = {
      kHeaderStart,
      kHeaderStart,
      "    8000001 Box file headerff 00 10 31",
      kHeaderStart,
      "    8000002 Default offset tableat  48h",
      kHeaderStart,
      "    8000003 Item Infos.at 848h    dh byte.",
      kItemStart,
      kItemStart,
      "    8000000 [ 0]  1  0 NAME \"Name\"",
      " --   -2: 0x000064: 0xfffffffe, 0x00000d",
      "Item Info has 1 items, 13 byte (13)",
      "cardChain::trace () PTR 2187",
      " #   18",
      " ##  16 4e 41 4d 45 n.idx",
      "trace end at 0x00088b limit = 0x00088b",
      euc("カードの数:   通常:     2, システム:     2, ゴミ:     0, エラー:     0"),
      euc("カードサイズ: 通常:    28, システム:    26, ゴミ:     0, エラー:     0"),
      euc("MAXカードID == 0x0002"),
      euc("先頭無効ID == 0x0003"),
      " --   -4: 0x000064: 0xfffffffc, 0x00001c",
      " --   -1: 0x000064: 0xffffffff, 0x000048",
      " --   -1: 0x000064: 0xffffffff, 0x000048",
      "    8000004 Total garbage size  0000h byte.",
      " --   -1: 0x000064: 0xffffffff, 0x000048",
      "    8000005 Total data size  0002h byte.",
      " --   -1: 0x000064: 0xffffffff, 0x000048",
      "    8000006 Least null card ID     3h.",
      " --   -1: 0x000064: 0xffffffff, 0x000048",
      "    8000007 Maximum card ID     2h.",
      euc("カードの数:      2, ゴミサイズ:     0, MAXカードID == 0x0002"),
      " --   -3: 0x000000: 0xfffffffd, 0x000000",
      " --   -3: 0x000000: 0xfffffffd, 0x000000",
      "    8000001 at 0x000074 [   1 -  500]",
      " --   -3: 0x000064: 0xfffffffd, 0x000002",
      euc("カードの数:   通常:     2, エラー:     0"),
  };
  EXPECT_EQ(out, expected);
}

// The header section with the given header fields changed.
Lines headerWith(std::initializer_list<std::pair<size_t, uint32_t>> fields) {
  Bytes b = smallSoundBox().bytes;
  for (const auto& [at, value] : fields) putU32(b, at, value);
  return headerSection(b);
}

TEST(HeaderCheck, SignatureAndDefaultTablePlacement) {
  Bytes b = smallSoundBox().bytes;
  setSignatureByte(b, 3, 0x30);
  EXPECT_EQ(headerSection(b), (Lines{kHeaderStart, kHeaderStart, "    8000001 Box file headerff 00 10 30",
                                     kHeaderStart, "    20000001 Box file header has sick.", kHeaderStart,
                                     "    8000002 Default offset tableat  48h", kHeaderStart,
                                     "    8000003 Item Infos.at 848h    dh byte."}));

  const Lines laidOn = headerWith({{16, 0x47}});
  EXPECT_EQ(laidOn[4], "    8000002 Default offset tableat  47h");
  EXPECT_EQ(laidOn[6], "    80000002 Default offset table is laid on box header.");
  const Lines unusual = headerWith({{16, 0x49}});
  EXPECT_EQ(unusual[6], "    20000002 Unusual offset of default offset table (0049).");
  // The item info is judged against its own sound place, not behind the table.
  const Lines moved = headerWith({{16, 0x60}});
  EXPECT_EQ(moved.size(), 9u);
  EXPECT_EQ(moved[8], "    8000003 Item Infos.at 848h    dh byte.");
}

TEST(HeaderCheck, ItemInfoAndFirstCardPlacement) {
  EXPECT_EQ(headerWith({{8, 0x847}}).back(), "    80000004 Item Info. is laid on default offset table.");
  EXPECT_EQ(headerWith({{8, 0x900}}).back(), "    20000004 Unusual offset of Item Info. (0900).");

  // Item info size 0x100: the first card belongs at 0x948.
  EXPECT_EQ(headerWith({{12, 0x100}, {4, 0x948}}).size(), 7u);
  EXPECT_EQ(headerWith({{12, 0x100}, {4, 0x947}}).back(), "    80000008 First card is laid on Item Info.");
  EXPECT_EQ(headerWith({{12, 0x100}, {4, 0x950}}).back(),
            "    20000008 Unusual offset of first card (0950).");
  // 0x848 + size wraps past 2^32: the sound place is small, so it is only unusual.
  EXPECT_EQ(headerWith({{12, 0xFFFFF800}, {4, 0x855}}).back(),
            "    20000008 Unusual offset of first card (0855).");
}

TEST(HeaderCheck, ShortFileReadsMissingHeaderBytesAsZero) {
  const Bytes tenBytes = {0xFF, 0x00, 0x10, 0x31, 0x55, 0x08, 0x00, 0x00, 0x48, 0x08};
  const Lines out = analyse(tenBytes);
  const Lines header = sectionUntil(out, kHeaderStart, " --   -2:");
  ASSERT_GE(header.size(), 3u);
  EXPECT_EQ(header[2], "    80000010 Box file header is cut short. (10 of 72 bytes).");
  // The table offset is missing (zero); the item info offset 0x848 is whole,
  // its size missing, so the first card at 0x855 is merely unusual.
  EXPECT_EQ(header[8], "    80000002 Default offset table is laid on box header.");
  EXPECT_EQ(header.back(), "    20000008 Unusual offset of first card (0855).");
  // The item info would lie at offset 0x848, far behind the end.
  const Lines items = sectionUntil(out, kItemStart, "cardChain::");
  EXPECT_EQ(items,
            (Lines{kItemStart, kItemStart, "    80000010 Item Info. lies outside the box file. (0848).",
                   " --   -2: 0x000064: 0xfffffffe, 0x000000", "Item Info has 0 items, 0 byte (0)"}));
}

// Item info sections.  The record bytes are written by hand here.
Bytes boxWithItemInfo(const Bytes& itemInfo, uint32_t declared) {
  Bytes b = BoxBuilder().rawItemInfo(itemInfo).terminator().build().bytes;
  setHeader(b, HeaderField::kItemInfoSize, declared);
  return b;
}

Bytes record(uint16_t length, uint8_t dataId, uint8_t attribute, const std::string& tagAndName) {
  Bytes r(2);
  putU16(r, 0, length);
  r.push_back(dataId);
  r.push_back(attribute);
  r.insert(r.end(), tagAndName.begin(), tagAndName.end());
  return r;
}

Bytes join(std::initializer_list<Bytes> parts) {
  Bytes out;
  for (const Bytes& p : parts) out.insert(out.end(), p.begin(), p.end());
  return out;
}

TEST(ItemInfoCheck, EmptyTableAndExactEnd) {
  EXPECT_EQ(
      itemSection(boxWithItemInfo({0}, 1)),
      (Lines{kItemStart, " --   -2: 0x000064: 0xfffffffe, 0x000001", "Item Info has 0 items, 1 byte (1)"}));
  // Two records ending exactly at the declared size, data IDs 18 and 3.
  const Bytes info = join({{2}, record(10, 18, 1, "UID Code"), record(8, 3, 0, "MAILxy")});
  EXPECT_EQ(itemSection(boxWithItemInfo(info, 23)),
            (Lines{kItemStart, kItemStart, "    8000000 [ 0] 18  1 UID  \"Code\"", kItemStart,
                   "    8000001 [ 1]  3  0 MAIL \"xy\"", " --   -2: 0x000064: 0xfffffffe, 0x000017",
                   "Item Info has 2 items, 23 byte (23)"}));
}

TEST(ItemInfoCheck, UnknownDataIdsAndOversizedTable) {
  const Bytes info = join({{2}, record(6, 19, 0, "ABCD"), record(6, 0, 0, "EFGH")});
  EXPECT_EQ(
      itemSection(boxWithItemInfo(info, 17)),
      (Lines{kItemStart, kItemStart, "    8000000 [ 0] 19  0 ABCD \"\"", kItemStart,
             "    40000001 Data ID is unknown (0th 13).", kItemStart, "    8000001 [ 1]  0  0 EFGH \"\"",
             kItemStart, "    40000001 Data ID is unknown (1th 00).",
             " --   -2: 0x000064: 0xfffffffe, 0x000011", "Item Info has 2 items, 17 byte (17)"}));

  // The first record runs past the declared size: one listing, no data ID test.
  EXPECT_EQ(itemSection(boxWithItemInfo(info, 8)),
            (Lines{kItemStart, kItemStart, "    8000000 [ 0] 19  0 ABCD \"\"", kItemStart,
                   "    40000002 Item Info. size is too large.", " --   -2: 0x000064: 0xfffffffe, 0x000009",
                   "Item Info has 2 items, 9 byte (8)"}));
}

TEST(ItemInfoCheck, MalformedRecordsAreCutAndReported) {
  // L = 3 covers the data ID, the attribute and one tag byte only.
  const Bytes shortRecord = join({{2}, record(3, 1, 2, "T"), record(6, 2, 0, "NEXT")});
  EXPECT_EQ(itemSection(boxWithItemInfo(shortRecord, 14)),
            (Lines{kItemStart, kItemStart, "    8000000 [ 0]  1  2 T \"\"", kItemStart,
                   "    40000004 Item Info. record is too short. (0th 3).", kItemStart,
                   "    8000001 [ 1]  2  0 NEXT \"\"", " --   -2: 0x000064: 0xfffffffe, 0x00000e",
                   "Item Info has 2 items, 14 byte (14)"}));

  // A 30-byte name keeps its first 26 bytes.
  const std::string name30 = "ABCDEFGHIJKLMNOPQRSTUVWXYZ1234";
  const Bytes longName = join({{1}, record(36, 1, 0, "LONG" + name30)});
  EXPECT_EQ(itemSection(boxWithItemInfo(longName, 39)),
            (Lines{kItemStart, kItemStart, "    8000000 [ 0]  1  0 LONG \"" + name30.substr(0, 26) + "\"",
                   kItemStart, "    20000008 Item Info. name is too long. (0th 30 byte).",
                   " --   -2: 0x000064: 0xfffffffe, 0x000027", "Item Info has 1 items, 39 byte (39)"}));
}

TEST(ItemInfoCheck, TableCutOffByTheEndOfTheFile) {
  // Count 3, but the file ends inside the second record.
  Bytes b = boxWithItemInfo(join({{3}, record(6, 1, 0, "ABCD")}), 100);
  b.pop_back();  // drop the terminator
  b.pop_back();
  b.push_back(8);  // half a length field
  setHeader(b, HeaderField::kFirstCard, static_cast<uint32_t>(b.size()));
  EXPECT_EQ(itemSection(b),
            (Lines{kItemStart, kItemStart, "    8000000 [ 0]  1  0 ABCD \"\"", kItemStart,
                   "    80000020 Item Info. runs past the end of the box file. (1th).",
                   " --   -2: 0x000064: 0xfffffffe, 0x000009", "Item Info has 3 items, 9 byte (100)"}));
}

}  // namespace
