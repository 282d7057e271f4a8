// The delivery gates, the position registers, levels and verdict, the
// progress throttle and the console line formats.
#include <gtest/gtest.h>

#include <cstdarg>
#include <string>
#include <vector>

#include "findings.h"
#include "reporter.h"

namespace {

struct Entry {
  int32_t index;
  uint32_t offset, id, size, code;
  std::string text, detail;
};

// Records what reaches it.
class RecordingReporter : public Reporter {
 public:
  void message(const char* format, va_list args) override {
    char buf[512];
    vsnprintf(buf, sizeof buf, format, args);
    messages.emplace_back(buf);
  }
  void entry(int32_t index, uint32_t offset, uint32_t id, uint32_t size, uint32_t code, const char* text,
             const char* format, va_list args) override {
    char buf[512] = "";
    if (format) vsnprintf(buf, sizeof buf, format, args);
    entries.push_back({index, offset, id, size, code, text ? text : "", buf});
  }
  int progress(int stage, int percent) override {
    progressCalls.emplace_back(stage, percent);
    return 1;
  }
  std::vector<Entry> entries;
  std::vector<std::string> messages;
  std::vector<std::pair<int, int>> progressCalls;
};

time_t fakeNow = 1000;
time_t fakeClock() { return fakeNow; }

class FindingsTest : public ::testing::Test {
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

TEST_F(FindingsTest, CardPositionIsRememberedButNotDeliveredWithoutNoisy) {
  report(checker, 3, 0x900, 0x12, 0x40, 0, nullptr);
  EXPECT_TRUE(sink.entries.empty());
  EXPECT_EQ(lastIndex, 3);
  EXPECT_EQ(lastOffset, 0x900u);
  EXPECT_EQ(lastId, 0x12u);
  EXPECT_EQ(lastSize, 0x40u);

  reportHere(checker, 0x40000200, "Total data size is wrong", " (%d => %d).", 258, 300);
  ASSERT_EQ(sink.entries.size(), 1u);
  const Entry& e = sink.entries[0];
  EXPECT_EQ(e.index, 3);
  EXPECT_EQ(e.offset, 0x900u);
  EXPECT_EQ(e.id, 0x12u);
  EXPECT_EQ(e.size, 0x40u);
  EXPECT_EQ(e.detail, " (258 => 300).");
  EXPECT_EQ(checker.level, 0x40000200u);
}

TEST_F(FindingsTest, GatesFollowIndexCodeAndSwitches) {
  report(checker, -1, 0, static_cast<uint32_t>(-1), 72, 0, nullptr);  // section start: always
  EXPECT_EQ(sink.entries.size(), 1u);

  reportAt(checker, -2, 0x08000003, "Item Infos.");  // listing needs verbose
  noisy = true;
  reportAt(checker, -2, 0x08000003, "Item Infos.");  // noisy does not admit it
  EXPECT_EQ(sink.entries.size(), 1u);
  noisy = false;
  verbose = true;
  reportAt(checker, -2, 0x08000003, "Item Infos.");
  EXPECT_EQ(sink.entries.size(), 2u);

  reportAt(checker, 5, 0x00000001, "x");  // no severity bit at a card: noisy only
  EXPECT_EQ(sink.entries.size(), 2u);
  reportAt(checker, -4, 0x00000001, "x");  // ... but always in a section
  EXPECT_EQ(sink.entries.size(), 3u);
  noisy = true;
  reportAt(checker, 5, 0x00000001, "x");
  EXPECT_EQ(sink.entries.size(), 4u);
  EXPECT_EQ(sink.entries.back().index, 5);

  reportAt(checker, 7, 0x01000000, "bit 24 counts as a severity");
  noisy = false;
  reportAt(checker, 7, 0x01000000, "bit 24 counts as a severity");
  EXPECT_EQ(sink.entries.size(), 6u);
}

TEST_F(FindingsTest, OnlyDeliveredCodesRaiseLevelsAndDecideTheVerdict) {
  Checker other;
  reportAt(checker, 4, 0x00000002, "undelivered");
  EXPECT_EQ(checker.level, 0u);

  reportAt(checker, -1, 0x20000001, "w");
  reportAt(checker, -1, 0x10000000, "notice");
  reportAt(other, -2, 0x08000007, "listing");  // verbose is off: not delivered
  EXPECT_EQ(other.level, 0u);
  EXPECT_FALSE(levelFails(checker.level | other.level));
  EXPECT_FALSE(levelFails(0x20000001 | 0x08000007 | 0x10000000));
  EXPECT_TRUE(levelFails(0x40000000));
  EXPECT_TRUE(levelFails(0x80000000));

  currentReporter = nullptr;
  reportAt(other, -1, 0x80000002, "no sink: nothing delivered");
  EXPECT_EQ(other.level, 0u);
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
  EXPECT_EQ(lastProgressTime, fakeNow);

  // The time is never reset: a new run within the same second loses its first call.
  reportProgress(0, 1, 2);
  EXPECT_EQ(sink.progressCalls.size(), 4u);
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
