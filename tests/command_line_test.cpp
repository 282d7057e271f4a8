// The vorn program from outside: the mode choice, paths it cannot analyse,
// and the whole output of the binary, which must be the golden output.
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

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

// --help, -h, --version and -V are answered only when no file of that name
// exists; a file that has one is analysed, as any other first argument.
TEST(ModeChoice, HelpAndVersionUnlessAFileHasTheirName) {
  for (const char* option : {"--help", "-h", "--version", "-V"}) {
    const RunResult answered = runVorn({option});
    EXPECT_EQ(answered.status, 0) << option;
    EXPECT_EQ(answered.err, "") << option;
    const bool help = std::string(option) == "--help" || std::string(option) == "-h";
    EXPECT_NE(answered.out.find(help ? "vorn(1)" : "vorn 1."), std::string::npos) << option << answered.out;
    TempBox box(BoxBuilder().terminator().build().bytes, option);
    const RunResult analysed = runProgram(vornProgram(), {option}, false, box.dir());
    EXPECT_EQ(analysed.out.rfind(" --   -1: 0x000000", 0), 0u) << option;
  }
}

// A write to standard output that fails is said, with its cause.
TEST(BadOutput, AFullDiskIsTold) {
  for (const std::vector<std::string>& args :
       {std::vector<std::string>{goldenPath("KQADRS.box")}, {"--help"}}) {
    const RunResult r = runProgram(vornProgram(), args, false, "", "/dev/full");
    EXPECT_EQ(r.status, 2) << args[0];
    EXPECT_EQ(r.err, "vorn: standard output: No space left on device\n") << args[0];
  }
}

// On a terminal whose character set is not EUC-JP the Japanese lines come
// converted; in a pipe they stay the handheld's bytes.
TEST(Terminal, JapaneseLinesInTheTerminalsCharacterSet) {
  const std::string command = std::string(vornProgram()) + " " + goldenPath("KQADRS.box");
  const RunResult onTerminal =
      runProgram("/usr/bin/script", {"-qec", "LANG=C.UTF-8 " + command, "/dev/null"});
  EXPECT_NE(onTerminal.out.find("MAX\xe3\x82\xab\xe3\x83\xbc\xe3\x83\x89ID"),
            std::string::npos);  // MAXカードID
  EXPECT_NE(runVorn({goldenPath("KQADRS.box")}).out.find("MAX\xa5\xab\xa1\xbc\xa5\xc9ID"), std::string::npos);
}

// Each row: a path in a directory holding an empty TEST.BOX (the directory
// itself when empty, absolute when it starts with "/"), what makes it, and
// the reason vorn gives.  The answer is one line on standard error, nothing
// on standard output, status 2.
// clang-format off
const struct { const char *name, *file; int (*make)(const char* path); const char* reason; } kRefusals[] = {
    {"empty", "TEST.BOX", nullptr, "Empty file"},
    {"missing", "KQADRS.BOX", nullptr, "No such file or directory"},
    {"directory", "", nullptr, "Is a directory"},
    {"device", "/dev/null", nullptr, "Not a regular file"},
    {"fifo", "fifo", [](const char* p) { return mkfifo(p, 0600); }, "Not a regular file"},
    // Sparse: offsets are 32 bits wide.
    {"over 4 GiB", "TEST.BOX", [](const char* p) { return truncate(p, (off_t{1} << 32) + 1); }, "File too large to be a box file"},
    {"dangling link", "link", [](const char* p) { return symlink("/nonexistent/box", p); }, "No such file or directory"},
};
// clang-format on

TEST(BadInput, PathsThatCannotBeAnalysed) {
  for (const auto& r : kRefusals) {
    TempBox dir(Bytes{});
    const std::string path = *r.file == '/' ? r.file : *r.file ? dir.dir() + "/" + r.file : dir.dir();
    ASSERT_TRUE(!r.make || r.make(path.c_str()) == 0) << r.name;
    const RunResult run = runVorn({path});
    EXPECT_EQ(run.status, 2) << r.name;
    EXPECT_EQ(run.out, "") << r.name;
    EXPECT_EQ(run.err, "vorn: " + path + ": " + r.reason + "\n") << r.name;
  }
}

// A path is shown on standard error as boxtool shows it: control
// characters as \xNN, a backslash doubled, so that no path can move the
// cursor, colour the terminal or start a line of its own.
TEST(BadInput, PathsAreShownWithoutControlCharacters) {
  const struct {
    const char *given, *shown;
  } rows[] = {{"nosuch\x1b[31m.box", "nosuch\\x1b[31m.box"},
              {"two\nlines.box", "two\\x0alines.box"},
              {"tab\tand\x7f.box", "tab\\x09and\\x7f.box"},
              {"back\\slash.box", "back\\\\slash.box"},
              {"K\xc3\xa4se.box", "K\xc3\xa4se.box"}};
  for (const auto& r : rows) {
    TempBox dir(Bytes{});
    const RunResult run = runVorn({dir.dir() + "/" + r.given});
    EXPECT_EQ(run.status, 2);
    EXPECT_EQ(run.err, "vorn: " + dir.dir() + "/" + r.shown + ": No such file or directory\n") << r.shown;
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
