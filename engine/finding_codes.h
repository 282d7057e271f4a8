// Every finding code of the analysis, by name.
//
// A code is 32 bits: bit 31 Critical, 30 Error, 29 Warning, 28 notice, 27
// informational (a listing line), 24 counted as a severity by the delivery
// rule, bits 0..23 the finding's own number within its checker.  A checker's
// problem findings use one low bit per kind, so that its accumulated level
// shows which kinds occurred; the same low bits mean different findings in
// different checkers.  Code 0 is a position entry.
//
// The codes marked "ours" report what the handheld's tool leaves undefined:
// structures that reach beyond the end of the file, malformed records, loops.
#pragma once

#include <cstdint>

namespace code {

inline constexpr uint32_t kPosition = 0;
inline constexpr uint32_t kCritical = 0x80000000;
inline constexpr uint32_t kError = 0x40000000;
inline constexpr uint32_t kWarning = 0x20000000;
inline constexpr uint32_t kNotice = 0x10000000;
inline constexpr uint32_t kInfo = 0x08000000;
// Bits that let a finding through the first gate at card positions.
inline constexpr uint32_t kDeliveryMask = 0xF1000000;
// A level above this holds an Error or a Critical: the file failed.
inline constexpr uint32_t kFailThreshold = 0x3FFFFFFF;
// The bits that fail a card or a file.
inline constexpr uint32_t kFailing = kCritical | kError;

// Box header, section -1.
namespace header {
inline constexpr uint32_t kSignatureListing = 0x08000001;
inline constexpr uint32_t kSick = 0x20000001;
inline constexpr uint32_t kDefaultTableListing = 0x08000002;
inline constexpr uint32_t kDefaultTableOnHeader = 0x80000002;
inline constexpr uint32_t kDefaultTableUnusual = 0x20000002;
inline constexpr uint32_t kItemInfoListing = 0x08000003;
inline constexpr uint32_t kItemInfoOnDefaultTable = 0x80000004;
inline constexpr uint32_t kItemInfoUnusual = 0x20000004;
inline constexpr uint32_t kFirstCardOnItemInfo = 0x80000008;
inline constexpr uint32_t kFirstCardUnusual = 0x20000008;
inline constexpr uint32_t kCutShort = 0x80000010;  // ours
inline constexpr uint32_t kGarbageSizeListing = 0x08000004;
inline constexpr uint32_t kGarbageSizeWrong = 0x40000100;
inline constexpr uint32_t kDataSizeListing = 0x08000005;
inline constexpr uint32_t kDataSizeWrong = 0x40000200;
inline constexpr uint32_t kLeastNullIdListing = 0x08000006;
inline constexpr uint32_t kLeastNullIdWrong = 0x40000400;
inline constexpr uint32_t kMaxIdListing = 0x08000007;
inline constexpr uint32_t kMaxIdWrong = 0x40000800;
// The Errors that only say a stored total differs from the census.
inline constexpr uint32_t kTotalsWrong = kGarbageSizeWrong | kDataSizeWrong | kLeastNullIdWrong | kMaxIdWrong;
}  // namespace header

// Item info, section -2.
namespace items {
// The listing line of record i is kRecordListing + i.
inline constexpr uint32_t kRecordListing = 0x08000000;
inline constexpr uint32_t kUnknownDataId = 0x40000001;
inline constexpr uint32_t kTooLarge = 0x40000002;
inline constexpr uint32_t kRecordTooShort = 0x40000004;  // ours
inline constexpr uint32_t kNameTooLong = 0x20000008;     // ours
inline constexpr uint32_t kOutsideFile = 0x80000010;     // ours
inline constexpr uint32_t kPastEndOfFile = 0x80000020;   // ours
}  // namespace items

// The card chain trace, at card indexes and in section -4.
namespace trace {
// No severity bit: delivered at a card only with noisy on.
inline constexpr uint32_t kOutOfFile = 0x00002000;
inline constexpr uint32_t kTerminated = 0x40000008;
inline constexpr uint32_t kGarbageData = 0x40000400;
inline constexpr uint32_t kDisappeared = 0x10000000;
inline constexpr uint32_t kMadeSmall = 0x40000200;
inline constexpr uint32_t kSalvageInvoked = 0x20000001;
inline constexpr uint32_t kNoTerminator = 0x20000002;
}  // namespace trace

// The content checks of single cards, at card indexes.
namespace card {
inline constexpr uint32_t kIllegalValue = 0x20000080;  // TIME and WEEK alike
inline constexpr uint32_t kIllegalLength = 0x40000800;
inline constexpr uint32_t kWrongAreaLength = 0x40000001;
inline constexpr uint32_t kWrongDataLength = 0x40000002;
inline constexpr uint32_t kIllegalOffsetCardSize = 0x40000200;
inline constexpr uint32_t kUnusualOffsetCardSize = 0x20000010;
}  // namespace card

// The card census, at card indexes and in section -4.
namespace census {
inline constexpr uint32_t kDuplicateId = 0x20000004;
inline constexpr uint32_t kNoIndexCard = 0x20000004;
}  // namespace census

// The offset table, section -3.
namespace table {
// The listing line of a run is kRunListing + the run's first card ID.
inline constexpr uint32_t kRunListing = 0x08000000;
inline constexpr uint32_t kOffsetCardSize = 0x20000001;
inline constexpr uint32_t kBadEntries = 0x40000002;
inline constexpr uint32_t kNotOffsetCard = 0x40000004;
inline constexpr uint32_t kLinkLoops = 0x40000008;   // ours
inline constexpr uint32_t kRunPastEnd = 0x40000010;  // ours
// The Error that collection repairs by rewriting every entry.
inline constexpr uint32_t kRepairable = kBadEntries;
}  // namespace table

}  // namespace code
