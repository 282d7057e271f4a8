// The box library's garbage collector: what it keeps, what it rewrites, and
// that the box is never lost whatever goes wrong while it writes.
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <filesystem>
#include <fstream>
#include <iterator>

#include "box_builder.h"
#include "boxlib.h"
#include "collector_io.h"
#include "run_vorn.h"

using namespace boxtest;

namespace {

Bytes readFile(const std::string& path) {
  std::ifstream in(path, std::ios::binary);
  return Bytes(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
}

// An address book of `ids` cards behind one field, a deleted card after
// every seventh, offset cards as the IDs need, the index card, the terminator.
BuiltBox bookWithGarbage(unsigned ids) {
  BoxBuilder b;
  b.field(1, "NAME", "Name").field(4, "UPDT", "Updated");
  for (unsigned id = 1; id <= ids; ++id) {
    b.card(static_cast<uint16_t>(id), {text("Card " + std::to_string(id)), timeValue(103, 1, 2, 3, 4, 5)});
    if (id % 7 == 0) b.garbage(20 + id % 13);
    if (id == 450 || id == 590) b.offsetCard();
  }
  return b.indexCard({{"NAME", "n.idx"}}).terminator().build();
}

// The problem finding lines vorn prints for the file.
std::vector<std::string> problems(const std::string& path) {
  std::vector<std::string> found;
  for (const std::string& line : splitLines(runVorn({path}).out)) {
    if (line.rfind("    ", 0) == 0 && line.size() > 5 && line[4] != ' ' && line[4] != '8')
      found.push_back(line);
  }
  return found;
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

TEST(Collector, DropsGarbageAndKeepsEveryOtherCardInOrder) {
  const BuiltBox built = bookWithGarbage(700);
  Bytes before = built.bytes;
  setHeader(before, HeaderField::kDataSize, 3);  // stale totals and entries are repaired
  setDefaultEntry(before, 21, 0);
  TempBox box(before);
  ASSERT_EQ(chmod(box.path().c_str(), 0640), 0);

  ASSERT_EQ(_BoxGarbageCollect(box.path().c_str()), 0);
  const Bytes after = readFile(box.path());

  // Every non-garbage card, byte for byte, in the same order.
  Bytes expectedCards;
  for (size_t k = 0; k + 1 < built.offsets.size(); ++k) {
    const uint32_t at = built.offsets[k];
    if (before[at] == 0 && before[at + 1] == 0) continue;  // a garbage card
    const uint32_t size = getU32(before, at + 2);
    Bytes card(before.begin() + at, before.begin() + at + 6 + size);
    if (before[at] == 0xF0 && before[at + 1] == 0xFF)
      std::fill(card.begin() + 6, card.end(), 0);  // rewritten
    expectedCards.insert(expectedCards.end(), card.begin(), card.end());
  }
  Bytes cards(after.begin() + built.firstCard, after.end() - 2);
  for (size_t at = 0, k = 0; k + 1 < built.offsets.size(); ++k) {  // blank the rewritten offset cards
    if (at >= cards.size()) break;
    const uint32_t size = cards[at + 2] | cards[at + 3] << 8 | cards[at + 4] << 16;
    if (cards[at] == 0xF0 && cards[at + 1] == 0xFF)
      std::fill(cards.begin() + at + 6, cards.begin() + at + 6 + size, 0);
    at += 6 + size;
  }
  EXPECT_EQ(cards, expectedCards);
  EXPECT_EQ(Bytes(after.end() - 2, after.end()), (Bytes{0xFF, 0xFF}));
  EXPECT_EQ(getU32(after, 48), 0u);

  // The analysis of the result: nothing wrong, and the file keeps its mode.
  EXPECT_EQ(problems(box.path()), std::vector<std::string>{});
  struct stat st;
  ASSERT_EQ(stat(box.path().c_str(), &st), 0);
  EXPECT_EQ(st.st_mode & 07777, 0640u);
  EXPECT_TRUE(leftovers(box.dir()).empty());
}

TEST(Collector, RefusesDamageItCannotRepairAndLeavesTheFileAlone) {
  const BuiltBox built = bookWithGarbage(40);
  std::vector<Bytes> damaged(5, built.bytes);
  setStatedAreaLength(damaged[0], built.offsets[3], 1);     // a broken card
  setItemDataId(damaged[1], 0, 0);                          // unknown data ID
  setHeader(damaged[2], HeaderField::kDefaultTable, 0x10);  // table laid on the header: Critical
  damaged[3].resize(damaged[3].size() - 30);                // cut short
  // The item info read from a copy inside a garbage card, behind the first
  // card: only an unusual offset, but collecting would drop it.
  {
    const Bytes itemInfo(built.bytes.begin() + 0x848, built.bytes.begin() + built.firstCard);
    BoxBuilder b;
    b.rawItemInfo(itemInfo).rawCard(0, itemInfo).card(1, {text("Ann"), timeValue(103, 1, 2, 3, 4, 5)});
    const BuiltBox moved = b.indexCard({{"NAME", "n.idx"}}).terminator().build();
    damaged[4] = moved.bytes;
    setHeader(damaged[4], HeaderField::kItemInfoOffset, moved.offsets[0] + 6);
    const std::vector<std::string> found = problems(TempBox(damaged[4]).path());
    ASSERT_EQ(found.size(), 1u);
    EXPECT_NE(found[0].find("20000004 Unusual offset of Item Info."), std::string::npos);
  }
  for (const Bytes& bytes : damaged) {
    TempBox box(bytes);
    EXPECT_EQ(_BoxGarbageCollect(box.path().c_str()), BOX_GC_DAMAGED);
    EXPECT_EQ(readFile(box.path()), bytes);
  }
  EXPECT_EQ(_BoxGarbageCollect("/nonexistent/KQDATE.BOX"), BOX_GC_UNREADABLE);
}

TEST(Collector, StaleTemporariesOfAnEarlierCrashAreRemoved) {
  TempBox box(bookWithGarbage(20).bytes, "KQTODO.BOX");
  std::ofstream(box.dir() + "/.KQTODO.BOX.vorn-gc.abc123") << "half a box";
  ASSERT_EQ(_BoxGarbageCollect(box.path().c_str()), 0);
  EXPECT_TRUE(leftovers(box.dir()).empty());
}

// Makes the n-th call of one file operation fail.
int failAt = 0;
int calls = 0;
bool failNow() { return ++calls == failAt; }
ssize_t failingWrite(int fd, const void* b, size_t n) {
  if (failNow()) return errno = ENOSPC, -1;
  return ::write(fd, b, n);
}
int failingFsync(int fd) { return failNow() ? (errno = EIO, -1) : ::fsync(fd); }
int failingRename(const char* a, const char* b) { return failNow() ? (errno = EIO, -1) : ::rename(a, b); }

TEST(CollectorCrashSafety, AnyFailingWriteLeavesTheOldBox) {
  const Bytes old = bookWithGarbage(700).bytes;
  const size_t writes = (old.size() + kCollectorWriteChunk - 1) / kCollectorWriteChunk;
  const CollectorIo real = collectorIo;
  for (int op = 0; op < 3; ++op) {
    for (failAt = 1; failAt <= (op == 0 ? static_cast<int>(writes) : 1); ++failAt) {
      calls = 0;
      collectorIo = real;
      if (op == 0) collectorIo.write = failingWrite;
      if (op == 1) collectorIo.fsync = failingFsync;
      if (op == 2) collectorIo.rename = failingRename;
      TempBox box(old);
      EXPECT_NE(_BoxGarbageCollect(box.path().c_str()), 0) << op << " " << failAt;
      EXPECT_EQ(readFile(box.path()), old);
      EXPECT_TRUE(leftovers(box.dir()).empty());
    }
  }
  collectorIo = real;
}

// Kills the process just before its n-th file operation.
int killAt = 0;
bool killNow() {
  if (++calls == killAt) raise(SIGKILL);
  return false;
}
ssize_t killingWrite(int fd, const void* b, size_t n) { return killNow() ? -1 : ::write(fd, b, n); }
int killingFsync(int fd) { return killNow() ? -1 : ::fsync(fd); }
int killingRename(const char* a, const char* b) { return killNow() ? -1 : ::rename(a, b); }

TEST(CollectorCrashSafety, KilledAtEveryStepLeavesOldOrNewComplete) {
  const Bytes old = bookWithGarbage(3000).bytes;
  Bytes collected;
  {
    TempBox box(old);
    ASSERT_EQ(_BoxGarbageCollect(box.path().c_str()), 0);
    collected = readFile(box.path());
  }
  // The steps: the writes of the new box, its flush, the rename, the
  // directory's flush.  Killed before the rename the old box stays, after
  // it the new one is there, whole.
  const int writes = static_cast<int>((collected.size() + kCollectorWriteChunk - 1) / kCollectorWriteChunk);
  const int renameStep = writes + 2;
  for (killAt = 1; killAt <= renameStep + 1; ++killAt) {
    TempBox box(old);
    const pid_t child = fork();
    if (child == 0) {
      calls = 0;
      collectorIo = {killingWrite, killingFsync, killingRename};
      _exit(_BoxGarbageCollect(box.path().c_str()));
    }
    int status = 0;
    waitpid(child, &status, 0);
    ASSERT_TRUE(WIFSIGNALED(status) && WTERMSIG(status) == SIGKILL) << killAt;
    EXPECT_EQ(readFile(box.path()), killAt <= renameStep ? old : collected) << "killed at step " << killAt;
    // A later collection finishes the job and clears what the killed one left.
    ASSERT_EQ(_BoxGarbageCollect(box.path().c_str()), 0);
    EXPECT_EQ(readFile(box.path()), collected);
    EXPECT_TRUE(leftovers(box.dir()).empty());
  }
}

}  // namespace
