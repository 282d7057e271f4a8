// The vorn program from outside: the mode choice, paths it cannot analyse,
// and the whole output of the binary, which must be the golden output.
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdio>
#include <string>

#include "analysis_text.h"
#include "golden.h"
#include "golden_cases.h"
#include "run_vorn.h"

using namespace boxtest;

namespace {

TEST(ModeChoice, OnlyTheFirstArgumentDecides) {
  TempBox box(BoxBuilder().terminator().build().bytes);
  const RunResult analysed = runVorn({box.path(), "-qcop", "ignored"});
  EXPECT_EQ(analysed.status, 0);
  EXPECT_EQ(analysed.out.rfind(" --   -1: 0x000000: 0xffffffff, 0x000048\n", 0), 0u);

  // No argument, or "-qcop" first, is the graphical mode, which without a
  // display explains itself in one line instead of letting the toolkit abort.
  for (const auto& args : {std::vector<std::string>{}, std::vector<std::string>{"-qcop", box.path()}}) {
    const RunResult gui = runVorn(args);
    EXPECT_EQ(gui.status, 2);
    EXPECT_EQ(gui.out, "");
    EXPECT_EQ(gui.err.rfind("vorn: ", 0), 0u) << gui.err;
    EXPECT_NE(gui.err.find("'vorn FILE' analyses a box file on the command line\n"), std::string::npos);
    EXPECT_EQ(gui.err.find('\n'), gui.err.size() - 1);
  }
}

// Each row: how to make the path in a directory holding an empty TEST.BOX,
// and the reason vorn gives.  The answer is
// one line on standard error, nothing on standard output, status 2.
struct Refusal {
  const char* name;
  std::string (*make)(const std::string& dir);
  const char* reason;
};

const Refusal kRefusals[] = {
    {"empty", [](const std::string& d) { return d + "/TEST.BOX"; }, "Empty file"},
    {"missing", [](const std::string& d) { return d + "/KQADRS.BOX"; }, "No such file or directory"},
    {"directory", [](const std::string& d) { return d; }, "Is a directory"},
    {"device", [](const std::string&) { return std::string("/dev/null"); }, "Not a regular file"},
    {"fifo",
     [](const std::string& d) {
       const std::string p = d + "/fifo";
       return mkfifo(p.c_str(), 0600) == 0 ? p : std::string();
     },
     "Not a regular file"},
    {"over 4 GiB",  // sparse: offsets are 32 bits wide
     [](const std::string& d) {
       const std::string p = d + "/TEST.BOX";
       return truncate(p.c_str(), (off_t{1} << 32) + 1) == 0 ? p : std::string();
     },
     "File too large to be a box file"},
    {"dangling link",
     [](const std::string& d) {
       const std::string p = d + "/dangling";
       return symlink("/nonexistent/box", p.c_str()) == 0 ? p : std::string();
     },
     "No such file or directory"},
};

TEST(BadInput, PathsThatCannotBeAnalysed) {
  for (const Refusal& r : kRefusals) {
    TempBox dir(Bytes{});
    const std::string path = r.make(dir.dir());
    ASSERT_FALSE(path.empty()) << r.name;
    const RunResult run = runVorn({path});
    EXPECT_EQ(run.status, 2) << r.name;
    EXPECT_EQ(run.out, "") << r.name;
    EXPECT_EQ(run.err, "vorn: " + path + ": " + r.reason + "\n") << r.name;
  }
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

// The binary prints what the in-process analysis prints, for every golden box.
TEST(WholeOutput, TheBinaryPrintsTheGoldenOutputs) {
  for (const GoldenCase& c : goldenCases()) {
    const RunResult r = runVorn({goldenPath(c.name + ".box")});
    EXPECT_EQ(r.status, 0) << c.name;
    EXPECT_EQ(r.err, "") << c.name;
    EXPECT_TRUE(maskAddress(r.out) == readGolden(c.name + ".out")) << c.name;
  }
}

}  // namespace
