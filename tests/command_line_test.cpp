// The mode choice and the command line's answer to paths it cannot analyse.
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <chrono>
#include <cstdio>
#include <string>

#include "box_builder.h"
#include "hostile_files.h"
#include "run_vorn.h"

using namespace boxtest;

namespace {

TEST(ModeChoice, OnlyTheFirstArgumentDecides) {
  const BuiltBox built = BoxBuilder().terminator().build();
  TempBox box(built.bytes);

  const RunResult analysed = runVorn({box.path(), "-qcop", "ignored"});
  EXPECT_EQ(analysed.status, 0);
  EXPECT_EQ(analysed.out.rfind(" --   -1: 0x000000: 0xffffffff, 0x000048\n", 0), 0u);

  // No argument, or "-qcop" first, is the graphical mode, which without a
  // display explains itself instead of letting the toolkit abort.
  for (const auto& args : {std::vector<std::string>{}, std::vector<std::string>{"-qcop", box.path()}}) {
    const RunResult gui = runVorn(args);
    EXPECT_EQ(gui.status, 2);
    EXPECT_EQ(gui.out, "");
    EXPECT_EQ(gui.err.rfind("vorn: ", 0), 0u) << gui.err;
    EXPECT_NE(gui.err.find("; 'vorn FILE' analyses a box file on the command line\n"), std::string::npos);
    EXPECT_EQ(gui.err.find('\n'), gui.err.size() - 1);  // one line
  }
}

TEST(ModeChoice, FindingsDoNotChangeTheExitStatus) {
  Bytes b = BoxBuilder().terminator().build().bytes;
  setHeader(b, HeaderField::kDefaultTable, 0);  // Critical: table laid on the header
  TempBox box(b);
  const RunResult r = runVorn({box.path()});
  EXPECT_EQ(r.status, 0);
  EXPECT_NE(r.out.find("80000002 Default offset table is laid on box header."), std::string::npos);
}

// A path that cannot be analysed gives one line naming it and the reason,
// nothing on standard output, status 2, at once.
void expectRefused(const std::string& path, const std::string& reason) {
  const auto start = std::chrono::steady_clock::now();
  const RunResult r = runVorn({path}, 5);
  EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(1)) << path;
  EXPECT_EQ(r.status, 2) << path;
  EXPECT_EQ(r.out, "");
  EXPECT_EQ(r.err, "vorn: " + path + ": " + reason + "\n");
}

TEST(BadInput, PathsThatCannotBeAnalysed) {
  TempBox empty(Bytes{});
  expectRefused(empty.path(), "Empty file");
  expectRefused(empty.dir() + "/KQADRS.BOX", "No such file or directory");
  expectRefused(empty.dir(), "Is a directory");
  expectRefused("/dev/null", "Not a regular file");

  const std::string fifo = empty.dir() + "/fifo";
  ASSERT_EQ(mkfifo(fifo.c_str(), 0600), 0);
  expectRefused(fifo, "Not a regular file");

  // Offsets are 32 bits wide: a (sparse) file over 4 GiB cannot be a box.
  const std::string huge = empty.dir() + "/HUGE.BOX";
  FILE* f = std::fopen(huge.c_str(), "wb");
  ASSERT_NE(f, nullptr);
  std::fclose(f);
  ASSERT_EQ(truncate(huge.c_str(), (off_t{1} << 32) + 1), 0);
  expectRefused(huge, "File too large to be a box file");

  const std::string dangling = empty.dir() + "/dangling";
  ASSERT_EQ(symlink("/nonexistent/box", dangling.c_str()), 0);
  expectRefused(dangling, "No such file or directory");
}

TEST(BadInput, UnreadableFile) {
  TempBox box(Bytes{1, 2, 3});
  ASSERT_EQ(chmod(box.dir().c_str(), 0755), 0);
  ASSERT_EQ(chmod(box.path().c_str(), 0), 0);
  const RunResult r = runVornUnprivileged({box.path()});
  EXPECT_EQ(r.status, 2);
  EXPECT_EQ(r.out, "");
  EXPECT_EQ(r.err, "vorn: " + box.path() + ": Permission denied\n");
}

TEST(BadInput, HostileFilesGiveFindingsNeverACrash) {
  for (const HostileFile& file : hostileFiles()) {
    TempBox box(file.bytes);
    const RunResult r = runVorn({box.path()}, 10);
    if (file.bytes.empty()) {
      EXPECT_EQ(r.status, 2) << file.name;
      continue;
    }
    EXPECT_EQ(r.status, 0) << file.name;
    EXPECT_EQ(r.err, "") << file.name;
    // The analysis went through to the offset table's summary.
    EXPECT_NE(r.out.find(" --   -3: 0x000064: 0xfffffffd"), std::string::npos) << file.name;
  }
}

TEST(BadInput, TinyFilesAreAnalysedWithoutReadingPastTheEnd) {
  for (size_t size : {1u, 2u, 71u, 72u, 2119u}) {
    Bytes b = BoxBuilder()
                  .field(4, "TIME", "t")
                  .card(1, {timeValue(100, 1, 1, 0, 0, 0)})
                  .terminator()
                  .build()
                  .bytes;
    b.resize(size);
    TempBox box(b);
    const RunResult r = runVorn({box.path()});
    EXPECT_EQ(r.status, 0) << size;
    EXPECT_EQ(r.err, "") << size;
    EXPECT_NE(r.out.find(" --   -3: 0x000064: 0xfffffffd"), std::string::npos) << size;
  }
}

}  // namespace
