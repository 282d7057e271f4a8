// Japanese debug texts of the analysis, held as EUC-JP bytes.
//
// The handheld's tools print these lines in the device's own encoding, and
// users compare our output with theirs byte for byte, so the texts are kept
// here already encoded; the console writes them out unchanged.  Each constant
// carries its text in UTF-8 in the comment above it.
#pragma once

namespace ja {

// カードの数: %6d, ゴミサイズ:%6ld, MAXカードID == 0x%04x
inline constexpr char kHeaderTotalsDebug[] =
    "\xa5\xab\xa1\xbc\xa5\xc9\xa4\xce\xbf\xf4: %6d, \xa5\xb4\xa5\xdf\xa5\xb5\xa5\xa4\xa5\xba:%6ld, "
    "MAX\xa5\xab\xa1\xbc\xa5\xc9ID == 0x%04x";

// 項目の長さがおかしい
inline constexpr char kItemLengthWrong[] =
    "\xb9\xe0\xcc\xdc\xa4\xce\xc4\xb9\xa4\xb5\xa4\xac\xa4\xaa\xa4\xab\xa4\xb7\xa4\xa4";

// カードの数:   通常:%6d, システム:%6d, ゴミ:%6d, エラー:%6d
inline constexpr char kCensusCounts[] =
    "\xa5\xab\xa1\xbc\xa5\xc9\xa4\xce\xbf\xf4:   \xc4\xcc\xbe\xef:%6d, \xa5\xb7\xa5\xb9\xa5\xc6\xa5\xe0:%6d, "
    "\xa5\xb4\xa5\xdf:%6d, \xa5\xa8\xa5\xe9\xa1\xbc:%6d";

// カードサイズ: 通常:%6d, システム:%6d, ゴミ:%6d, エラー:%6d
inline constexpr char kCensusSizes[] =
    "\xa5\xab\xa1\xbc\xa5\xc9\xa5\xb5\xa5\xa4\xa5\xba: \xc4\xcc\xbe\xef:%6d, "
    "\xa5\xb7\xa5\xb9\xa5\xc6\xa5\xe0:%6d, \xa5\xb4\xa5\xdf:%6d, \xa5\xa8\xa5\xe9\xa1\xbc:%6d";

// MAXカードID == 0x%04x
inline constexpr char kCensusMaxId[] = "MAX\xa5\xab\xa1\xbc\xa5\xc9ID == 0x%04x";

// 先頭無効ID == 0x%04x
inline constexpr char kCensusLeastNullId[] = "\xc0\xe8\xc6\xac\xcc\xb5\xb8\xfaID == 0x%04x";

// カードの数:   通常:%6d, エラー:%6d
inline constexpr char kOffsetTableCounts[] =
    "\xa5\xab\xa1\xbc\xa5\xc9\xa4\xce\xbf\xf4:   \xc4\xcc\xbe\xef:%6d, \xa5\xa8\xa5\xe9\xa1\xbc:%6d";

//  -- 0x%06x 0x%04x: カードは見つからない.
inline constexpr char kEntryCardNotFound[] =
    " -- 0x%06x 0x%04x: \xa5\xab\xa1\xbc\xa5\xc9\xa4\xcf\xb8\xab\xa4\xc4\xa4\xab\xa4\xe9\xa4\xca\xa4\xa4.";

//  -- 0x%06x 0x%04x: オフセット情報がない.
inline constexpr char kEntryNoOffset[] =
    " -- 0x%06x 0x%04x: \xa5\xaa\xa5\xd5\xa5\xbb\xa5\xc3\xa5\xc8\xbe\xf0\xca\xf3\xa4\xac\xa4\xca\xa4\xa4.";

//  -- 0x%06x 0x%04x: オフセット情報間違い.
inline constexpr char kEntryOffsetWrong[] =
    " -- 0x%06x 0x%04x: \xa5\xaa\xa5\xd5\xa5\xbb\xa5\xc3\xa5\xc8\xbe\xf0\xca\xf3\xb4\xd6\xb0\xe3\xa4\xa4.";

}  // namespace ja
