// A box file that another process truncates while it is being analysed.
#include <gtest/gtest.h>

#include "address_book.h"
#include "command_line.h"
#include "findings.h"
#include "shrinker.h"

using namespace boxtest;

namespace {

TEST(ShrinkingFile, CommandLineKeepsWhatItPrintedAndSaysSo) {
  // 3000 cards; card 2 has a finding, the cut comes at card 200, in the
  // first pages, so everything behind it is gone.
  BuiltBox built = bigAddressBook(3000, false);
  setHeader(built.bytes, HeaderField::kDefaultTable, 0x50);  // a header warning to see in the output
  TempBox box(built.bytes);
  resetReportState();
  testing::internal::CaptureStdout();
  testing::internal::CaptureStderr();
  int status;
  {
    Shrinker shrink(box.path(), 200, 8192);
    status = commandLineAnalysis(box.path().c_str());
  }
  const std::string out = testing::internal::GetCapturedStdout();
  const std::string err = testing::internal::GetCapturedStderr();
  resetReportState();

  EXPECT_EQ(status, 2);
  EXPECT_EQ(err, "vorn: " + box.path() + ": the file shrank while it was being analysed\n");
  EXPECT_NE(out.find("20000002 Unusual offset of default offset table (0050)."), std::string::npos);
  EXPECT_NE(out.find("Item Info has 10 items"), std::string::npos);
  // Nothing about the zeros behind the cut: no trace end, no census, no table.
  EXPECT_EQ(out.find("trace end at"), std::string::npos);
  EXPECT_EQ(out.find(" --   -3:"), std::string::npos);
}

}  // namespace
