// The records of a box and their values as typed values: what is read when
// records are exported or rescued into a new box.
//
// A record is a normal card of the card list the trace built (in chain
// order), or a deleted card whose body still decodes as a normal card's.
// Its values are decoded by CardValues against the field table; a value is
// present when its length is in the file and its bytes lie within the card
// and the file.
//
//   ValueDecoder decoder("EUC-JP");
//   for (const Record& r : listRecords(file, chain, fields, true)) {
//     const CardValues values(file, r.offset, fields);
//     for (int k = 0; k < values.count(); ++k)
//       if (valuePresent(values, k, r.end)) decoder.decode(fields.entries[k], ..., value);
//   }
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "byte_view.h"
#include "card_chain.h"
#include "card_values.h"
#include "item_info.h"

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
  bool toText(const uint8_t* bytes, uint32_t length, std::string& out);
  bool utf8_ = false;
  void* converter_ = nullptr;  // an iconv_t
  std::string buffer_;
};

// The length of the valid UTF-8 sequence at the start of the available
// bytes, or 0 when they do not start with one (a stray continuation byte,
// an overlong form, a surrogate, a code point above U+10FFFF, a sequence cut
// short).
size_t utf8SequenceLength(const uint8_t* bytes, size_t available);

// True when the bytes are valid UTF-8 throughout.
bool validUtf8(const uint8_t* bytes, size_t length);

// Lowercase hex, two digits a byte, appended to out.
void appendHex(std::string& out, const uint8_t* bytes, size_t length);

enum class RecordState { kSound, kDamaged, kDeleted };

struct Record {
  int32_t card = 0;  // index in the card list
  uint32_t offset = 0;
  uint16_t id = 0;
  RecordState state = RecordState::kSound;
  // Where the card ends for its values: where the trace read the next card
  // (a later offset), or the end of the file.
  uint64_t end = 0;
};

// The records of a traced chain in chain order: every normal card (damaged
// when its level holds an Error or a Critical), and with deleted every
// garbage card whose body decodes (bodyDecodes).  A card read twice at the
// same offset is listed once.
std::vector<Record> listRecords(ByteView file, const cardChain& chain, const ItemInfo& fields, bool deleted);

// Whether value k can be read: its length is in the file and its bytes lie
// before end.
inline bool valuePresent(const CardValues& values, int k, uint64_t end) {
  return k < values.decoded && values.valueIn(k, end);
}

// Whether the card decodes as a normal card's body against fields: every
// item length is in the file and fits its field, the stated area length is
// the decoded one, and every value lies before end.
bool bodyDecodes(const CardValues& values, const ItemInfo& fields, uint64_t end);

// A box's field table as a new box can hold it: the count byte and every
// record as it stands in the file, the item info size taken from where the
// records end.  Data IDs the format does not know are written as 3, which
// takes values of any length as the analysis takes them.
struct FieldTable {
  std::vector<uint8_t> itemInfo;    // count byte and records
  std::string problem;              // why the table cannot be read; empty when it can
  std::vector<std::string> mended;  // each change made, for the user
};

// Reads the field table at the place the header gives.  It cannot be read
// when the count byte or a record is not in the file, a record is shorter
// than its fixed fields, or the records run past the first card.
FieldTable readFieldTable(ByteView file);
