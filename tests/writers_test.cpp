// The writers of boxtool (export -o, recover, compact and its backup) and
// the files they write into: devices, FIFOs and links are never replaced,
// read-only files only with --force, every failure names its cause, and
// no temporary is left behind.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <filesystem>
#include <thread>

#include "box_builder.h"
#include "command.h"
#include "golden.h"
#include "output_file.h"
#include "run_vorn.h"

using namespace boxtest;
using Args = std::vector<std::string>;

namespace {

struct stat statOf(const std::string& path, bool follow = true) {
  struct stat st {};
  return (follow ? stat : lstat)(path.c_str(), &st), st;
}

// The names in dir that begin with a dot: the writers' temporaries.
std::vector<std::string> hidden(const std::string& dir) {
  std::vector<std::string> names;
  for (const auto& e : std::filesystem::directory_iterator(dir)) {
    const std::string name = e.path().filename();
    if (name[0] == '.') names.push_back(name);
  }
  return names;
}

// What stands at OUT before a writer runs.
enum class Target { kNothing, kFile, kReadOnly, kLink, kDanglingLink, kFifo, kSocket };

struct TargetCase {
  const char* name;
  Args args;  // run in the box's directory; OUT names the target
  Target target;
  int status;
  std::string err;
  bool written;  // the new bytes reached what OUT leads to
};

void PrintTo(const TargetCase& c, std::ostream* os) { *os << c.name; }

class WriterTarget : public testing::TestWithParam<TargetCase> {};

TEST_P(WriterTarget, IsWrittenThroughOrRefusedNeverReplaced) {
  const TargetCase& c = GetParam();
  TempBox box(goldenBytes("KQADRS.box"), "KQADRS.BOX");
  const std::string out = box.dir() + "/OUT";
  const std::string file = box.dir() + "/FILE";
  const std::string old = "old contents";
  switch (c.target) {
    case Target::kNothing:
      break;
    case Target::kFile:
    case Target::kReadOnly:
      ASSERT_TRUE(writeFile(out, Bytes(old.begin(), old.end())));
      ASSERT_EQ(chmod(out.c_str(), c.target == Target::kReadOnly ? 0444 : 0640), 0);
      break;
    case Target::kLink:
      ASSERT_TRUE(writeFile(file, Bytes(old.begin(), old.end())));
      ASSERT_EQ(chmod(file.c_str(), 0600), 0);
      [[fallthrough]];
    case Target::kDanglingLink:
      ASSERT_EQ(symlink("FILE", out.c_str()), 0);
      break;
    case Target::kFifo:
    case Target::kSocket:
      ASSERT_EQ(mknod(out.c_str(), (c.target == Target::kFifo ? S_IFIFO : S_IFSOCK) | 0600, 0), 0);
      break;
  }
  const struct stat before = statOf(out, false);
  std::string fromFifo;
  std::thread reader;
  if (c.target == Target::kFifo) reader = std::thread([&] { fromFifo = readWholeFile(out); });
  const RunResult r = runBoxtool(c.args, box.dir());
  if (reader.joinable()) reader.join();
  EXPECT_EQ(r.status, c.status) << r.err;
  EXPECT_EQ(r.err, c.err);
  EXPECT_TRUE(hidden(box.dir()).empty());

  const struct stat after = statOf(out, false);
  const std::string reached = c.target == Target::kFifo   ? fromFifo
                              : c.target == Target::kLink ? readWholeFile(file)
                                                          : readWholeFile(out);
  EXPECT_EQ(!reached.empty() && reached != old, c.written) << reached.substr(0, 40);
  if (c.target == Target::kNothing) return;
  // The same kind of file at OUT, with the same permissions.
  EXPECT_EQ(after.st_mode, before.st_mode);
  if (c.target == Target::kLink) {
    EXPECT_EQ(statOf(file).st_mode & 07777, 0600u);
  }
}

const char* const kReadOnly = "boxtool: OUT: is read-only; give --force to replace it\n";

// clang-format off
INSTANTIATE_TEST_SUITE_P(
    Rows, WriterTarget,
    testing::Values(
        TargetCase{"export_new_file", {"export", "-o", "OUT", "KQADRS.BOX"}, Target::kNothing, 0, "", true},
        TargetCase{"export_replaces_a_file_keeping_its_mode", {"export", "-o", "OUT", "KQADRS.BOX"}, Target::kFile, 0, "", true},
        TargetCase{"export_refuses_a_read_only_file", {"export", "-o", "OUT", "KQADRS.BOX"}, Target::kReadOnly, 4, kReadOnly, false},
        TargetCase{"export_forced_over_a_read_only_file", {"export", "-f", "-o", "OUT", "KQADRS.BOX"}, Target::kReadOnly, 0, "", true},
        TargetCase{"export_through_a_link", {"export", "-o", "OUT", "KQADRS.BOX"}, Target::kLink, 0, "", true},
        TargetCase{"export_into_a_fifo", {"export", "--format", "csv", "-o", "OUT", "KQADRS.BOX"}, Target::kFifo, 0, "", true},
        TargetCase{"export_refuses_a_dangling_link", {"export", "-o", "OUT", "KQADRS.BOX"}, Target::kDanglingLink, 4,
                   "boxtool: OUT: is a symbolic link that leads to no file\n", false},
        TargetCase{"export_refuses_a_socket", {"export", "-o", "OUT", "KQADRS.BOX"}, Target::kSocket, 4,
                   "boxtool: OUT: is a socket, which is never written\n", false},
        TargetCase{"recover_refuses_a_link_without_force", {"recover", "KQADRS.BOX", "OUT"}, Target::kLink, 4,
                   "boxtool: OUT: exists; give --force to replace it\n", false},
        TargetCase{"recover_forced_through_a_link", {"recover", "--force", "KQADRS.BOX", "OUT"}, Target::kLink, 0, "", true},
        TargetCase{"recover_forced_over_a_read_only_file", {"recover", "--force", "KQADRS.BOX", "OUT"}, Target::kReadOnly, 0, "", true}),
    [](const testing::TestParamInfo<TargetCase>& info) { return info.param.name; });
// clang-format on

TEST(WriterTarget, DeviceIsWrittenNotReplaced) {
  TempBox box(goldenBytes("KQADRS.box"), "KQADRS.BOX");
  const struct stat before = statOf("/dev/null");
  const RunResult r = runBoxtool({"export", "-o", "/dev/null", "KQADRS.BOX"}, box.dir());
  EXPECT_EQ(r.status, 0) << r.err;
  const struct stat after = statOf("/dev/null");
  EXPECT_TRUE(S_ISCHR(after.st_mode) && after.st_ino == before.st_ino && after.st_rdev == before.st_rdev);
}

// A writer's file operation that fails with a given errno at its n-th call.
int failAt = 0;
int failErrno = 0;
int calls = 0;
bool failing() { return ++calls == failAt; }
ssize_t failingWrite(int fd, const void* b, size_t n) {
  return failing() ? (errno = failErrno, -1) : ::write(fd, b, n);
}
int failingFsync(int fd) { return failing() ? (errno = failErrno, -1) : ::fsync(fd); }
int failingRename(int dir, const char* a, const char* b) {
  return failing() ? (errno = failErrno, -1) : ::renameat(dir, a, dir, b);
}
int failingLink(int dir, const char* a, const char* b) {
  return failing() ? (errno = failErrno, -1) : ::linkat(dir, a, dir, b, 0);
}

enum class Call { kWrite, kFsync, kRename, kLink };

// Runs boxtool's writers in this process, so that their file operations go
// through the test's; returns the exit status, standard error in err.
int runInProcess(const Args& args, std::string& err) {
  CLI::App app("", "boxtool");
  const std::vector<Command> commands = {addExportCommand(app), addRecoverCommand(app),
                                         addCompactCommand(app)};
  std::vector<const char*> argv = {"boxtool"};
  for (const std::string& a : args) argv.push_back(a.c_str());
  app.parse(static_cast<int>(argv.size()), argv.data());
  testing::internal::CaptureStderr();
  int status = -1;
  for (const Command& command : commands) {
    if (command.app->parsed()) status = command.run();
  }
  std::fflush(stdout);
  err = testing::internal::GetCapturedStderr();
  return status;
}

struct FailureCase {
  const char* name;
  Args args;  // BOX and OUT are replaced by their paths
  Call call;
  int at;  // the failing call's number
  int error;
  std::string err;  // with BOX or OUT for the path named
  bool lockBox;     // another process holds the box's lock
};

void PrintTo(const FailureCase& c, std::ostream* os) { *os << c.name; }

class WriterFailure : public testing::TestWithParam<FailureCase> {};

TEST_P(WriterFailure, NamesItsCauseAndLeavesNothing) {
  const FailureCase& c = GetParam();
  TempBox box(goldenBytes("KQADRS.box"), "KQADRS.BOX");
  const std::string out = box.dir() + "/OUT";
  Args args = c.args;
  for (std::string& a : args) {
    if (a == "BOX" || a == "OUT") a = a == "BOX" ? box.path() : out;
  }
  const int locked = open(box.path().c_str(), O_RDONLY | O_CLOEXEC);
  if (c.lockBox) {
    ASSERT_EQ(flock(locked, LOCK_EX | LOCK_NB), 0);
  }

  const FileCalls real = fileCalls;
  calls = 0;
  failAt = c.at;
  failErrno = c.error;
  if (c.call == Call::kWrite) fileCalls.write = failingWrite;
  if (c.call == Call::kFsync) fileCalls.fsync = failingFsync;
  if (c.call == Call::kRename) fileCalls.rename = failingRename;
  if (c.call == Call::kLink) fileCalls.link = failingLink;
  std::string err;
  const int status = runInProcess(args, err);
  fileCalls = real;
  close(locked);

  std::string expected = c.err;
  const size_t at =
      expected.find(" BOX") != std::string::npos ? expected.find(" BOX") : expected.find(" OUT");
  expected.replace(at + 1, 3, expected.compare(at + 1, 3, "BOX") == 0 ? box.path() : out);
  EXPECT_EQ(status, 4);
  EXPECT_EQ(err, expected);
  EXPECT_TRUE(fileBytes(box.path()) == goldenBytes("KQADRS.box"));
  EXPECT_FALSE(pathExists(out));
  EXPECT_FALSE(pathExists(box.path() + ".bak"));
  EXPECT_TRUE(hidden(box.dir()).empty());
}

// clang-format off
INSTANTIATE_TEST_SUITE_P(
    Rows, WriterFailure,
    testing::Values(
        FailureCase{"export_disk_full", {"export", "-o", "OUT", "BOX"}, Call::kFsync, 1, ENOSPC,
                    "boxtool: OUT: No space left on device\n", false},
        FailureCase{"recover_disk_full", {"recover", "BOX", "OUT"}, Call::kWrite, 2, ENOSPC,
                    "boxtool: OUT: No space left on device\n", false},
        FailureCase{"recover_link_refused", {"recover", "BOX", "OUT"}, Call::kLink, 1, EACCES,
                    "boxtool: OUT: Permission denied\n", false},
        FailureCase{"backup_disk_full", {"compact", "--backup", "BOX"}, Call::kWrite, 1, ENOSPC,
                    "boxtool: BOX.bak: No space left on device\n", false},
        FailureCase{"compact_disk_full", {"compact", "BOX"}, Call::kWrite, 3, ENOSPC,
                    "boxtool: BOX: the compacted box could not be written: No space left on device; the box is "
                    "unchanged\n", false},
        FailureCase{"compact_rename_refused", {"compact", "BOX"}, Call::kRename, 1, ENAMETOOLONG,
                    "boxtool: BOX: the compacted box could not replace the box: File name too long; the box is "
                    "unchanged\n", false},
        FailureCase{"compact_of_a_locked_box", {"compact", "--backup", "BOX"}, Call::kWrite, 0, 0,
                    "boxtool: BOX: another program is writing this box; the box is unchanged\n", true}),
    [](const testing::TestParamInfo<FailureCase>& info) { return info.param.name; });
// clang-format on

// Names as long as a file name may be, and a path near the longest a path
// may be: the temporaries beside them fit too.
struct LongName {
  const char* name;
  size_t nameLength;
  size_t depth;  // directories of 200 bytes between
  Args args;     // BOX and OUT replaced by the paths
};

void PrintTo(const LongName& c, std::ostream* os) { *os << c.name; }

class LongNames : public testing::TestWithParam<LongName> {};

TEST_P(LongNames, AreWritten) {
  const LongName& c = GetParam();
  TempBox box(goldenBytes("KQADRS.box"), "KQADRS.BOX");
  std::string dir = box.dir();
  for (size_t i = 0; i < c.depth; ++i) {
    dir += "/" + std::string(200, 'd');
    ASSERT_EQ(mkdir(dir.c_str(), 0700), 0);
  }
  const std::string path = dir + "/" + std::string(c.nameLength - 4, 'K') + ".box";
  ASSERT_TRUE(writeFile(path, goldenBytes("KQADRS.box")));
  const std::string out = dir + "/" + std::string(c.nameLength, 'O');
  Args args = c.args;
  for (std::string& a : args) {
    if (a == "BOX" || a == "OUT") a = a == "BOX" ? path : out;
  }
  const RunResult r = runBoxtool(args);
  EXPECT_EQ(r.status, 0) << r.err;
  EXPECT_TRUE(hidden(dir).empty());
  EXPECT_TRUE(args[0] == "compact" ? fileBytes(path) != goldenBytes("KQADRS.box") : pathExists(out));
}

INSTANTIATE_TEST_SUITE_P(
    Rows, LongNames,
    testing::Values(LongName{"export_name_max", NAME_MAX, 0, {"export", "-o", "OUT", "BOX"}},
                    LongName{"recover_name_max", NAME_MAX, 0, {"recover", "BOX", "OUT"}},
                    LongName{"compact_name_max", NAME_MAX, 0, {"compact", "BOX"}},
                    LongName{"compact_deep_path", 250, 19, {"compact", "BOX"}}),
    [](const testing::TestParamInfo<LongName>& info) { return info.param.name; });

// A full disk for real: a file-size limit ends the write with EFBIG.
TEST(WriterFailure, FileSizeLimitIsNamed) {
  TempBox box(goldenBytes("KQADRS.box"), "KQADRS.BOX");
  const RunResult r = runProgram("/bin/sh",
                                 {"-c", std::string("ulimit -f 8; trap '' XFSZ; exec ") + boxtoolProgram() +
                                            " export -o OUT KQADRS.BOX"},
                                 false, box.dir());
  EXPECT_EQ(r.status, 4);
  EXPECT_EQ(r.err, "boxtool: OUT: File too large\n");
  EXPECT_FALSE(pathExists(box.dir() + "/OUT"));
  EXPECT_TRUE(hidden(box.dir()).empty());
}

// A box that shrinks while export reads its values: what was read before
// goes out, nothing after, and export says why.  The reader of the FIFO
// cuts the box once the first piece of the output has arrived.  The box is
// larger than what boxtool reads into memory, so that it is mapped.
TEST(ExportOfAShrinkingBox, WritesNoValueItDidNotRead) {
  BoxBuilder b;
  b.field(1, "NAME", "Name");
  for (unsigned id = 1; id <= 6000; ++id) {
    b.card(static_cast<uint16_t>(id), {text("Card " + std::to_string(id) + std::string(200, '.'))});
    if (id % 400 == 0) b.offsetCard();
  }
  TempBox box(b.terminator().build().bytes, "BIG.BOX");
  const std::string out = box.dir() + "/OUT";
  ASSERT_EQ(mkfifo(out.c_str(), 0600), 0);
  std::string arrived;
  int cut = -1;
  std::thread reader([&] {
    std::FILE* f = std::fopen(out.c_str(), "rb");
    char piece[4096];
    for (size_t n; (n = std::fread(piece, 1, sizeof piece, f)) > 0;) {
      if (arrived.empty()) cut = truncate(box.path().c_str(), 4096);
      arrived.append(piece, n);
    }
    std::fclose(f);
  });
  const RunResult r = runBoxtool({"export", "--format", "csv", "-o", "OUT", "BIG.BOX"}, box.dir());
  reader.join();
  ASSERT_EQ(cut, 0);
  EXPECT_EQ(r.status, 8);
  EXPECT_EQ(r.err, "boxtool: BIG.BOX: the file shrank while it was being read\n");
  std::vector<std::vector<std::string>> rows = parseCsv(arrived.substr(0, arrived.rfind("\r\n") + 2));
  ASSERT_GT(rows.size(), 1u);
  ASSERT_LT(rows.size(), 6001u);
  for (size_t k = 1; k < rows.size(); ++k)
    EXPECT_EQ(rows[k].back(), "Card " + rows[k][2] + std::string(200, '.')) << k;
}

// A writer ended by a signal while its temporary lives: the signals that
// ask a program to end remove it and end the writer as the signal would;
// what a kill leaves, the next writer of the target clears; an ignored
// signal stays ignored.
struct Interruption {
  const char* name;
  int signal;
  bool ignored;     // the writer ignores the signal (as under nohup)
  bool leftBehind;  // the temporary is still there after the writer ended
};

void PrintTo(const Interruption& c, std::ostream* os) { *os << c.name; }

class InterruptedWriter : public testing::TestWithParam<Interruption> {};

TEST_P(InterruptedWriter, LeavesNoTemporary) {
  const Interruption& c = GetParam();
  TempBox box(goldenBytes("KQADRS.box"), "KQADRS.BOX");
  const std::string out = box.dir() + "/OUT";
  int ready[2];
  ASSERT_EQ(pipe(ready), 0);
  const pid_t writer = fork();
  if (writer == 0) {
    if (c.ignored) signal(c.signal, SIG_IGN);
    OutputFile file(out);
    file.write("partial", 7);
    const char byte = 1;
    if (::write(ready[1], &byte, 1) != 1) _exit(3);
    // Ends by the signal, or goes on when it ignores it.
    sleep(c.ignored ? 1 : 30);
    _exit(file.commit(false) ? 0 : 2);
  }
  char byte = 0;
  ASSERT_EQ(read(ready[0], &byte, 1), 1);
  close(ready[0]);
  close(ready[1]);
  EXPECT_EQ(hidden(box.dir()).size(), 1u);
  kill(writer, c.signal);
  int status = 0;
  waitpid(writer, &status, 0);
  if (c.ignored) {
    EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0) << status;
    EXPECT_EQ(readWholeFile(out), "partial");
  } else {
    EXPECT_TRUE(WIFSIGNALED(status) && WTERMSIG(status) == c.signal) << status;
    EXPECT_FALSE(pathExists(out));
  }
  EXPECT_EQ(hidden(box.dir()).size(), c.leftBehind ? 1u : 0u);
  // The next writer of the target removes what no writer holds.
  const RunResult r = runBoxtool({"export", "--force", "-o", "OUT", "KQADRS.BOX"}, box.dir());
  EXPECT_EQ(r.status, 0) << r.err;
  EXPECT_TRUE(hidden(box.dir()).empty());
}

INSTANTIATE_TEST_SUITE_P(Rows, InterruptedWriter,
                         testing::Values(Interruption{"sigint", SIGINT, false, false},
                                         Interruption{"sigterm", SIGTERM, false, false},
                                         Interruption{"sighup", SIGHUP, false, false},
                                         Interruption{"sighup_ignored", SIGHUP, true, false},
                                         Interruption{"sigkill", SIGKILL, false, true}),
                         [](const testing::TestParamInfo<Interruption>& info) { return info.param.name; });

}  // namespace
