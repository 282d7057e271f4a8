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
#include "golden.h"
#include "item_info.h"
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

// RFC 4180 rows: quoted fields with doubled quotes, CRLF line ends.
std::vector<std::vector<std::string>> parseCsv(const std::string& text) {
  std::vector<std::vector<std::string>> rows(1, std::vector<std::string>(1));
  bool quoted = false;
  for (size_t i = 0; i < text.size(); ++i) {
    const char c = text[i];
    if (quoted) {
      if (c == '"' && i + 1 < text.size() && text[i + 1] == '"') {
        rows.back().back() += '"';
        ++i;
      } else if (c == '"') {
        quoted = false;
      } else {
        rows.back().back() += c;
      }
    } else if (c == '"') {
      quoted = true;
    } else if (c == ',') {
      rows.back().emplace_back();
    } else if (c == '\r' && i + 1 < text.size() && text[i + 1] == '\n') {
      rows.emplace_back(1);
      ++i;
    } else {
      rows.back().back() += c;
    }
  }
  rows.pop_back();  // behind the last line end
  return rows;
}

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

// Control characters, quotes and backslashes in a value come back as they
// were from the JSON export.
TEST(ExportJson, EscapesWhatAJsonStringCannotHold) {
  const std::string value = "a\x01\x1f\"\\\n\r\tb";
  TempBox box(BoxBuilder().field(1, "NAME", "Name").card(1, {text(value)}).terminator().build().bytes);
  const Json j = Json::parse(runBoxtool({"export", box.path()}).out);
  EXPECT_EQ(j.at("records").at(0).at("values").at(0), value);
}

