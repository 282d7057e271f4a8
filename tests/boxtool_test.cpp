// boxtool as scripts use it: exit status over several files, the human and
// JSON forms of check and info (golden files under tests/data/boxtool/), the
// JSON schema, parallel checks; in process, a file that shrinks and the
// printable form of bytes.
//
// The binary runs in tests/data on the committed golden boxes, with names
// relative to it, so that no output holds a path of this machine.
#include <gtest/gtest.h>
#include <poll.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <map>
#include <nlohmann/json.hpp>

#include "analysed_file.h"
#include "box_builder.h"
#include "golden.h"
#include "printable.h"
#include "run_vorn.h"
#include "shrinker.h"
#include "worker_pool.h"

using namespace boxtest;
using Json = nlohmann::json;
using Args = std::vector<std::string>;

namespace {

struct StatusCase {
  const char* name;
  Args args;
  int status;
  std::string err;  // the whole of standard error, or its start when it ends in "..."
};

void PrintTo(const StatusCase& c, std::ostream* os) { *os << c.name; }  // test names without addresses

class BoxtoolStatus : public testing::TestWithParam<StatusCase> {};

TEST_P(BoxtoolStatus, IsTheOrOfTheFilesVerdicts) {
  const StatusCase& c = GetParam();
  const RunResult r = runBoxtool(c.args);
  EXPECT_EQ(r.status, c.status) << r.err;
  if (c.err.size() > 3 && c.err.ends_with("...")) {
    EXPECT_TRUE(r.err.starts_with(c.err.substr(0, c.err.size() - 3))) << r.err;
  } else {
    EXPECT_EQ(r.err, c.err);
  }
}

const std::string kMissing = "boxtool: missing.box: No such file or directory\n";

// clang-format off
INSTANTIATE_TEST_SUITE_P(
    Cases, BoxtoolStatus,
    testing::Values(
        StatusCase{"clean", {"check", "KQADRS.box"}, 0, ""},
        StatusCase{"warnings", {"check", "VALUES.box"}, 1, ""},
        StatusCase{"errors", {"check", "table_run_past_the_end.box"}, 2, ""},
        StatusCase{"errors_and_warnings", {"check", "SALVAGE.box"}, 3, ""},
        StatusCase{"criticals", {"check", "header_table_laid_on_header.box"}, 2, ""},
        StatusCase{"unreadable", {"check", "missing.box"}, 8, kMissing},
        StatusCase{"directory", {"check", "boxtool"}, 8, "boxtool: boxtool: Is a directory\n"},
        StatusCase{"all_ored", {"check", "KQADRS.box", "VALUES.box", "SALVAGE.box", "missing.box"}, 11, kMissing},
        StatusCase{"unreadable_first_others_checked", {"check", "-j", "2", "missing.box", "VALUES.box"}, 9, kMissing},
        StatusCase{"quiet_json_same_status", {"check", "--quiet", "--json", "VALUES.box", "SALVAGE.box"}, 3, ""},
        StatusCase{"usage_no_files", {"check"}, 16, "boxtool: BOX is required..."},
        StatusCase{"usage_unknown_subcommand_option", {"check", "--frobnicate", "KQADRS.box"}, 16, "boxtool: unknown option '--frobnicate'\nRun 'boxtool check --help' for more information.\n"},
        StatusCase{"usage_jobs_zero", {"check", "--jobs", "0", "KQADRS.box"}, 16, "boxtool: --jobs..."},
        StatusCase{"usage_no_subcommand", {}, 16, "boxtool: A subcommand is required..."},
        StatusCase{"usage_unknown_subcommand", {"frobnicate"}, 16, "boxtool: 'frobnicate' is not a subcommand; the subcommands are check, info, export, recover and compact\nRun 'boxtool --help' for more information.\n"},
        StatusCase{"usage_unknown_option", {"-V"}, 16, "boxtool: unknown option '-V'\nRun 'boxtool --help' for more information.\n"},
        StatusCase{"usage_box_like_an_option", {"check", "-dash.box"}, 16, "boxtool: unknown option '-dash.box' (a box whose name begins with '-' is given as ./NAME, or after --)\nRun 'boxtool check --help' for more information.\n"},
        StatusCase{"usage_info_two_boxes", {"info", "KQADRS.box", "VALUES.box"}, 16, "boxtool: ..."},
        StatusCase{"info_unreadable", {"info", "missing.box"}, 8, kMissing},
        StatusCase{"info_damaged_is_a_report", {"info", "TRUNC.box"}, 0, ""},
        StatusCase{"help", {"--help"}, 0, ""},
        StatusCase{"check_help", {"check", "--help"}, 0, ""},
        StatusCase{"version", {"--version"}, 0, ""},
        StatusCase{"export_sound", {"export", "KQADRS.box"}, 0, ""},
        StatusCase{"export_damaged_records", {"export", "GARBAGE.box"}, 1, ""},
        StatusCase{"export_missing_box", {"export", "missing.box"}, 8, kMissing},
        StatusCase{"export_unknown_encoding", {"export", "--encoding", "NO-SUCH-CODE", "KQADRS.box"}, 16,
                   "boxtool: --encoding: unknown encoding..."},
        StatusCase{"export_unknown_format", {"export", "--format", "xml", "KQADRS.box"}, 16, "boxtool: ..."},
        StatusCase{"export_into_the_box_itself", {"export", "-o", "KQADRS.box", "KQADRS.box"}, 4,
                   "boxtool: KQADRS.box: is the box itself..."}),
    [](const testing::TestParamInfo<StatusCase>& info) { return info.param.name; });
// clang-format on

struct GoldenRun {
  std::string name;  // the golden file under tests/data/boxtool/
  Args args;
};

void PrintTo(const GoldenRun& r, std::ostream* os) { *os << r.name; }

class BoxtoolOutput : public testing::TestWithParam<GoldenRun> {};

TEST_P(BoxtoolOutput, MatchesTheGoldenFile) {
  const RunResult r = runBoxtool(GetParam().args);
  expectGolden("boxtool/" + GetParam().name, r.out);
}

std::vector<GoldenRun> goldenRuns() {
  std::vector<GoldenRun> runs{{"check.txt", with({"check"}, goldenBoxes())}, {"version.txt", {"--version"}}};
  for (const std::string sample :
       {"KQADRS", "BADHEAD", "BADITEMS", "SALVAGE", "GARBAGE", "VALUES", "TRUNC", "DUPLICATE"})
    runs.push_back({"info_" + sample + ".txt", {"info", sample + ".box"}});
  runs.push_back({"info_BADHEAD.json", {"info", "--json", "BADHEAD.box"}});
  runs.push_back({"export_VALUES.json", {"export", "VALUES.box"}});
  runs.push_back({"export_VALUES.csv", {"export", "--format", "csv", "VALUES.box"}});
  runs.push_back({"export_misfits.json", {"export", "card_item_length_misfits.box"}});
  runs.push_back({"export_size_rule.csv", {"export", "--format=csv", "card_size_rule_broken.box"}});
  runs.push_back({"export_mended_fields.json", {"export", "hostile_record_length_below_6.box"}});
  runs.push_back({"export_duplicates.csv", {"export", "--format", "csv", "census_duplicate_ids.box"}});
  return runs;
}

INSTANTIATE_TEST_SUITE_P(Runs, BoxtoolOutput, testing::ValuesIn(goldenRuns()),
                         [](const testing::TestParamInfo<GoldenRun>& info) {
                           std::string name = info.param.name;
                           std::replace(name.begin(), name.end(), '.', '_');
                           return name;
                         });

// The quiet and the JSON forms of check tell what the text form tells of
// every golden box: the text without its finding lines, and the JSON lines
// written out as text lines.
std::string textLine(const Json& j) {
  const std::string file = j.at("file");
  if (j.at("type") == "summary") {
    const unsigned c = j.at("critical"), e = j.at("errors"), w = j.at("warnings");
    if (!j.at("analysed")) return "";
    return file + (c + e + w ? ": " + std::to_string(c) + " critical, " + std::to_string(e) + " errors, " +
                                   std::to_string(w) + " warnings\n"
                             : ": no problems found\n");
  }
  char place[64];
  if (j.at("card").is_null()) {
    std::snprintf(place, sizeof place, "%s", j.at("section").get<std::string>().c_str());
  } else {
    std::snprintf(place, sizeof place, "card %d at 0x%06x, ID 0x%04x", j.at("card").get<int>(),
                  j.at("offset").get<unsigned>(), j.at("id").get<unsigned>());
  }
  return file + ": " + place + ": " + j.at("severity").get<std::string>() + " " +
         j.at("code").get<std::string>() + " " + j.at("text").get<std::string>() +
         j.at("detail").get<std::string>() + "\n";
}

TEST(BoxtoolCheckForms, TellTheSameOfEveryBox) {
  const std::string text = runBoxtool(with({"check"}, goldenBoxes())).out;
  std::string summaries;
  std::string fromJson;
  for (const std::string& line : splitLines(text)) {
    const bool finding = line.find(": Critical ") != std::string::npos ||
                         line.find(": Error ") != std::string::npos ||
                         line.find(": Warning ") != std::string::npos;
    if (!finding) summaries += line + "\n";
  }
  for (const std::string& line : splitLines(runBoxtool(with({"check", "--json"}, goldenBoxes())).out))
    fromJson += textLine(Json::parse(line));
  EXPECT_EQ(runBoxtool(with({"check", "--quiet"}, goldenBoxes())).out, summaries);
  // The JSON form has no line for the run's total.
  EXPECT_EQ(fromJson + splitLines(text).back() + "\n", text);
}

// Every writer of standard output says when a write fails, with its cause:
// check's status gains the bit 4, the others are 4.
class BoxtoolOnAFullDisk : public testing::TestWithParam<std::pair<Args, int>> {};

TEST_P(BoxtoolOnAFullDisk, SaysSo) {
  const RunResult r = runProgram(boxtoolProgram(), GetParam().first, false, goldenPath(""), "/dev/full");
  EXPECT_EQ(r.status, GetParam().second);
  EXPECT_EQ(r.err, "boxtool: standard output: No space left on device\n");
}

// clang-format off
INSTANTIATE_TEST_SUITE_P(
    Writers, BoxtoolOnAFullDisk,
    testing::Values(std::pair<Args, int>{{"check", "VALUES.box"}, 5}, std::pair<Args, int>{{"check", "--json", "KQADRS.box"}, 4},
                    std::pair<Args, int>{{"info", "KQADRS.box"}, 4}, std::pair<Args, int>{{"info", "--json", "KQADRS.box"}, 4},
                    std::pair<Args, int>{{"export", "--format", "csv", "KQADRS.box"}, 4},
                    std::pair<Args, int>{{"compact", "--dry-run", "KQADRS.box"}, 4},
                    std::pair<Args, int>{{"check", "--help"}, 4}, std::pair<Args, int>{{"--version"}, 4}));
// clang-format on

// Every line of check --json parses and has the documented fields and
// types; each summary's counts and status agree with its file's findings.
TEST(BoxtoolCheckJson, EveryLineFollowsTheSchema) {
  // A name that is not UTF-8 must not break the output either.
  TempBox odd(goldenBytes("SALVAGE.box"), "caf\xe9.box");
  ASSERT_TRUE(writeFile(odd.dir() + "/SALVAGE.box", goldenBytes("SALVAGE.box")));
  const RunResult r = runBoxtool({"check", "--json", "caf\xe9.box", "SALVAGE.box", "missing.box"}, odd.dir());
  EXPECT_EQ(r.status, 11);
  std::map<std::string, std::map<std::string, int>> seen;  // file -> severity -> count
  int summaries = 0;
  for (const std::string& line : splitLines(r.out)) {
    const Json j = Json::parse(line);  // throws on a line that is not JSON
    const std::string file = j.at("file");
    if (j.at("type") == "finding") {
      ASSERT_EQ(j.size(), 11u) << line;
      EXPECT_NE(j.at("card").is_null(), j.at("section").is_null()) << line;
      for (const char* key : {"card", "offset", "id", "size"})
        EXPECT_EQ(j.at(key).is_number_unsigned(), j.at("card").is_number_unsigned()) << line;
      EXPECT_TRUE(j.at("section").is_null() || j.at("section").is_string()) << line;
      EXPECT_EQ(j.at("code").get<std::string>().find_first_not_of("0123456789abcdef"), std::string::npos);
      EXPECT_EQ(j.at("code").get<std::string>().size(), 8u);
      EXPECT_TRUE(j.at("text").is_string() && j.at("detail").is_string()) << line;
      ++seen[file][j.at("severity")];
    } else {
      ASSERT_EQ(j.at("type"), "summary");
      ++summaries;
      EXPECT_EQ(j.at("schema"), 1);
      EXPECT_EQ(j.at("critical"), seen[file]["Critical"]) << line;
      EXPECT_EQ(j.at("errors"), seen[file]["Error"]) << line;
      EXPECT_EQ(j.at("warnings"), seen[file]["Warning"]) << line;
      const bool analysed = j.at("analysed");
      EXPECT_EQ(j.at("reason").is_string(), !analysed) << line;
      const int problems =
          ((seen[file]["Critical"] + seen[file]["Error"]) ? 2 : 0) | (seen[file]["Warning"] ? 1 : 0);
      EXPECT_EQ(j.at("status"), analysed ? problems : 8) << line;
    }
  }
  EXPECT_EQ(summaries, 3);
  EXPECT_EQ(seen.count("caf\\xe9.box"), 1u);
  EXPECT_EQ(seen["caf\\xe9.box"], seen["SALVAGE.box"]);
}

TEST(BoxtoolJobs, ParallelOutputEqualsSerialOutput) {
  const Args files = with(goldenBoxes(), {"missing.box", "KQADRS.box"});
  for (const Args& mode : {Args{"check"}, Args{"check", "--json"}}) {
    const RunResult serial = runBoxtool(with(with(mode, {"--jobs", "1"}), files));
    const RunResult parallel = runBoxtool(with(with(mode, {"--jobs", "3"}), files));
    EXPECT_EQ(parallel.out, serial.out);
    EXPECT_EQ(parallel.err, serial.err);
    EXPECT_EQ(parallel.status, serial.status);
  }
}

// In process: workers that die lose only their own tasks, each reported once
// and in order, and new workers take over until every task is done.
TEST(BoxtoolWorkers, DyingWorkersLoseOnlyTheirTasks) {
  const pid_t parent = getpid();
  int died[2];
  ASSERT_EQ(pipe(died), 0);
  bool waited = false;
  std::vector<std::string> emitted;
  const TaskRunner runner{[&](size_t task) {
                            if (getpid() != parent) {  // every worker dies at its first task
                              (void)!write(died[1], "x", 1);
                              raise(SIGKILL);
                            }
                            if (!waited) {  // so that the parent does not take every task itself
                              pollfd one{died[0], POLLIN, 0};
                              waited = poll(&one, 1, 20000) == 1;
                            }
                            return TaskOutput{std::to_string(task), "", 0};
                          },
                          [](size_t task, const std::string& why) {
                            return TaskOutput{std::to_string(task), why, exit_status::kNotAnalysed};
                          },
                          [&](const TaskOutput& o) { emitted.push_back(o.out + " " + o.err); }};
  runTasksInOrder(200, 3, runner);
  ASSERT_EQ(emitted.size(), 200u);
  size_t lost = 0;
  for (size_t task = 0; task < emitted.size(); ++task) {
    lost += emitted[task] != std::to_string(task) + " ";
    EXPECT_TRUE(emitted[task] == std::to_string(task) + " " ||
                emitted[task] == std::to_string(task) + " killed by signal 9")
        << emitted[task];
  }
  EXPECT_TRUE(waited);
  EXPECT_GT(lost, 0u);
  EXPECT_LT(lost, 200u);  // the parent's own batches are done
  close(died[0]);
  close(died[1]);
}

// In process: a mapped file that shrinks during its check is not analysed.
TEST(BoxtoolAnalysedFile, ShrinkingWhileMappedIsAnOperationalError) {
  TempBox box(goldenBytes("KQADRS.box"));
  resetReportState();
  Shrinker shrink(box.path(), 100, 8192);
  const AnalysedFile file(box.path(), 0);  // mapped, as large files are
  EXPECT_EQ(file.status(), exit_status::kNotAnalysed);
  EXPECT_EQ(file.reason, "the file shrank while it was being analysed");
  EXPECT_TRUE(file.findings.empty());
}

struct PrintableCase {
  const char* name;
  std::string bytes;
  std::string shown;
};

void PrintTo(const PrintableCase& c, std::ostream* os) { *os << c.name; }

class BoxtoolPrintable : public testing::TestWithParam<PrintableCase> {};

TEST_P(BoxtoolPrintable, IsValidUtf8AndReversible) {
  EXPECT_EQ(printable(GetParam().bytes), GetParam().shown);
}

INSTANTIATE_TEST_SUITE_P(
    Bytes, BoxtoolPrintable,
    testing::Values(PrintableCase{"ascii", "Ann", "Ann"}, PrintableCase{"backslash", "a\\b", "a\\\\b"},
                    PrintableCase{"utf8_japanese", "\xe3\x81\x82", "\xe3\x81\x82"},
                    PrintableCase{"euc_jp", "\xa4\xa2", "\\xa4\\xa2"},
                    PrintableCase{"control", "a\tb\x7f", "a\\x09b\\x7f"},
                    PrintableCase{"nul", std::string("a\0b", 3), "a\\x00b"},
                    PrintableCase{"overlong", "\xc0\xaf", "\\xc0\\xaf"},
                    PrintableCase{"surrogate", "\xed\xa0\x80", "\\xed\\xa0\\x80"},
                    PrintableCase{"cut_short", "\xe3\x81", "\\xe3\\x81"},
                    PrintableCase{"c1_control",
                                  "a\xc2\x9b"
                                  "1m\xc2\xa0",
                                  "a\\xc2\\x9b1m\xc2\xa0"},
                    PrintableCase{"above_u10ffff", "\xf4\x90\x80\x80", "\\xf4\\x90\\x80\\x80"}),
    [](const testing::TestParamInfo<PrintableCase>& info) { return info.param.name; });

// Out of memory: a file of deleted cards of one byte each reads as very
// many cards, more than an address space limit of 150 MB holds.  Zero bytes
// read as empty deleted cards back to back, which take no memory each: the
// same length of them fits.  The file is said to be
// out of memory, and the other files of a check are still reported.
struct OutOfMemoryCase {
  const char* name;
  std::string command;  // run under the limit beside GOOD.BOX, HUGE.BOX and ZEROS.BOX
  int status;
  std::string out;  // what standard output ends with
  std::string err;
};

void PrintTo(const OutOfMemoryCase& c, std::ostream* os) { *os << c.name; }

class OutOfMemory : public testing::TestWithParam<OutOfMemoryCase> {};

TEST_P(OutOfMemory, IsToldForTheFile) {
#if defined(__SANITIZE_ADDRESS__)
  GTEST_SKIP() << "the sanitizer's shadow memory does not fit under the limit";
#endif
  const OutOfMemoryCase& c = GetParam();
  TempBox box(goldenBytes("KQADRS.box"), "GOOD.BOX");
  const std::string huge = box.dir() + "/HUGE.BOX";
  const std::string zeros = box.dir() + "/ZEROS.BOX";
  Bytes cards;
  const Bytes card{0, 0, 1, 0, 0, 0, 0};  // ID 0, size 1, one byte
  for (size_t n = 0; n < (size_t{64} << 20) / card.size(); ++n)
    cards.insert(cards.end(), card.begin(), card.end());
  ASSERT_TRUE(writeFile(huge, cards));
  ASSERT_TRUE(writeFile(zeros, Bytes{}));
  ASSERT_EQ(truncate(zeros.c_str(), off_t{64} << 20), 0) << std::strerror(errno);
  std::string command = c.command;
  command.replace(command.find("PROGRAM"), 7, command.starts_with("vorn") ? vornProgram() : boxtoolProgram());
  command.erase(0, command.find(' ') + 1);
  const RunResult r = runProgram("/bin/sh", {"-c", "ulimit -v 150000; exec " + command}, false, box.dir());
  EXPECT_EQ(r.status, c.status);
  EXPECT_TRUE(r.out.ends_with(c.out)) << r.out;
  EXPECT_EQ(r.err, c.err);
}

INSTANTIATE_TEST_SUITE_P(
    Rows, OutOfMemory,
    testing::Values(
        OutOfMemoryCase{"check_goes_on", "boxtool PROGRAM check -q --jobs 1 HUGE.BOX GOOD.BOX", 8,
                        "GOOD.BOX: no problems found\n"
                        "2 files: 1 without problems, 0 with warnings only, 0 with errors, 1 not analysed\n",
                        "boxtool: HUGE.BOX: out of memory\n"},
        OutOfMemoryCase{"check_in_workers", "boxtool PROGRAM check -q --jobs 2 GOOD.BOX HUGE.BOX", 8,
                        "GOOD.BOX: no problems found\n"
                        "2 files: 1 without problems, 0 with warnings only, 0 with errors, 1 not analysed\n",
                        "boxtool: HUGE.BOX: out of memory\n"},
        OutOfMemoryCase{"export", "boxtool PROGRAM export -o OUT HUGE.BOX", 8, "",
                        "boxtool: HUGE.BOX: out of memory\n"},
        OutOfMemoryCase{"vorn", "vorn PROGRAM HUGE.BOX", 2, "", "vorn: HUGE.BOX: out of memory\n"},
        OutOfMemoryCase{"zeros_fit", "boxtool PROGRAM check -q ZEROS.BOX", 3,
                        "ZEROS.BOX: 3 critical, 4 errors, 2 warnings\n", ""}),
    [](const testing::TestParamInfo<OutOfMemoryCase>& info) { return info.param.name; });

}  // namespace
