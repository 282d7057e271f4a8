// Getting records out of box files: boxtool export (the sound sample's
// records equal the generator's, golden outputs of damaged boxes, deleted
// records), the typed values in process, and the exit statuses.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <nlohmann/json.hpp>
#include <set>

#include "address_book.h"
#include "analysis_text.h"
#include "box_analysis.h"
#include "box_builder.h"
#include "field_table.h"
#include "golden.h"
#include "item_info.h"
#include "record_map.h"
#include "record_values.h"
#include "report_scope.h"
#include "reporter.h"
#include "rescue.h"
#include "run_vorn.h"
#include "samples.h"

using namespace boxtest;
using Json = nlohmann::json;
using Args = std::vector<std::string>;

namespace {

// The records of an export as ID -> values, each value as the CSV shows it.
std::map<unsigned, std::vector<std::string>> exportedRecords(const std::string& format,
                                                             const std::string& out) {
  std::map<unsigned, std::vector<std::string>> records;
  if (format == "csv") {
    const auto rows = parseCsv(out);
    for (size_t r = 1; r < rows.size(); ++r)
      records[static_cast<unsigned>(std::stoul(rows[r][2]))] = {rows[r].begin() + 5, rows[r].end()};
    return records;
  }
  const Json document = Json::parse(out);
  for (const Json& record : document.at("records")) {
    std::vector<std::string> values;
    for (const Json& v : record.at("values"))
      values.push_back(v.is_null() ? "" : v.is_string() ? v.get<std::string>() : v.dump());
    records[record.at("id").get<unsigned>()] = values;
  }
  return records;
}

// A generator value as the export must show it: texts as they are, the
// integers little-endian, TIME values compared by encoding the shown
// date-time again.
std::string expectedValue(size_t field, const Bytes& bytes, const std::string& shown) {
  if (bytes.empty()) return "";
  switch (field) {
    case 4:
    case 8: {
      unsigned y, mo, d, h, mi, s;
      if (std::sscanf(shown.c_str(), "%4u-%2u-%2uT%2u:%2u:%2u", &y, &mo, &d, &h, &mi, &s) != 6) return "?";
      return timeValue(y - 1900, mo - 1, d, h, mi, s) == bytes ? shown : "re-encoded differently";
    }
    case 5:
    case 6:
      return std::to_string(bytes[0]);
    case 7:
      return std::to_string(bytes[0] | bytes[1] << 8);
    case 9:
      return std::to_string(getU32(bytes, 0));
    default:
      return std::string(bytes.begin(), bytes.end());
  }
}

class ExportOfTheSoundSample : public testing::TestWithParam<std::string> {};

TEST_P(ExportOfTheSoundSample, GivesTheGeneratorsRecords) {
  const RunResult r = runBoxtool({"export", "--format", GetParam(), "KQADRS.box"});
  ASSERT_EQ(r.status, 0) << r.err;
  const auto records = exportedRecords(GetParam(), r.out);
  size_t expected = 0;
  for (unsigned id = 1; id <= 700; ++id) {
    if (id % 50 == 0) continue;  // deleted in the sample
    ++expected;
    const auto found = records.find(id);
    ASSERT_NE(found, records.end()) << id;
    const std::vector<Bytes> values = addressValues(id);
    ASSERT_EQ(found->second.size(), values.size());
    for (size_t k = 0; k < values.size(); ++k)
      EXPECT_EQ(found->second[k], expectedValue(k, values[k], found->second[k]))
          << "ID " << id << " field " << k;
  }
  EXPECT_EQ(records.size(), expected);
}

INSTANTIATE_TEST_SUITE_P(Formats, ExportOfTheSoundSample, testing::Values("json", "csv"));

// A text comes back as it was: in JSON with control characters, quotes and
// backslashes; in CSV with a second '#' in front when it begins with one, so
// that it is never taken for a marker (#MISSING, #HEX:, #TIME:).
struct TextCase {
  const char* name;
  std::string value;
  std::string csv;  // the field as the CSV export shows it
};

void PrintTo(const TextCase& c, std::ostream* os) { *os << c.name; }

class ExportedText : public testing::TestWithParam<TextCase> {};

TEST_P(ExportedText, ComesBackAsItWas) {
  const TextCase& c = GetParam();
  TempBox box(BoxBuilder().field(1, "NAME", "Name").card(1, {text(c.value)}).terminator().build().bytes);
  const Json j = Json::parse(runBoxtool({"export", box.path()}).out);
  EXPECT_EQ(j.at("records").at(0).at("values").at(0), c.value);
  EXPECT_EQ(parseCsv(runBoxtool({"export", "--format", "csv", box.path()}).out).at(1).at(5), c.csv);
}

// clang-format off
INSTANTIATE_TEST_SUITE_P(
    Texts, ExportedText,
    testing::Values(
        TextCase{"control_characters_and_quotes", "a\x01\x1f\"\\\n\r\tb", "a\x01\x1f\"\\\n\r\tb"},
        TextCase{"like_a_marker", "#HEX:61", "##HEX:61"},
        TextCase{"begins_with_two_hashes", "##", "###"},
        TextCase{"hash_inside", "a#b", "a#b"},
        TextCase{"like_a_marker_and_quoted", "#HEX:61,62", "##HEX:61,62"}),
    [](const testing::TestParamInfo<TextCase>& info) { return info.param.name; });
// clang-format on

// A box whose field table is gone: with the cards' count of values, the
// values are shown without their types; when the cards disagree, each body
// in hex; with --fields-from, typed as a sound box of the same application.
struct FieldlessCase {
  const char* name;
  Bytes box;
  Args options;
  int status;
  const char* shown;  // "values" or "raw"
  const char* firstTag;
};

void PrintTo(const FieldlessCase& c, std::ostream* os) { *os << c.name; }

class ExportWithoutFields : public testing::TestWithParam<FieldlessCase> {};

TEST_P(ExportWithoutFields, ShowsWhatTheCardsTell) {
  const FieldlessCase& c = GetParam();
  TempBox box(c.box, "BROKEN.BOX");
  ASSERT_TRUE(writeFile(box.dir() + "/SOUND.BOX", goldenBytes("KQADRS.box")));
  const RunResult r = runBoxtool(with(with({"export"}, c.options), {"BROKEN.BOX"}), box.dir());
  EXPECT_EQ(r.status, c.status) << r.err;
  const Json j = Json::parse(r.out);
  ASSERT_FALSE(j.at("records").empty());
  EXPECT_TRUE(j.at("records").at(0).contains(c.shown));
  EXPECT_EQ(j.at("fields").empty() ? "" : j.at("fields").at(0).at("tag"), c.firstTag);
}

Bytes fieldless(Bytes b) {
  zeroItemInfo(b);
  return b;
}

// clang-format off
INSTANTIATE_TEST_SUITE_P(
    Cases, ExportWithoutFields,
    testing::Values(
        FieldlessCase{"untyped", fieldless(goldenBytes("KQADRS.box")), {}, 1, "values", ""},
        FieldlessCase{"cards_disagree", fieldless(BoxBuilder().field(1, "A", "A").field(1, "B", "B")
                          .card(1, {text("x")}).card(2, {text("y"), text("z")}).terminator().build().bytes),
                      {}, 1, "raw", ""},
        FieldlessCase{"fields_from", fieldless(goldenBytes("KQADRS.box")), {"--fields-from", "SOUND.BOX"}, 0,
                      "values", "NAME"}),
    [](const testing::TestParamInfo<FieldlessCase>& info) { return info.param.name; });
// clang-format on

// A small address book in which card ID 3 was deleted (its ID set to 0, the
// body left as it was) and a garbage card of filler bytes follows.
Bytes bookWithADeletedCard() {
  BoxBuilder b = addressFields();
  for (unsigned id = 1; id <= 5; ++id) b.card(static_cast<uint16_t>(id), addressValues(id));
  b.garbage(30).terminator();
  BuiltBox box = b.build();
  setCardId(box.bytes, box.offsets[2], 0);
  setHeader(box.bytes, HeaderField::kDataSize, 4);  // the handheld counts the records left
  return box.bytes;
}

struct DeletedCase {
  const char* name;
  bool collectFirst;
  Args options;
  std::vector<std::string> states;  // ID:state of every record
};

void PrintTo(const DeletedCase& c, std::ostream* os) { *os << c.name; }

class ExportDeleted : public testing::TestWithParam<DeletedCase> {};

TEST_P(ExportDeleted, FindsWhatTheCollectorHasNotOverwritten) {
  const DeletedCase& c = GetParam();
  TempBox box(bookWithADeletedCard());
  if (c.collectFirst) {
    ASSERT_EQ(runBoxtool({"compact", box.path()}).status, 0);
  }
  const auto rows =
      parseCsv(runBoxtool(with(with({"export", "--format", "csv"}, c.options), {box.path()})).out);
  std::vector<std::string> states;
  for (size_t k = 1; k < rows.size(); ++k) states.push_back(rows[k][2] + ":" + rows[k][3]);
  EXPECT_EQ(states, c.states);
}

// clang-format off
INSTANTIATE_TEST_SUITE_P(
    Cases, ExportDeleted,
    testing::Values(
        DeletedCase{"without_the_option", false, {}, {"1:sound", "2:sound", "4:sound", "5:sound"}},
        DeletedCase{"found", false, {"--deleted"}, {"1:sound", "2:sound", "0:deleted", "4:sound", "5:sound"}},
        DeletedCase{"gone_after_collection", true, {"--deleted"}, {"1:sound", "2:sound", "4:sound", "5:sound"}}),
    [](const testing::TestParamInfo<DeletedCase>& info) { return info.param.name; });
// clang-format on

struct ValueCase {
  const char* name;
  uint8_t dataId;
  Bytes bytes;
  std::string encoding;
  ValueKind kind;
  std::string shown;  // the text, or the integer in decimal
};

void PrintTo(const ValueCase& c, std::ostream* os) { *os << c.name; }

class TypedValue : public testing::TestWithParam<ValueCase> {};

TEST_P(TypedValue, FollowsTheDataId) {
  const ValueCase& c = GetParam();
  ItemInfoEntry field;
  field.dataId = c.dataId;
  ValueDecoder decoder(c.encoding);
  ASSERT_TRUE(decoder.usable());
  RecordValue v;
  decoder.decode(field, c.bytes.data(), static_cast<uint32_t>(c.bytes.size()), v);
  EXPECT_EQ(static_cast<int>(v.kind), static_cast<int>(c.kind));
  EXPECT_EQ(v.kind == ValueKind::kInteger ? std::to_string(v.integer) : std::string(v.textView()), c.shown);
}

const std::string kUtf8 = "UTF-8";

// clang-format off
INSTANTIATE_TEST_SUITE_P(
    Values, TypedValue,
    testing::Values(
        ValueCase{"empty_is_null", 1, {}, kUtf8, ValueKind::kNull, ""},
        ValueCase{"utf8_text", 3, text("\xe3\x81\x82"), kUtf8, ValueKind::kText, "\xe3\x81\x82"},
        ValueCase{"euc_jp_not_utf8_is_hex", 1, {0xa4, 0xa2}, kUtf8, ValueKind::kHex, "a4a2"},
        ValueCase{"lone_continuation_byte_is_hex", 1, {'a', 0x80}, kUtf8, ValueKind::kHex, "6180"},
        ValueCase{"euc_jp", 1, {0xa4, 0xa2, 'a'}, "EUC-JP", ValueKind::kText, "\xe3\x81\x82" "a"},
        ValueCase{"shift_jis", 2, {0x82, 0xa0}, "SHIFT_JIS", ValueKind::kText, "\xe3\x81\x82"},
        ValueCase{"invalid_euc_jp_is_hex", 1, {0xa4}, "EUC-JP", ValueKind::kHex, "a4"},
        ValueCase{"unknown_data_id_as_text", 0, text("x"), kUtf8, ValueKind::kText, "x"},
        ValueCase{"time_year_above_130", 4, timeValue(203, 11, 31, 0, 0, 0), kUtf8, ValueKind::kTime, "2003-12-31T00:00:00"},
        ValueCase{"time_february_29_of_a_common_year", 4, timeValue(103, 1, 29, 0, 0, 0), kUtf8, ValueKind::kTime, "2003-03-01T00:00:00"},
        ValueCase{"time_unset", 4, timeValue(255, 0, 1, 0, 0, 0), kUtf8, ValueKind::kNull, ""},
        ValueCase{"time_carried_over", 4, timeValue(103, 1, 31, 0, 0, 0), kUtf8, ValueKind::kTime, "2003-03-03T00:00:00"},
        ValueCase{"time_illegal", 4, timeValue(250, 1, 1, 0, 0, 0), kUtf8, ValueKind::kIllegalTime, "000008a10f"},
        ValueCase{"time_of_four_bytes_is_hex", 4, {1, 2, 3, 4}, kUtf8, ValueKind::kHex, "01020304"},
        ValueCase{"week_out_of_range_still_shown", 7, {7}, kUtf8, ValueKind::kInteger, "7"},
        ValueCase{"one_byte_id_11", 11, {3}, kUtf8, ValueKind::kInteger, "3"},
        ValueCase{"two_bytes_little_endian", 8, {0x34, 0x12}, kUtf8, ValueKind::kInteger, "4660"},
        ValueCase{"four_bytes_little_endian", 18, {1, 0, 1, 0x80}, kUtf8, ValueKind::kInteger, "2147549185"},
        ValueCase{"two_byte_field_of_three_is_hex", 8, {1, 2, 3}, kUtf8, ValueKind::kHex, "010203"}),
    [](const testing::TestParamInfo<ValueCase>& info) { return info.param.name; });
// clang-format on

struct CompactCase {
  const char* name;
  const char* box;  // a golden box, copied
  Args options;
  bool bakBefore;  // a BOX.bak exists before the run
  int status;
  bool boxChanges;
  std::string err;  // the start of standard error
};

void PrintTo(const CompactCase& c, std::ostream* os) { *os << c.name; }

class Compact : public testing::TestWithParam<CompactCase> {};

struct stat statOf(const std::string& path) {
  struct stat st {};
  stat(path.c_str(), &st);
  return st;
}

TEST_P(Compact, ChangesTheBoxOnlyWhenItShould) {
  const CompactCase& c = GetParam();
  const std::string original = readGolden(c.box);
  TempBox box(goldenBytes(c.box), "KQADRS.BOX");
  const std::string bak = box.path() + ".bak";
  if (c.bakBefore) {
    ASSERT_TRUE(writeFile(bak, text("old backup")));
  }
  // An mtime in the past, so that any write would show.
  const timespec past[2] = {{1000000000, 0}, {1000000000, 0}};
  ASSERT_EQ(utimensat(AT_FDCWD, box.path().c_str(), past, 0), 0);

  const RunResult r = runBoxtool(with(with({"compact"}, c.options), {"KQADRS.BOX"}), box.dir());
  EXPECT_EQ(r.status, c.status) << r.err;
  EXPECT_EQ(r.err.substr(0, c.err.size()), c.err);
  const std::string after = readWholeFile(box.path());
  EXPECT_EQ(after != original, c.boxChanges);
  if (!c.boxChanges) {
    EXPECT_EQ(statOf(box.path()).st_mtim.tv_sec, past[0].tv_sec);
  }
  if (c.bakBefore) {
    EXPECT_EQ(readWholeFile(bak), "old backup");
  } else {
    // A backup holds the old bytes, and is there only when the box changed.
    const bool wanted =
        std::find(c.options.begin(), c.options.end(), "--backup") != c.options.end() && c.boxChanges;
    EXPECT_EQ(access(bak.c_str(), F_OK) == 0, wanted);
    if (wanted) {
      EXPECT_EQ(readWholeFile(bak), original);
    }
  }
}

// clang-format off
INSTANTIATE_TEST_SUITE_P(
    Cases, Compact,
    testing::Values(
        CompactCase{"collects", "KQADRS.box", {}, false, 0, true, ""},
        CompactCase{"dry_run_writes_nothing", "KQADRS.box", {"--dry-run"}, false, 0, false, ""},
        CompactCase{"dry_run_with_backup_writes_nothing", "KQADRS.box", {"-n", "--backup"}, false, 0, false, ""},
        CompactCase{"backup_keeps_the_old_bytes", "KQADRS.box", {"--backup"}, false, 0, true, ""},
        CompactCase{"backup_never_replaced", "KQADRS.box", {"--backup"}, true, 4, false,
                    "boxtool: KQADRS.BOX.bak: exists"},
        CompactCase{"damaged_refused_pointing_to_recover", "SALVAGE.box", {"--backup"}, false, 2, false,
                    "boxtool: KQADRS.BOX: the collector refuses this box: card 49 at 0x0019d2, ID 0x0000, is "
                    "damaged\nboxtool: 'boxtool recover KQADRS.BOX NEW.BOX'"},
        CompactCase{"damaged_dry_run_refused_too", "TRUNC.box", {"--dry-run"}, false, 2, false,
                    "boxtool: KQADRS.BOX: the collector refuses this box: the card chain is broken"}),
    [](const testing::TestParamInfo<CompactCase>& info) { return info.param.name; });
// clang-format on

TEST(CompactDryRun, TellsWhatTheCollectionDoes) {
  expectGolden("boxtool/compact_dry_run.txt", runBoxtool({"compact", "--dry-run", "KQADRS.box"}).out);
}

}  // namespace
