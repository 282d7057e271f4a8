// The box library's own check: which parts it finds failed, and that it
// leaves the analysis' process-wide settings as it found them.
#include <gtest/gtest.h>

#include "boxlib.h"
#include "findings.h"
#include "output.h"
#include "reporter.h"

using namespace boxtest;

namespace {

int check(const Bytes& bytes, int level = 255) {
  TempBox box(bytes);
  return _BXDFileCheckLevel(box.path().c_str(), level);
}

TEST(BoxLibraryCheck, CodeSaysWhichPartsFailed) {
  const BuiltBox sound = smallSoundBox();
  EXPECT_EQ(check(sound.bytes), 0);

  Bytes totals = sound.bytes;
  setHeader(totals, HeaderField::kDataSize, 9);  // wrong total data size
  EXPECT_EQ(check(totals), BXD_CHECK_HEADER);

  Bytes items = sound.bytes;
  setItemDataId(items, 0, 0);  // unknown data ID
  EXPECT_EQ(check(items), BXD_CHECK_ITEM_INFO);

  Bytes entries = sound.bytes;
  setDefaultEntry(entries, 2, 0);  // card 2 without its offset entry
  EXPECT_EQ(check(entries), BXD_CHECK_OFFSET_TABLE);
  EXPECT_EQ(check(entries, BXD_CHECK_HEADER), 0);  // the level selects what is judged

  Bytes card = sound.bytes;
  setStatedAreaLength(card, sound.offsets[1], 7);  // wrong item length area: salvaged as garbage
  EXPECT_EQ(check(card) & BXD_CHECK_CARD_CHAIN, BXD_CHECK_CARD_CHAIN);

  EXPECT_EQ(check({}), BXD_CHECK_UNREADABLE);
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
  Bytes broken = smallSoundBox().bytes;
  setHeader(broken, HeaderField::kDataSize, 9);
  EXPECT_NE(check(broken), 0);
  EXPECT_EQ(currentReporter, &sink);
  EXPECT_TRUE(debug && noisy && !verbose);
  EXPECT_EQ(lastIndex, 42);
  EXPECT_EQ(sink.calls, 0);
  resetReportState();
}

}  // namespace
