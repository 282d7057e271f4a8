// A box file that another process truncates while it is being analysed, and
// bus errors that have nothing to do with the box.
#include <gtest/gtest.h>
#include <setjmp.h>
#include <signal.h>
#include <sys/mman.h>
#include <unistd.h>

#include <fcntl.h>

#include <memory>
#include <vector>

#include "address_book.h"
#include "box_file.h"
#include "command_line.h"
#include "findings.h"
#include "shrinker.h"

using namespace boxtest;

namespace {

TEST(ShrinkingFile, CommandLineKeepsWhatItPrintedAndSaysSo) {
  // 3000 cards; the cut comes at card 200, in the first pages, so everything
  // behind it is gone.
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

sigjmp_buf outOfTheFault;
volatile sig_atomic_t faults = 0;
void onFault(int) {
  faults = faults + 1;
  siglongjmp(outOfTheFault, 1);
}

TEST(ShrinkingFile, ABusErrorOutsideTheBoxGoesToTheHandlerBefore) {
  struct sigaction mine = {};
  mine.sa_handler = onFault;
  struct sigaction before;
  ASSERT_EQ(sigaction(SIGBUS, &mine, &before), 0);
  {
    // While a box is mapped, another mapped file loses its pages.
    TempBox box(bigAddressBook(10, false).bytes);
    BoxFile mapped(box.path().c_str());
    ASSERT_NE(mapped.data, nullptr);
    TempBox other(Bytes(3 * 4096, 1));
    const int fd = open(other.path().c_str(), O_RDONLY);
    void* pages = mmap(nullptr, 3 * 4096, PROT_READ, MAP_SHARED, fd, 0);
    close(fd);
    ASSERT_NE(pages, MAP_FAILED);
    ASSERT_EQ(truncate(other.path().c_str(), 0), 0);
    if (sigsetjmp(outOfTheFault, 1) == 0) {
      const volatile uint8_t byte = static_cast<const uint8_t*>(pages)[4096];
      (void)byte;
    }
    munmap(pages, 3 * 4096);
    EXPECT_EQ(faults, 1);
    EXPECT_FALSE(mapped.shrank());
  }
  sigaction(SIGBUS, &before, nullptr);
}

TEST(ShrinkingFile, MappingsBeyondTheGuardedOnesAreNotTakenAsShrunk) {
  TempBox box(bigAddressBook(10, false).bytes);
  std::vector<std::unique_ptr<BoxFile>> files;  // more than the guard has places for
  for (int i = 0; i < 20; ++i) files.push_back(std::make_unique<BoxFile>(box.path().c_str()));
  for (const auto& file : files) EXPECT_TRUE(file->data && !file->shrank());
}

TEST(ShrinkingFileDeathTest, ABusErrorOutsideTheBoxStillEndsTheProcessByDefault) {
  EXPECT_EXIT(
      {
        signal(SIGBUS, SIG_DFL);
        TempBox box(bigAddressBook(10, false).bytes);
        BoxFile mapped(box.path().c_str());
        TempBox other(Bytes(3 * 4096, 1));
        const int fd = open(other.path().c_str(), O_RDONLY);
        const auto* pages =
            static_cast<const uint8_t*>(mmap(nullptr, 3 * 4096, PROT_READ, MAP_SHARED, fd, 0));
        if (truncate(other.path().c_str(), 0) == 0) {
          const volatile uint8_t byte = pages[4096];
          (void)byte;
        }
        std::exit(0);
      },
      testing::KilledBySignal(SIGBUS), "");
}

}  // namespace
