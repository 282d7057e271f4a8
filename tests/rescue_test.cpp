// The rescue of damaged boxes: what it keeps, what it refuses and what it
// says is missing, on the golden boxes, on boxes that rescues once got
// wrong (tests/data/rescue), on damaged boxes of known records, and the
// field table that a damaged box still holds.
#include <gtest/gtest.h>

#include <map>
#include <nlohmann/json.hpp>

#include "analysis_text.h"
#include "box_analysis.h"
#include "box_builder.h"
#include "field_table.h"
#include "golden.h"
#include "record_map.h"
#include "report_scope.h"
#include "reporter.h"
#include "rescue.h"
#include "rescue_trial.h"
#include "run_vorn.h"
#include "samples.h"

using namespace boxtest;
using Args = std::vector<std::string>;

namespace {

// The bodies of the records a box holds whole (the sound ones of a sound box).
std::multiset<Bytes> wholeBodies(const Bytes& bytes) {
  BoxAnalysis a(ByteView(bytes.data(), static_cast<uint32_t>(bytes.size())));
  {
    SilentReporter silent;
    ReportScope quiet(&silent, {});
    a.run();
  }
  std::multiset<Bytes> out;
  if (!a.itemInfo) return out;
  const ByteView view = a.file.view();
  for (const Record& r :
       mapRecords(view, *a.chain, *a.itemInfo, a.headerCheck->firstCardOffset(), {}).records) {
    if (!r.whole) continue;
    const uint8_t* body = view.data() + r.offset + 6;
    out.insert(Bytes(body, view.data() + r.end));
  }
  return out;
}

// Every golden box and damaged sample rescues into a box that checks clean
// and holds every record the input holds whole.
class RescueOf : public testing::TestWithParam<std::string> {};

TEST_P(RescueOf, ChecksCleanAndKeepsEveryWholeRecord) {
  Bytes broken;
  for (const Sample& s : samples())
    if ("sample:" + s.name == GetParam()) broken = s.bytes;
  if (broken.empty()) broken = goldenBytes(GetParam());
  const ByteView view(broken.data(), static_cast<uint32_t>(broken.size()));
  for (const bool deleted : {false, true}) {
    const RescuedBox r = rescueBox(view, {.deleted = deleted});
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
    const auto before = wholeBodies(broken);
    const auto after = wholeBodies(r.bytes);
    for (const Bytes& body : before) EXPECT_GE(after.count(body), before.count(body));
  }
}

std::vector<std::string> rescueInputs() {
  std::vector<std::string> names = goldenBoxes();
  for (const Sample& s : samples()) names.push_back("sample:" + s.name);
  return names;
}

INSTANTIATE_TEST_SUITE_P(Boxes, RescueOf, testing::ValuesIn(rescueInputs()),
                         [](const testing::TestParamInfo<std::string>& info) {
                           std::string name = info.param;
                           for (char& c : name)
                             if (!std::isalnum(static_cast<unsigned char>(c))) c = '_';
                           return name;
                         });

// Boxes of known records, damaged in every way, with and without deleted
// records restored: every record whose bytes are untouched comes back as it
// was, nothing comes back that was no card of the box, and a rescue that
// lost a record never says that nothing is missing.
class RescueTrial : public testing::TestWithParam<int> {};

TEST_P(RescueTrial, KeepsEveryIntactRecordAndInventsNone) {
  for (int t = 0; t < kTableCount; ++t) {
    for (const uint32_t seed : {1u, 2u}) {
      const Trial trial{static_cast<Table>(t), static_cast<Damage>(GetParam()), seed};
      const TrialResult r = runTrial(trial);
      const std::string what = std::string(tableName(trial.table)) + ", seed " + std::to_string(seed);
      EXPECT_FALSE(r.failed) << what << ": " << r.note;
      EXPECT_EQ(r.intactKept, r.intact) << what << ": " << r.note;
      EXPECT_EQ(r.invented, 0u) << what << ": " << r.note;
      EXPECT_FALSE(r.falseWhole) << what;
      EXPECT_GT(r.intact, 0u) << what;
    }
  }
}

INSTANTIATE_TEST_SUITE_P(Damages, RescueTrial, testing::Range(0, kDamageCount),
                         [](const testing::TestParamInfo<int>& info) {
                           std::string name = damageName(static_cast<Damage>(info.param));
                           for (char& c : name)
                             if (!std::isalnum(static_cast<unsigned char>(c))) c = '_';
                           return name;
                         });

// Boxes that rescues once got wrong: the summary (a golden file) and the
// exit status.
struct CaseRun {
  const char* box;  // in tests/data/rescue
  Args options;
  int status;
};

void PrintTo(const CaseRun& c, std::ostream* os) { *os << c.box; }

class RescueCase : public testing::TestWithParam<CaseRun> {};

TEST_P(RescueCase, SaysWhatWasKeptAndWhatIsMissing) {
  const CaseRun& c = GetParam();
  TempBox box(goldenBytes(std::string("rescue/") + c.box + ".box"), "BROKEN.BOX");
  ASSERT_TRUE(writeFile(box.dir() + "/SOUND.BOX", goldenBytes("KQADRS.box")));
  const RunResult r = runBoxtool(with(with({"recover"}, c.options), {"BROKEN.BOX", "NEW.BOX"}), box.dir());
  EXPECT_EQ(r.status, c.status) << r.err;
  expectGolden(std::string("rescue/") + c.box + ".txt", r.out + r.err);
}

// clang-format off
INSTANTIATE_TEST_SUITE_P(
    Cases, RescueCase,
    testing::Values(
        CaseRun{"kq_count0", {}, 0},              // the count byte mended from the records
        CaseRun{"zeroed_iteminfo", {}, 2},        // no field table left: refused, the cards' count told
        CaseRun{"iteminfo_offset_flip", {}, 0},   // the table read where a sound box has it
        CaseRun{"kq_size_plus1", {}, 1},          // the records behind a broken size found, the broken one missing
        CaseRun{"kq_firstcard_byte", {}, 0},      // the first card found behind the item info
        CaseRun{"trunc_drops_intact", {}, 1},     // the record before the cut kept, those behind it listed
        CaseRun{"shifted_phantom", {}, 1},        // no misread record kept
        CaseRun{"memo_junk_tail", {}, 0},         // the last record kept, nothing made of the junk
        CaseRun{"kq_tail3", {"--json"}, 0}),      // a cut head is no claim; the summary for scripts
    [](const testing::TestParamInfo<CaseRun>& info) { return std::string(info.param.box); });
// clang-format on

// export on the same boxes: how many records in each state.
struct StatesCase {
  const char* box;
  std::map<std::string, int> states;
};

void PrintTo(const StatesCase& c, std::ostream* os) { *os << c.box; }

class RescueCaseExport : public testing::TestWithParam<StatesCase> {};

TEST_P(RescueCaseExport, ListsEveryRecordInItsState) {
  const RunResult r = runBoxtool({"export", std::string("rescue/") + GetParam().box + ".box"});
  std::map<std::string, int> states;
  const auto document = nlohmann::json::parse(r.out);
  for (const auto& record : document.at("records")) ++states[record.at("state").get<std::string>()];
  EXPECT_EQ(states, GetParam().states) << r.err;
}

// clang-format off
INSTANTIATE_TEST_SUITE_P(
    Cases, RescueCaseExport,
    testing::Values(
        StatesCase{"kq_tail3", {{"sound", 686}, {"damaged", 1}}},
        StatesCase{"kq_firstcard_byte", {{"sound", 686}}},
        StatesCase{"kq_count0", {{"sound", 686}}},
        StatesCase{"kq_size_plus1", {{"sound", 361}, {"damaged", 2}, {"found", 323}}}),
    [](const testing::TestParamInfo<StatesCase>& info) { return std::string(info.param.box); });
// clang-format on

// The field table of the sound sample after one change, as a rescue reads it.
struct TableCase {
  const char* name;
  void (*damage)(Bytes&);
  std::string mended;  // the start of the first change it reports; "" none
  bool readable;
  bool typesChanged;
};

void PrintTo(const TableCase& c, std::ostream* os) { *os << c.name; }

class FieldTableOf : public testing::TestWithParam<TableCase> {};

TEST_P(FieldTableOf, IsReadWhereTheCardsAgree) {
  const TableCase& c = GetParam();
  const Bytes sound = goldenBytes("KQADRS.box");
  Bytes b = sound;
  c.damage(b);
  const FieldTable table = readFieldTable(ByteView(b.data(), static_cast<uint32_t>(b.size())));
  EXPECT_EQ(table.problem.empty(), c.readable) << table.problem;
  EXPECT_EQ(table.cardValueCount, 10);
  EXPECT_EQ(table.mended.empty() ? "" : table.mended[0].substr(0, c.mended.size()), c.mended);
  EXPECT_EQ(table.typesChanged, c.typesChanged);
  if (c.readable) {
    // The records as they were; a data ID mended is the one byte that differs.
    const Bytes& original =
        readFieldTable(ByteView(sound.data(), static_cast<uint32_t>(sound.size()))).itemInfo;
    ASSERT_EQ(table.itemInfo.size(), original.size());
    size_t differ = 0;
    for (size_t k = 0; k < original.size(); ++k) differ += table.itemInfo[k] != original[k];
    EXPECT_EQ(differ, c.typesChanged ? 1u : 0u);
  }
}

// clang-format off
INSTANTIATE_TEST_SUITE_P(
    Changes, FieldTableOf,
    testing::Values(
        TableCase{"sound", [](Bytes&) {}, "", true, false},
        TableCase{"count_byte_zero", [](Bytes& b) { setItemCount(b, 0); }, "the count byte says 0 fields; 10", true, false},
        TableCase{"count_byte_too_large", [](Bytes& b) { setItemCount(b, 12); }, "the count byte says 12", true, false},
        TableCase{"record_length_damaged", [](Bytes& b) { setItemRecordLength(b, 3, 40); }, "field 3's record length 40 read as", true, false},
        TableCase{"record_length_below_6", [](Bytes& b) { setItemRecordLength(b, 0, 3); }, "field 0's record length 3", true, false},
        TableCase{"data_id_of_a_fixed_length", [](Bytes& b) { setItemDataId(b, 0, 6); }, "field 0: data ID 6 does not fit", true, true},
        TableCase{"data_id_unknown", [](Bytes& b) { setItemDataId(b, 2, 200); }, "field 2: unknown data ID 200", true, true},
        TableCase{"offset_moved", [](Bytes& b) { setHeader(b, HeaderField::kItemInfoOffset, 0x8e4); }, "read at 0x848", true, false},
        TableCase{"size_and_first_card_wrong", [](Bytes& b) { setHeader(b, HeaderField::kItemInfoSize, 3); setHeader(b, HeaderField::kFirstCard, 0x900); }, "", true, false},
        TableCase{"zeroed", zeroItemInfo, "", false, false}),
    [](const testing::TestParamInfo<TableCase>& info) { return std::string(info.param.name); });
// clang-format on

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
  ASSERT_TRUE(writeFile(box.dir() + "/OTHER.BOX", goldenBytes("card_time_and_week_values.box")));
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

// The sound sample with its item info zeroed.
Bytes withoutFieldTable() {
  Bytes b = goldenBytes("KQADRS.box");
  zeroItemInfo(b);
  return b;
}

// clang-format off
INSTANTIATE_TEST_SUITE_P(
    Cases, Recover,
    testing::Values(
        RecoverCase{"sound", goldenBytes("KQADRS.box"), {}, false, 0, "", true},
        RecoverCase{"records_missing", goldenBytes("TRUNC.box"), {}, false, 1, "", true},
        RecoverCase{"new_box_exists", goldenBytes("GARBAGE.box"), {}, true, 4,
                    "boxtool: NEW.BOX: exists; give --force", false},
        RecoverCase{"forced", goldenBytes("KQADRS.box"), {"--force"}, true, 0, "", true},
        RecoverCase{"fields_unreadable", withoutFieldTable(), {}, false, 2,
                    "boxtool: BROKEN.BOX: the item info cannot be read (it lists 0 fields, but the cards hold 10 "
                    "values each); give --fields-from", false},
        RecoverCase{"fields_from_a_sound_box", withoutFieldTable(), {"--fields-from", "SOUND.BOX"}, false,
                    0, "", true},
        RecoverCase{"fields_from_another_application", withoutFieldTable(), {"--fields-from", "OTHER.BOX"},
                    false, 2, "boxtool: BROKEN.BOX: the given field table lists", false},
        RecoverCase{"fields_from_a_missing_box", withoutFieldTable(), {"--fields-from", "NONE.BOX"}, false,
                    8, "boxtool: NONE.BOX: No such", false}),
    [](const testing::TestParamInfo<RecoverCase>& info) { return info.param.name; });
// clang-format on

TEST(RecoverIntoTheBrokenBox, IsRefused) {
  TempBox box(goldenBytes("GARBAGE.box"), "BROKEN.BOX");
  const RunResult r = runBoxtool({"recover", "--force", "BROKEN.BOX", "./BROKEN.BOX"}, box.dir());
  EXPECT_EQ(r.status, 4);
  EXPECT_EQ(readWholeFile(box.path()), readGolden("GARBAGE.box"));
}

class RecoverSummary : public testing::TestWithParam<std::string> {};

TEST_P(RecoverSummary, MatchesTheGoldenFile) {
  TempBox box(goldenBytes(GetParam() + ".box"), "BROKEN.BOX");
  expectGolden("boxtool/recover_" + GetParam() + ".txt",
               runBoxtool({"recover", "--deleted", "BROKEN.BOX", "NEW.BOX"}, box.dir()).out);
}

INSTANTIATE_TEST_SUITE_P(Boxes, RecoverSummary, testing::Values("TRUNC", "DUPLICATE", "GARBAGE", "BADITEMS"));

}  // namespace
