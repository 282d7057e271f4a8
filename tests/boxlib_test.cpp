// The box library's own check: which parts it finds failed, and that it
// leaves the analysis' process-wide settings as it found them.
#include <gtest/gtest.h>

#include <functional>

#include "box_builder.h"
#include "boxlib.h"
#include "findings.h"
#include "golden_cases.h"
#include "reporter.h"

using namespace boxtest;

namespace {

int check(const Bytes& bytes, int level = 255) {
  TempBox box(bytes);
  return _BXDFileCheckLevel(box.path().c_str(), level);
}

struct CheckCase {
  const char* name;
  std::function<void(BuiltBox&)> damage;
  int level;
  int expected;
};

void PrintTo(const CheckCase& c, std::ostream* os) { *os << c.name; }

class CheckCodes : public testing::TestWithParam<CheckCase> {};

TEST_P(CheckCodes, SayWhichSelectedPartsFailed) {
  BuiltBox box = smallBox();
  GetParam().damage(box);
  EXPECT_EQ(check(box.bytes, GetParam().level), GetParam().expected);
}

// A broken card fails the chain, and the census and the table no longer
// count it as the card the header and its entry promise.
// clang-format off
INSTANTIATE_TEST_SUITE_P(
    Rows, CheckCodes,
    testing::Values(
        CheckCase{"sound", [](BuiltBox&) {}, 255, 0},
        CheckCase{"wrong_total", [](BuiltBox& b) { setHeader(b.bytes, HeaderField::kDataSize, 9); }, 255,
                  BXD_CHECK_HEADER},
        CheckCase{"unknown_data_id", [](BuiltBox& b) { setItemDataId(b.bytes, 0, 0); }, 255, BXD_CHECK_ITEM_INFO},
        CheckCase{"broken_card", [](BuiltBox& b) { setStatedAreaLength(b.bytes, b.offsets[1], 7); }, 255,
                  BXD_CHECK_HEADER | BXD_CHECK_CARD_CHAIN | BXD_CHECK_OFFSET_TABLE},
        CheckCase{"missing_entry", [](BuiltBox& b) { setDefaultEntry(b.bytes, 2, 0); }, 255, BXD_CHECK_OFFSET_TABLE},
        CheckCase{"level_selects_the_parts", [](BuiltBox& b) { setDefaultEntry(b.bytes, 2, 0); }, BXD_CHECK_HEADER, 0},
        CheckCase{"laid_on_the_header", [](BuiltBox& b) {
                    setHeader(b.bytes, HeaderField::kDefaultTable, 0x10);
                    setDefaultEntry(b.bytes, 1, 0);
                  }, 255, BXD_CHECK_HEADER | BXD_CHECK_OFFSET_TABLE},
        CheckCase{"empty_file", [](BuiltBox& b) { b.bytes.clear(); }, 255, BXD_CHECK_UNREADABLE}),
    [](const testing::TestParamInfo<CheckCase>& info) { return info.param.name; });
// clang-format on

TEST(BoxLibraryCheck, MissingFileIsUnreadable) {
  EXPECT_EQ(_BXDFileCheckLevel("/nonexistent/KQDATE.BOX", 255), BXD_CHECK_UNREADABLE);
}

TEST(BoxLibraryCheck, LeavesTheAnalysisStateAsItFoundIt) {
  struct Sink : Reporter {
    void message(const char*, va_list) override { ++calls; }
    void entry(int32_t, uint32_t, uint32_t, uint32_t, uint32_t, const char*, const char*, va_list) override {
      ++calls;
    }
    int calls = 0;
  } sink;
  resetReportState();
  currentReporter = &sink;
  debug = true;
  noisy = true;
  lastIndex = 42;
  Bytes broken = smallBox().bytes;
  setHeader(broken, HeaderField::kDataSize, 9);
  EXPECT_NE(check(broken), 0);
  EXPECT_EQ(currentReporter, &sink);
  EXPECT_TRUE(debug && noisy && !verbose);
  EXPECT_EQ(lastIndex, 42);
  EXPECT_EQ(sink.calls, 0);
  resetReportState();
}

}  // namespace