// A small address book in which card ID 3 was deleted (its ID set to 0, the
// body left as it was) and a garbage card of filler bytes follows.
Bytes bookWithADeletedCard() {
  BoxBuilder b = addressFields();
  for (unsigned id = 1; id <= 5; ++id) b.card(static_cast<uint16_t>(id), addressValues(id));
  b.garbage(30).terminator();
  BuiltBox box = b.build();
  setCardId(box.bytes, box.offsets[2], 0);
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
  EXPECT_EQ(v.kind == ValueKind::kInteger ? std::to_string(v.integer) : v.text, c.shown);
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

// Every file a rescue is tried on: every golden box and the damaged samples.
std::vector<std::string> rescueInputs() {
  std::vector<std::string> names = goldenBoxes();
  for (const Sample& s : samples()) names.push_back("sample:" + s.name);
  return names;
}

Bytes inputBytes(const std::string& name) {
  if (name.starts_with("sample:")) {
    for (const Sample& s : samples())
      if ("sample:" + s.name == name) return s.bytes;
  }
  return goldenBytes(name);
}

// The records in the given states whose values are all there, each as its
// values' bytes.
std::multiset<std::vector<Bytes>> recordValues(const Bytes& bytes, std::set<RecordState> states) {
  BoxAnalysis a(ByteView(bytes.data(), static_cast<uint32_t>(bytes.size())));
  {
    // Delivery raises the levels that tell damaged cards from sound ones.
    struct Silent : Reporter {
      void message(const char*, va_list) override {}
      void entry(int32_t, uint32_t, uint32_t, uint32_t, uint32_t, const char*, const char*,
                 va_list) override {}
    } silent;
    ReportScope quiet(&silent, {});
    a.run();
  }
  std::multiset<std::vector<Bytes>> out;
  if (!a.itemInfo) return out;
  const ByteView view = a.file.view();
  for (const Record& r : listRecords(view, *a.chain, *a.itemInfo, true)) {
    if (!states.count(r.state)) continue;
    const CardValues v(view, r.offset, *a.itemInfo);
    std::vector<Bytes> values;
    for (int k = 0; k < v.count() && valuePresent(v, k, r.end); ++k) {
      const uint8_t* p = view.data() + v.position(k);
      values.emplace_back(p, p + v.length(k));
    }
    // A card the checks pass whose lengths the file cuts off has lost values.
    if (values.size() == static_cast<size_t>(v.count())) out.insert(values);
  }
  return out;
}

class RescueOf : public testing::TestWithParam<std::string> {};

TEST_P(RescueOf, ChecksCleanAndKeepsEverySoundRecord) {
  const Bytes broken = inputBytes(GetParam());
  const ByteView view(broken.data(), static_cast<uint32_t>(broken.size()));
  for (const bool deleted : {false, true}) {
    const RescuedBox r = rescueBox(view, nullptr, deleted);
    if (!r.problem.empty()) {
      // Only a field table that cannot be read stops a rescue.
      EXPECT_NE(readFieldTable(view).problem, "") << r.problem;
      continue;
    }
    for (const std::string& line : splitLines(analysisText(r.bytes))) {
      unsigned code = 0;
      if (std::sscanf(line.c_str(), " %8x", &code) == 1 && line.find("--") == std::string::npos) {
        EXPECT_EQ(code & 0xC0000000u, 0u) << line;
      }
    }
    // Every record the analysis read as sound is in the new box, values and all.
    const auto before = recordValues(broken, {RecordState::kSound});
    const auto after = recordValues(r.bytes, {RecordState::kSound});
    for (const auto& record : before) EXPECT_GE(after.count(record), before.count(record));
    EXPECT_EQ(after.size(), r.kept);
  }
}

INSTANTIATE_TEST_SUITE_P(Boxes, RescueOf, testing::ValuesIn(rescueInputs()),
                         [](const testing::TestParamInfo<std::string>& info) {
                           std::string name = info.param;
                           for (char& c : name)
                             if (!std::isalnum(static_cast<unsigned char>(c))) c = '_';
                           return name;
                         });

struct RecoverCase {
  const char* name;
  Bytes broken;
  Args options;    // before BROKEN.BOX NEW.BOX
  bool newExists;  // NEW.BOX exists before the run
  int status;
  std::string err;  // the start of standard error
  bool written;     // NEW.BOX holds a new box afterwards
};

void PrintTo(const RecoverCase& c, std::ostream* os) { *os << c.name; }

class Recover : public testing::TestWithParam<RecoverCase> {};

TEST_P(Recover, NeverWritesTheBrokenBoxAndReplacesOnlyWhenForced) {
  const RecoverCase& c = GetParam();
  TempBox box(c.broken, "BROKEN.BOX");
  ASSERT_TRUE(writeFile(box.dir() + "/SOUND.BOX", goldenBytes("KQADRS.box")));
  if (c.newExists) {
    ASSERT_TRUE(writeFile(box.dir() + "/NEW.BOX", text("keep me")));
  }
  const RunResult r = runBoxtool(with(with({"recover"}, c.options), {"BROKEN.BOX", "NEW.BOX"}), box.dir());
  EXPECT_EQ(r.status, c.status) << r.err;
  EXPECT_EQ(r.err.substr(0, c.err.size()), c.err);
  const std::string written = readWholeFile(box.dir() + "/NEW.BOX");
  EXPECT_EQ(readWholeFile(box.path()), std::string(c.broken.begin(), c.broken.end()));
  if (c.written) {
    EXPECT_EQ(runBoxtool({"check", "--quiet", "NEW.BOX"}, box.dir()).status & 2, 0);
  } else {
    EXPECT_EQ(written, c.newExists ? "keep me" : "");
  }
}

// The sound sample with its first field's record length set.
Bytes withFieldLength(uint16_t length) {
  Bytes b = goldenBytes("KQADRS.box");
  setItemRecordLength(b, 0, length);
  return b;
}

// clang-format off
INSTANTIATE_TEST_SUITE_P(
    Cases, Recover,
    testing::Values(
        RecoverCase{"damaged", goldenBytes("GARBAGE.box"), {}, false, 0, "", true},
        RecoverCase{"records_dropped", goldenBytes("TRUNC.box"), {}, false, 1, "", true},
        RecoverCase{"new_box_exists", goldenBytes("GARBAGE.box"), {}, true, 4,
                    "boxtool: NEW.BOX: exists; give --force", false},
        RecoverCase{"forced", goldenBytes("GARBAGE.box"), {"--force"}, true, 0, "", true},
        RecoverCase{"fields_unreadable", withFieldLength(3), {}, false, 2,
                    "boxtool: BROKEN.BOX: the item info cannot be read (field 0 is shorter", false},
        RecoverCase{"fields_run_past_the_first_card", withFieldLength(0xffff), {}, false, 2,
                    "boxtool: BROKEN.BOX: the item info cannot be read (field 0 of 10 runs past the first card)", false},
        RecoverCase{"fields_from_a_sound_box", withFieldLength(3), {"--fields-from", "SOUND.BOX"}, false,
                    0, "", true},
        RecoverCase{"fields_from_a_missing_box", withFieldLength(3), {"--fields-from", "NONE.BOX"}, false,
                    8, "boxtool: NONE.BOX: No such", false}),
    [](const testing::TestParamInfo<RecoverCase>& info) { return info.param.name; });
// clang-format on

TEST(RecoverIntoTheBrokenBox, IsRefused) {
  TempBox box(goldenBytes("GARBAGE.box"), "BROKEN.BOX");
  const RunResult r = runBoxtool({"recover", "--force", "BROKEN.BOX", "./BROKEN.BOX"}, box.dir());
  EXPECT_EQ(r.status, 4);
  EXPECT_EQ(readWholeFile(box.path()), readGolden("GARBAGE.box"));
}

TEST(RecoverDeleted, RestoresTheRecordUnderAFreeId) {
  TempBox box(bookWithADeletedCard(), "BROKEN.BOX");
  ASSERT_EQ(runBoxtool({"recover", "--deleted", "BROKEN.BOX", "NEW.BOX"}, box.dir()).status, 0);
  const auto rows = parseCsv(runBoxtool({"export", "--format", "csv", "NEW.BOX"}, box.dir()).out);
  std::vector<std::string> ids;
  for (size_t k = 1; k < rows.size(); ++k) ids.push_back(rows[k][2] + ":" + rows[k][3] + ":" + rows[k][5]);
  EXPECT_EQ(ids, (std::vector<std::string>{"1:sound:Nakamura Emi", "2:sound:Tanaka Hiroshi",
                                           "3:sound:Yoshida Kaori", "4:sound:Yamamoto Kenji",
                                           "5:sound:Takahashi Mika"}));
}

class RecoverSummary : public testing::TestWithParam<std::string> {};

TEST_P(RecoverSummary, MatchesTheGoldenFile) {
  TempBox box(goldenBytes(GetParam() + ".box"), "BROKEN.BOX");
  expectGolden("boxtool/recover_" + GetParam() + ".txt",
               runBoxtool({"recover", "--deleted", "BROKEN.BOX", "NEW.BOX"}, box.dir()).out);
}

INSTANTIATE_TEST_SUITE_P(Boxes, RecoverSummary, testing::Values("TRUNC", "DUPLICATE", "GARBAGE", "BADITEMS"));

}  // namespace
