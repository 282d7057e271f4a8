// The box library's garbage collector: what it keeps, what it rewrites, and
// that the box is never lost whatever goes wrong while it writes.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <filesystem>

#include "analysis_text.h"
#include "box_builder.h"
#include "boxlib.h"
#include "collection.h"
#include "golden.h"
#include "output_file.h"
#include "run_vorn.h"

using namespace boxtest;

namespace {

// An address book of `ids` cards behind two fields, with a deleted card
// after every seventh when `withGarbage`, offset cards as the IDs need, the
// index card and (when `terminated`) the terminator.
BuiltBox book(unsigned ids, bool withGarbage = true, bool terminated = true) {
  BoxBuilder b;
  b.field(1, "NAME", "Name").field(4, "UPDT", "Updated");
  for (unsigned id = 1; id <= ids; ++id) {
    b.card(static_cast<uint16_t>(id), {text("Card " + std::to_string(id)), timeValue(103, 1, 2, 3, 4, 5)});
    if (withGarbage && id % 7 == 0) b.garbage(20 + id % 13);
    if (id == 450 || id == 590) b.offsetCard();
  }
  b.indexCard({{"NAME", "n.idx"}});
  if (terminated) b.terminator();
  return b.build();
}

std::vector<std::string> leftovers(const std::string& dir) {
  std::vector<std::string> names;
  for (const auto& entry : std::filesystem::directory_iterator(dir)) {
    if (entry.path().filename().string().find(".vorn-gc.") != std::string::npos) {
      names.push_back(entry.path().filename());
    }
  }
  return names;
}

// A collected box is the box the builder lays out for the same cards
// without the deleted ones: the same card bytes in the same order, offset
// tables and links rewritten, totals recomputed, a terminator at the end.
struct Collection {
  const char* name;
  Bytes before;
  Bytes expected;
};

void PrintTo(const Collection& c, std::ostream* os) { *os << c.name; }

class Collecting : public testing::TestWithParam<Collection> {};

TEST_P(Collecting, GivesTheBoxWithoutItsDeletedCards) {
  TempBox box(GetParam().before);
  ASSERT_EQ(chmod(box.path().c_str(), 0640), 0);
  ASSERT_EQ(_BoxGarbageCollect(box.path().c_str()), 0);
  EXPECT_TRUE(fileBytes(box.path()) == GetParam().expected);
  struct stat st;
  ASSERT_EQ(stat(box.path().c_str(), &st), 0);
  EXPECT_EQ(st.st_mode & 07777, 0640u);
  EXPECT_TRUE(leftovers(box.dir()).empty());
}

Bytes staleTotalsAndEntries() {
  Bytes b = book(700).bytes;
  setHeader(b, HeaderField::kDataSize, 3);
  setDefaultEntry(b, 21, 0);
  return b;
}

INSTANTIATE_TEST_SUITE_P(
    Rows, Collecting,
    testing::Values(Collection{"stale_totals_and_entries", staleTotalsAndEntries(), book(700, false).bytes},
                    Collection{"missing_terminator", book(40, true, false).bytes, book(40, false).bytes},
                    Collection{"nothing_to_drop", book(40, false).bytes, book(40, false).bytes}),
    [](const testing::TestParamInfo<Collection>& info) { return info.param.name; });

// The problem finding lines of the analysis of bytes.
std::vector<std::string> problems(const Bytes& bytes) {
  std::vector<std::string> found;
  for (const std::string& line : splitLines(analysisText(bytes))) {
    if (line.rfind("    ", 0) == 0 && line.size() > 5 && line[4] != ' ' && line[4] != '8')
      found.push_back(line);
  }
  return found;
}

TEST(Collector, RefusesDamageItCannotRepairAndLeavesTheFileAlone) {
  const BuiltBox built = book(40);
  std::vector<Bytes> damaged(5, built.bytes);
  setStatedAreaLength(damaged[0], built.offsets[3], 1);     // a broken card
  setItemDataId(damaged[1], 0, 0);                          // unknown data ID
  setHeader(damaged[2], HeaderField::kDefaultTable, 0x10);  // table laid on the header: Critical
  damaged[3].resize(damaged[3].size() - 30);                // cut short
  // The item info read from a copy inside a garbage card, behind the first
  // card: only an unusual offset, but collecting would drop it.
  {
    const Bytes itemInfo(built.bytes.begin() + built.firstCard - built.itemInfoSize,
                         built.bytes.begin() + built.firstCard);
    const BuiltBox moved = BoxBuilder()
                               .rawItemInfo(itemInfo)
                               .rawCard(0, itemInfo)
                               .card(1, {text("Ann"), timeValue(103, 1, 2, 3, 4, 5)})
                               .indexCard({{"NAME", "n.idx"}})
                               .terminator()
                               .build();
    damaged[4] = moved.bytes;
    setHeader(damaged[4], HeaderField::kItemInfoOffset, moved.offsets[0] + 6);
    const std::vector<std::string> found = problems(damaged[4]);
    ASSERT_EQ(found.size(), 1u);
    EXPECT_NE(found[0].find("20000004 Unusual offset of Item Info."), std::string::npos);
  }
  for (const Bytes& bytes : damaged) {
    TempBox box(bytes);
    EXPECT_EQ(_BoxGarbageCollect(box.path().c_str()), BOX_GC_DAMAGED);
    EXPECT_TRUE(fileBytes(box.path()) == bytes);
  }
  EXPECT_EQ(_BoxGarbageCollect("/nonexistent/KQDATE.BOX"), BOX_GC_UNREADABLE);
}

// The collector's file operations, counted: the n-th one fails, or kills
// the process just before it runs.
bool killing = false;
int stepAt = 0;
int steps = 0;
bool hit() {
  if (++steps != stepAt) return false;
  if (killing) raise(SIGKILL);
  return true;
}
ssize_t countedWrite(int fd, const void* b, size_t n) {
  return hit() ? (errno = ENOSPC, -1) : ::write(fd, b, n);
}
int countedFsync(int fd) { return hit() ? (errno = EIO, -1) : ::fsync(fd); }
int countedRename(int dir, const char* a, const char* b) {
  return hit() ? (errno = EIO, -1) : ::renameat(dir, a, dir, b);
}

// The steps: the writes of the new box, its flush, the rename, the
// directory's flush.
struct Steps {
  Bytes old, collected;
  int rename;
};
Steps collectionSteps(unsigned ids) {
  Steps s{book(ids).bytes, book(ids, false).bytes, 0};
  s.rename = static_cast<int>((s.collected.size() + kWriteChunk - 1) / kWriteChunk) + 2;
  return s;
}

TEST(CollectorCrashSafety, AFailingStepLeavesTheOldBox) {
  const Steps s = collectionSteps(700);
  const FileCalls real = fileCalls;
  fileCalls = {countedWrite, countedFsync, countedRename, fileCalls.link, fileCalls.renameNoReplace};
  killing = false;
  for (stepAt = 1; stepAt <= s.rename; ++stepAt) {
    steps = 0;
    TempBox box(s.old);
    EXPECT_NE(_BoxGarbageCollect(box.path().c_str()), 0) << "failed at step " << stepAt;
    EXPECT_TRUE(fileBytes(box.path()) == s.old);
    EXPECT_TRUE(leftovers(box.dir()).empty());
  }
  fileCalls = real;
}

TEST(CollectorCrashSafety, KilledAtEveryStepLeavesOldOrNewComplete) {
  const Steps s = collectionSteps(3000);
  for (stepAt = 1; stepAt <= s.rename + 1; ++stepAt) {
    TempBox box(s.old);
    const pid_t child = fork();
    if (child == 0) {
      steps = 0;
      killing = true;
      fileCalls = {countedWrite, countedFsync, countedRename, fileCalls.link, fileCalls.renameNoReplace};
      _exit(_BoxGarbageCollect(box.path().c_str()));
    }
    int status = 0;
    waitpid(child, &status, 0);
    ASSERT_TRUE(WIFSIGNALED(status) && WTERMSIG(status) == SIGKILL) << stepAt;
    // Killed before the rename the old box stays, after it the new one is there, whole.
    EXPECT_TRUE(fileBytes(box.path()) == (stepAt <= s.rename ? s.old : s.collected))
        << "killed at step " << stepAt;
    // A later collection finishes the job and clears what the killed one left.
    ASSERT_EQ(_BoxGarbageCollect(box.path().c_str()), 0);
    EXPECT_TRUE(fileBytes(box.path()) == s.collected);
    EXPECT_TRUE(leftovers(box.dir()).empty());
  }
}

// A new file that must not replace one, on file systems without hard links
// (link() fails with EPERM on vfat and exFAT), with and without a rename
// that refuses to replace: the file is written when the name is free, and an
// existing one is left as it was.
int linkUnsupported(int, const char*, const char*) { return errno = EPERM, -1; }
int noReplaceUnsupported(int, const char*, const char*) { return errno = EINVAL, -1; }

struct NoHardLinks {
  const char* name;
  int (*renameNoReplace)(int, const char*, const char*);
  bool targetExists;
};

void PrintTo(const NoHardLinks& c, std::ostream* os) { *os << c.name; }

class WritingWithoutHardLinks : public testing::TestWithParam<NoHardLinks> {};

TEST_P(WritingWithoutHardLinks, WritesOnlyWhereNothingIs) {
  const NoHardLinks& c = GetParam();
  TempBox dir(Bytes{1, 2, 3}, "OLD.BOX");
  const std::string target = dir.dir() + (c.targetExists ? "/OLD.BOX" : "/NEW.BOX");
  const FileCalls real = fileCalls;
  fileCalls.link = linkUnsupported;
  if (c.renameNoReplace) fileCalls.renameNoReplace = c.renameNoReplace;
  const Bytes bytes{4, 5, 6, 7};
  bool committed = false;
  std::string error;
  {
    OutputFile out(target);
    committed = out.write(bytes.data(), bytes.size()) && out.commit(false);
    error = out.error;
  }
  fileCalls = real;
  EXPECT_EQ(committed, !c.targetExists);
  EXPECT_EQ(error, c.targetExists ? "the file exists" : "");
  EXPECT_TRUE(fileBytes(target) == (c.targetExists ? Bytes{1, 2, 3} : bytes));
  EXPECT_EQ(std::distance(std::filesystem::directory_iterator(dir.dir()), {}), c.targetExists ? 1 : 2);
}

INSTANTIATE_TEST_SUITE_P(Rows, WritingWithoutHardLinks,
                         testing::Values(NoHardLinks{"new_file", nullptr, false},
                                         NoHardLinks{"existing_file", nullptr, true},
                                         NoHardLinks{"new_file_two_steps", noReplaceUnsupported, false},
                                         NoHardLinks{"existing_file_two_steps", noReplaceUnsupported, true}),
                         [](const testing::TestParamInfo<NoHardLinks>& info) { return info.param.name; });

// Other programs at the box while the collector runs: a second collection
// holding the lock, a program that appends to the box or rewrites it in
// place while the new box is written.  The box is left as they made it.
enum class Meddler { kLockHolder, kAppender, kRewriter };

std::string meddledBox;
Meddler meddler;
int meddledFsync(int fd) {
  // The first flush is the new box's, before the rename.
  if (!meddledBox.empty()) {
    std::FILE* f = std::fopen(meddledBox.c_str(), meddler == Meddler::kAppender ? "ab" : "r+b");
    std::fputs("meddled", f);
    std::fclose(f);
    // A change within the same tick of a coarse clock shows by its size only.
    if (meddler == Meddler::kRewriter) {
      const timespec later[2] = {{2000000000, 0}, {2000000000, 0}};
      utimensat(AT_FDCWD, meddledBox.c_str(), later, 0);
    }
    meddledBox.clear();
  }
  return ::fsync(fd);
}

struct Meddling {
  const char* name;
  Meddler meddler;
  int result;
  const char* failure;
};

void PrintTo(const Meddling& c, std::ostream* os) { *os << c.name; }

class CollectingAMeddledBox : public testing::TestWithParam<Meddling> {};

TEST_P(CollectingAMeddledBox, LeavesTheBoxAsTheOtherMadeIt) {
  const Meddling& c = GetParam();
  const BuiltBox old = book(100);
  TempBox box(old.bytes);
  const int held = open(box.path().c_str(), O_RDONLY | O_CLOEXEC);
  if (c.meddler == Meddler::kLockHolder) {
    ASSERT_EQ(flock(held, LOCK_EX), 0);
  }
  meddledBox = c.meddler == Meddler::kLockHolder ? "" : box.path();
  meddler = c.meddler;
  const FileCalls real = fileCalls;
  fileCalls.fsync = meddledFsync;
  const int result = _BoxGarbageCollect(box.path().c_str());
  fileCalls = real;
  close(held);
  EXPECT_EQ(result, c.result);
  EXPECT_EQ(collectionFailure(), c.failure);
  Bytes expected = old.bytes;
  const std::string meddled = "meddled";
  if (c.meddler == Meddler::kAppender) expected.insert(expected.end(), meddled.begin(), meddled.end());
  if (c.meddler == Meddler::kRewriter) std::copy(meddled.begin(), meddled.end(), expected.begin());
  EXPECT_TRUE(fileBytes(box.path()) == expected);
  EXPECT_TRUE(leftovers(box.dir()).empty());
}

INSTANTIATE_TEST_SUITE_P(Rows, CollectingAMeddledBox,
                         testing::Values(Meddling{"second_collection", Meddler::kLockHolder, BOX_GC_BUSY,
                                                  "another program is writing this box"},
                                         Meddling{"append", Meddler::kAppender, BOX_GC_CHANGED,
                                                  "the file changed while it was being rewritten"},
                                         Meddling{"rewrite_in_place", Meddler::kRewriter, BOX_GC_CHANGED,
                                                  "the file changed while it was being rewritten"}),
                         [](const testing::TestParamInfo<Meddling>& info) { return info.param.name; });

// A front end that told what the collection would do has it refused when
// the box changed after its analysis, and done when it did not.
TEST(Collector, RefusesABoxThatChangedAfterItsAnalysis) {
  for (const bool changed : {false, true}) {
    const BuiltBox old = book(100);
    TempBox box(old.bytes);
    struct stat analysed {};
    ASSERT_EQ(stat(box.path().c_str(), &analysed), 0);
    // Rewritten with the same bytes: its modification time tells.
    const timespec later[2] = {{2000000000, 0}, {2000000000, 0}};
    if (changed) {
      ASSERT_EQ(utimensat(AT_FDCWD, box.path().c_str(), later, 0), 0);
    }
    const Bytes before = fileBytes(box.path());
    expectAnalysedBox(analysed);
    EXPECT_EQ(_BoxGarbageCollect(box.path().c_str()), changed ? BOX_GC_CHANGED : 0) << changed;
    EXPECT_EQ(collectionFailure(), changed ? "the box changed after it was analysed" : "");
    EXPECT_EQ(fileBytes(box.path()) == before, changed);
    // The expectation holds for one collection.
    if (changed) {
      EXPECT_EQ(_BoxGarbageCollect(box.path().c_str()), 0);
    }
  }
}

// Temporaries beside the box: those no writer holds are cleared by the next
// collection, whichever writer left them; a live writer's are kept.
TEST(CollectorTemporaries, OnlyAbandonedOnesAreRemoved) {
  TempBox box(book(100).bytes);
  const std::vector<std::string> abandoned = {".TEST.BOX.vorn-gc.aB3xY9", ".TEST.BOX.boxtool.Qq0000",
                                              ".TEST.BOX.bak.boxtool.Zz0000"};
  const std::vector<std::string> kept = {".TEST.BOX.vorn-gc.live00", ".TEST.BOX.vorn-gc.toolong7",
                                         ".OTHER.BOX.boxtool.abcdef"};
  for (const auto& name : abandoned) ASSERT_TRUE(writeFile(box.dir() + "/" + name, Bytes{1}));
  for (const auto& name : kept) ASSERT_TRUE(writeFile(box.dir() + "/" + name, Bytes{2}));
  // A writer that lives holds its temporary's lock.
  const int live = open((box.dir() + "/" + kept[0]).c_str(), O_RDONLY | O_CLOEXEC);
  ASSERT_EQ(flock(live, LOCK_EX), 0);
  EXPECT_EQ(_BoxGarbageCollect(box.path().c_str()), 0);
  close(live);
  for (const auto& name : abandoned) EXPECT_FALSE(pathExists(box.dir() + "/" + name)) << name;
  for (const auto& name : kept) EXPECT_TRUE(pathExists(box.dir() + "/" + name)) << name;
}

}  // namespace
