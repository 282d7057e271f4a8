// The Japanese debug texts are held as EUC-JP bytes; each must be the EUC-JP
// encoding, by the C library's own converter, of its Japanese text.
#include <gtest/gtest.h>

#include "euc.h"
#include "texts_ja.h"

namespace {

struct Text {
  const char* held;
  const char* utf8;
};

const Text kTexts[] = {
    {ja::kHeaderTotalsDebug, "カードの数: %6d, ゴミサイズ:%6ld, MAXカードID == 0x%04x"},
    {ja::kItemLengthWrong, "項目の長さがおかしい"},
    {ja::kCensusCounts, "カードの数:   通常:%6d, システム:%6d, ゴミ:%6d, エラー:%6d"},
    {ja::kCensusSizes, "カードサイズ: 通常:%6d, システム:%6d, ゴミ:%6d, エラー:%6d"},
    {ja::kCensusMaxId, "MAXカードID == 0x%04x"},
    {ja::kCensusLeastNullId, "先頭無効ID == 0x%04x"},
    {ja::kOffsetTableCounts, "カードの数:   通常:%6d, エラー:%6d"},
    {ja::kEntryCardNotFound, " -- 0x%06x 0x%04x: カードは見つからない."},
    {ja::kEntryNoOffset, " -- 0x%06x 0x%04x: オフセット情報がない."},
    {ja::kEntryOffsetWrong, " -- 0x%06x 0x%04x: オフセット情報間違い."},
};

TEST(JapaneseTexts, AreTheirEucJpEncoding) {
  for (const Text& t : kTexts) EXPECT_EQ(std::string(t.held), boxtest::euc(t.utf8)) << t.utf8;
}

}  // namespace
