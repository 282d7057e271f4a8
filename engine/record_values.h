// The values of a box's records as typed values: what export shows.
//
// A record's values are decoded by CardValues against the field table
// (record_map.h says which cards are records); a value is present when its
// length is in the file and its bytes lie within the card and the file.
//
//   ValueDecoder decoder("EUC-JP");
//   for (const Record& r : mapRecords(file, chain, fields, areaStart, {.deleted = true}).records) {
//     const CardValues values(file, r.offset, fields);
//     for (int k = 0; k < values.count(); ++k)
//       if (valuePresent(values, k, r.end)) decoder.decode(fields.entries[k], ..., value);
//   }
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "item_info.h"
#include "text_coding.h"

enum class ValueKind {
  kNull,         // length 0, or a TIME whose year value says no date is set
  kMissing,      // not in the card or not in the file
  kText,         // text: UTF-8
  kInteger,      // integer
  kTime,         // text: YYYY-MM-DDTHH:MM:SS, local time as the handheld shows it
  kIllegalTime,  // text: the five bytes in hex; a TIME the handheld would reject
  kHex,  // text: the bytes in hex; not text in the encoding, or a fixed-length value of another length
};

struct RecordValue {
  ValueKind kind = ValueKind::kNull;
  uint64_t integer = 0;
  std::string text;
  // A UTF-8 text needs no conversion: it is the value's own bytes, which
  // must outlive this value, and text stays empty.
  std::string_view inPlace;

  // The text of a kText, kTime, kIllegalTime or kHex value.
  std::string_view textView() const { return inPlace.data() ? inPlace : std::string_view(text); }
};

// Turns a value's bytes into a typed value by its field's data ID: TIME (4)
// as a date-time, WEEK (7) and the other one-byte IDs (6, 11) and the
// little-endian 8 (two bytes) and 18 (four bytes) as integers, everything
// else as text when its bytes are valid in the encoding, else as hex.
class ValueDecoder {
 public:
  // encoding is a name iconv knows (EUC-JP, SHIFT_JIS, ISO-8859-1, ...);
  // UTF-8 is checked without iconv.
  explicit ValueDecoder(const std::string& encoding = "UTF-8");
  ~ValueDecoder();
  ValueDecoder(const ValueDecoder&) = delete;
  ValueDecoder& operator=(const ValueDecoder&) = delete;

  // False when iconv does not know the encoding.
  bool usable() const { return utf8_ || converter_ != nullptr; }

  void decode(const ItemInfoEntry& field, const uint8_t* bytes, uint32_t length, RecordValue& out);

 private:
  bool toText(const uint8_t* bytes, uint32_t length, RecordValue& out);
  bool utf8_ = false;
  void* converter_ = nullptr;  // an iconv_t
  std::string buffer_;
};
