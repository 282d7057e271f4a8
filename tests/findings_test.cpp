// The delivery gates and the position they keep, levels and verdict, the
// progress throttle and debug lines.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdarg>
#include <string>
#include <vector>

#include "box_analysis.h"
#include "findings.h"
#include "golden.h"
#include "reporter.h"

namespace {

// Records what reaches it.
class RecordingReporter : public Reporter {
 public:
  void message(const char* format, va_list args) override {
    char buf[512];
    vsnprintf(buf, sizeof buf, format, args);
    messages.emplace_back(buf);
  }
  void entry(int32_t, uint32_t, uint32_t, uint32_t, uint32_t, const char*, const char*, va_list) override {
    ++entries;
  }
  int progress(int stage, int percent) override {
    progressCalls.emplace_back(stage, percent);
    return 1;
  }
  size_t entries = 0;
  std::vector<std::string> messages;
  std::vector<std::pair<int, int>> progressCalls;
};

time_t fakeNow = 1000;
time_t fakeClock() { return fakeNow; }

class FindingsTest : public testing::Test {
 protected:
  void SetUp() override {
    resetReportState();
    currentReporter = &sink;
    setProgressClock(fakeClock);
  }
  void TearDown() override {
    resetReportState();
    setProgressClock(nullptr);
  }
  RecordingReporter sink;
  Checker checker;
};

struct Gate {
  const char* name;
  int32_t index;
  uint32_t code;
  bool noisy, verbose, delivered;
};

void PrintTo(const Gate& g, std::ostream* os) { *os << g.name; }

class DeliveryGates : public FindingsTest, public testing::WithParamInterface<Gate> {};

TEST_P(DeliveryGates, DecideFromIndexCodeAndSwitches) {
  const Gate& g = GetParam();
  noisy = g.noisy;
  verbose = g.verbose;
  report(checker, g.index, 0x900, 0x12, 0x40, g.code, "text");
  EXPECT_EQ(sink.entries, g.delivered ? 1u : 0u);
  // Only a delivered code reaches the level; the position is kept either way.
  EXPECT_EQ(checker.level, g.delivered ? g.code : 0u);
  EXPECT_EQ(lastIndex, g.index);
}

INSTANTIATE_TEST_SUITE_P(
    Rows, DeliveryGates,
    testing::Values(Gate{"section_position", -1, 0, false, false, true},
                    Gate{"card_position", 3, 0, false, false, false},
                    Gate{"card_position_noisy", 3, 0, true, false, true},
                    Gate{"listing", -2, 0x08000003, true, false, false},
                    Gate{"listing_verbose", -2, 0x08000003, false, true, true},
                    Gate{"listing_at_a_card_verbose", 3, 0x08000003, false, true, false},
                    Gate{"listing_at_a_card_noisy_verbose", 3, 0x08000003, true, true, true},
                    Gate{"no_severity_at_a_card", 5, 0x00000001, false, true, false},
                    Gate{"no_severity_at_a_card_noisy", 5, 0x00000001, true, false, true},
                    Gate{"no_severity_in_a_section", -4, 0x00000001, false, false, true},
                    Gate{"bit_24_counts_as_a_severity", 7, 0x01000000, false, false, true},
                    Gate{"notice", 4, code::kNotice, false, false, true},
                    Gate{"error_at_a_card", 4, 0x40000200, false, false, true}),
    [](const testing::TestParamInfo<Gate>& info) { return info.param.name; });

TEST_F(FindingsTest, VerdictAndNothingDeliveredWithoutASink) {
  EXPECT_FALSE(levelFails(0x20000001 | 0x08000007 | 0x10000000));
  EXPECT_TRUE(levelFails(0x40000000));
  EXPECT_TRUE(levelFails(0x80000000));
  currentReporter = nullptr;
  reportAt(checker, -1, 0x80000002, "no sink: nothing delivered");
  EXPECT_EQ(checker.level, 0u);
  EXPECT_EQ(lastIndex, -1);
}

TEST_F(FindingsTest, ProgressPercentAndOnePerSecond) {
  reportProgress(0, 0, 0);
  fakeNow++;
  reportProgress(1, 7, 7);
  reportProgress(1, 7, 7);  // same second: dropped
  fakeNow++;
  reportProgress(2, 99, 0);
  fakeNow++;
  reportProgress(1, 0xFFFFFFFFull, 0xFFFFFFFFull);  // no overflow, no division by zero
  const std::vector<std::pair<int, int>> expected = {{0, 0}, {1, 87}, {2, 100}, {1, 99}};
  EXPECT_EQ(sink.progressCalls, expected);
  // The time is never reset: a new run within the same second loses its first call.
  reportProgress(0, 1, 2);
  EXPECT_EQ(sink.progressCalls.size(), 4u);
}

time_t tickingClock() { return ++fakeNow; }

// With a clock that lets every call through: the stages in their order, and
// the offset table's progress counted by its runs (KQADRS has three).
TEST_F(FindingsTest, AnAnalysisReportsItsStagesInOrder) {
  setProgressClock(tickingClock);
  const std::string bytes = boxtest::readGolden("KQADRS.box");
  BoxAnalysis analysis(
      ByteView(reinterpret_cast<const uint8_t*>(bytes.data()), static_cast<uint32_t>(bytes.size())));
  analysis.run();
  std::vector<int> stages, census, offsetTable;
  for (const auto& [stage, percent] : sink.progressCalls) {
    if (stages.empty() || stages.back() != stage) stages.push_back(stage);
    if (stage == 1) census.push_back(percent);
    if (stage == 2) offsetTable.push_back(percent);
  }
  EXPECT_EQ(stages, (std::vector<int>{0, 1, 2}));
  // The census counts pairs of cards: it climbs and ends short of 100.
  EXPECT_TRUE(std::is_sorted(census.begin(), census.end()) && census.back() < 100 && census.back() > 90);
  EXPECT_EQ(offsetTable, (std::vector<int>{25, 50, 75}));
}

TEST_F(FindingsTest, DebugLinesNeedDebugAndASink) {
  debugMessage("a %d", 1);
  debug = true;
  debugMessage("b %d", 2);
  currentReporter = nullptr;
  debugMessage("c %d", 3);
  EXPECT_EQ(sink.messages, std::vector<std::string>{"b 2"});
}

}  // namespace
