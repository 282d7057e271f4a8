// The garbage collector: compacts a box file in a crash-safe way.
#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <climits>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <optional>
#include <string>
#include <vector>

#include "box_format.h"
#include "boxlib.h"
#include "collection.h"
#include "findings.h"
#include "output_file.h"
#include "silent_analysis.h"
#include "text_coding.h"

namespace {

// The new offset of a record the collection drops.
constexpr uint32_t kDropped = UINT32_MAX;

// The Errors of the offset table that collection does not repair: a link to
// a card that is no offset card, a loop, a run cut off by the end of the
// file.  Wrong entries it repairs, since it rewrites every entry.
constexpr uint32_t kUnrepairableTable =
    displayCode(code::table::kNotOffsetCard | code::table::kLinkLoops | code::table::kRunPastEnd);

}  // namespace

bool refusesCollection(int32_t index, uint32_t code) {
  if (code & code::kCritical) return true;
  if (!(code & code::kError)) return false;
  // The header's only Errors are its four totals, which are rewritten.
  if (index == kHeaderSection) return false;
  return index != kOffsetTableSection || (displayCode(code) & kUnrepairableTable) != 0;
}

std::string collectionRefusal(const BoxAnalysis& a) {
  struct Part {
    int32_t section;
    uint32_t level;
    const char* critical;  // the reason for a Critical
    const char* error;     // the reason for an Error that refuses
  };
  const Part parts[] = {
      {kHeaderSection, a.headerCheck->level, "the box header is broken (a Critical finding)", ""},
      {kItemInfoSection, a.itemInfo->level, "the item info lies outside the file (a Critical finding)",
       "the item info is damaged"},
      {kDataChunkSection, a.chain->level, "the card chain has a Critical finding",
       "the card chain is broken: the trace gave up"},
      {kOffsetTableSection, a.offsetTable.level, "the offset table has a Critical finding",
       "the chain of offset cards is broken (a link to no offset card, a loop, or a run past the end)"},
  };
  for (const Part& p : parts) {
    if (p.level & code::kCritical) return p.critical;
  }
  for (const Part& p : parts) {
    if (refusesCollection(p.section, p.level)) return p.error;
  }
  // The cards of a run of empty deleted cards have nothing delivered
  // against them: a run is judged by its first card.
  std::string damaged;
  a.chain->cards.forEachStored([&](const CardList::Stored& s) {
    if (damaged.empty() && refusesCollection(static_cast<int32_t>(s.first), s.record.level))
      damaged = format("card %zu at 0x%06x, ID 0x%04x, is damaged", s.first, s.record.offset, s.record.id);
  });
  if (!damaged.empty()) return damaged;
  // Everything before the first card is copied as it stands, so that is
  // where the item info must lie: behind it, it could be inside a garbage
  // card that the collection drops (its place there is only unusual).
  const uint64_t first = a.headerCheck->firstCardOffset();
  const uint64_t itemInfoEnd = uint64_t{a.headerCheck->itemInfoOffset()} + a.headerCheck->itemInfoSize();
  if (first > a.file.size || itemInfoEnd > first) return "the item info does not lie before the first card";
  if (a.chain->normalCount > UINT16_MAX) return "more normal cards than the header can count";
  return "";
}

uint64_t cardBytes(const CardRecord& card, uint64_t fileSize) {
  return box::isTerminatorAt(card.offset, card.id, fileSize) ? box::kTerminatorSize
                                                             : uint64_t{box::kCardHeadSize} + card.size;
}

CompactionPlan compactionPlan(const BoxAnalysis& a) {
  CompactionPlan plan;
  plan.sizeAfter = a.headerCheck->firstCardOffset();
  bool terminated = false;
  a.chain->cards.forEachStored([&](const CardList::Stored& s) {
    const CardRecord& card = s.record;
    const uint64_t bytes = cardBytes(card, a.file.size) * s.count;
    // A damaged card is no garbage card, whatever its ID (the collector
    // refuses a box with one).
    if (card.id == box::kGarbageId && !(card.level & code::kFailing)) {
      plan.dropped.push_back({s.first, card.offset, bytes, s.count});
      plan.droppedCards += s.count;
      plan.droppedBytes += bytes;
      return;
    }
    terminated = terminated || box::isTerminatorAt(card.offset, card.id, a.file.size);
    plan.sizeAfter += bytes;
  });
  plan.addsTerminator = !terminated;
  if (plan.addsTerminator) plan.sizeAfter += box::kTerminatorSize;
  return plan;
}

namespace {

// The new offsets of the cards kept, by card index ascending.
using Moved = std::vector<std::pair<size_t, uint32_t>>;

// The new offset of the card at index; kDropped when it was dropped.
uint32_t newOffset(const Moved& moved, size_t index) {
  const auto found = std::lower_bound(moved.begin(), moved.end(), std::make_pair(index, uint32_t{0}));
  return found != moved.end() && found->first == index ? found->second : kDropped;
}

// Writes a run's entries and link at entriesAt in the new box: every entry
// the new offset of the first card with its ID (0 for a free ID).
void rewriteRun(std::vector<uint8_t>& out, uint64_t entriesAt, const OffsetSegment& run, uint32_t link,
                const cardChain& chain, const Moved& moved) {
  const uint64_t linkAt = entriesAt + box::kOffsetEntrySize * uint64_t{run.count};
  if (linkAt + box::kOffsetEntrySize > out.size()) return;
  for (uint32_t j = 0; j < run.count; ++j) {
    const int32_t found = chain.findById(static_cast<uint16_t>(run.firstId + j));
    const uint32_t value = found < 0 ? 0 : newOffset(moved, static_cast<size_t>(found));
    encodeFixed32(out.data() + entriesAt + box::kOffsetEntrySize * uint64_t{j},
                  value == kDropped ? 0 : value);
  }
  encodeFixed32(out.data() + linkAt, link);
}

// The compacted box.  Everything before the first card (header, default
// table, item info) is copied and then updated; the cards follow in their
// order without those the plan drops.
std::vector<uint8_t> compact(const BoxAnalysis& a, const CompactionPlan& plan) {
  const cardChain& chain = *a.chain;
  const uint8_t* data = a.file.data;
  const uint32_t first = a.headerCheck->firstCardOffset();
  std::vector<uint8_t> out(data, data + first);
  out.reserve(plan.sizeAfter);

  Moved moved;
  auto drop = plan.dropped.begin();
  chain.cards.forEachStored([&](const CardList::Stored& s) {
    if (drop != plan.dropped.end() && drop->card == s.first) {
      ++drop;
      return;
    }
    const CardRecord& card = s.record;
    moved.emplace_back(s.first, static_cast<uint32_t>(out.size()));
    out.insert(out.end(), data + card.offset, data + card.offset + cardBytes(card, a.file.size));
  });
  if (plan.addsTerminator) appendFixed16(out, box::kTerminatorId);

  // The offset table's runs, in the order the analysis walks them; each link
  // gets the new place of the next run's offset card.
  const std::vector<OffsetSegment> runs = offsetRuns(a.file.view(), chain);
  for (size_t s = 0; s < runs.size(); ++s) {
    const OffsetSegment& run = runs[s];
    const uint64_t entriesAt =
        run.card < 0 ? run.offset
                     : uint64_t{newOffset(moved, static_cast<size_t>(run.card))} + box::kCardHeadSize;
    const uint32_t link = s + 1 < runs.size() ? newOffset(moved, static_cast<size_t>(runs[s + 1].card)) : 0;
    rewriteRun(out, entriesAt, run, link, chain, moved);
  }

  encodeFixed32(out.data() + box::kGarbageSizeField, 0);
  encodeFixed16(out.data() + box::kDataSizeField, static_cast<uint16_t>(chain.normalCount));
  encodeFixed16(out.data() + box::kLeastNullIdField, chain.leastNullId);
  encodeFixed16(out.data() + box::kMaxIdField, chain.maxId);
  return out;
}

thread_local std::string lastFailure;
thread_local std::optional<struct stat> analysedBox;

int failure(int code, const std::string& why) {
  lastFailure = why;
  return code;
}

// Writes bytes beside the box, flushes them and renames them over it,
// unless the box is no longer the file st describes.
int replaceBox(const std::string& box, const std::vector<uint8_t>& bytes, const struct stat& st) {
  OutputFile out(box, "vorn-gc");
  out.replaceOnlyIfUnchanged(st);
  if (out.keepModeAndOwner(st) && out.write(bytes.data(), bytes.size()) && out.commit(true)) return 0;
  switch (out.failed) {
    case OutputFile::Step::kChanged:
      return failure(BOX_GC_CHANGED, out.error);
    case OutputFile::Step::kReplace:
      return failure(BOX_GC_REPLACE_FAILED, out.error);
    default:
      return failure(BOX_GC_WRITE_FAILED, out.error);
  }
}

// The box file opened and locked against other collections; the lock goes
// with the descriptor.
class BoxLock {
 public:
  explicit BoxLock(const char* path) {
    // A collection that replaced the box while this one waited to open it
    // leaves the lock on the old file: take it on the file the name holds.
    for (int attempt = 0; attempt < 3; ++attempt) {
      fd_ = open(path, O_RDONLY | O_CLOEXEC);
      if (fd_ < 0) {
        code_ = failure(BOX_GC_UNREADABLE, std::strerror(errno));
        return;
      }
      if (flock(fd_, LOCK_EX | LOCK_NB) != 0) {
        const int why = errno;
        code_ = why == EWOULDBLOCK ? failure(BOX_GC_BUSY, "another program is writing this box")
                                   : failure(BOX_GC_UNREADABLE, std::strerror(why));
        return;
      }
      struct stat named;
      if (fstat(fd_, &st) == 0 && stat(path, &named) == 0 && named.st_ino == st.st_ino &&
          named.st_dev == st.st_dev) {
        code_ = 0;
        return;
      }
      close(fd_);
      fd_ = -1;
    }
    code_ = failure(BOX_GC_BUSY, "another program is writing this box");
  }
  ~BoxLock() {
    if (fd_ >= 0) close(fd_);
  }
  BoxLock(const BoxLock&) = delete;
  BoxLock& operator=(const BoxLock&) = delete;

  int code() const { return code_; }
  struct stat st {};  // the box as it was when the lock was taken

 private:
  int fd_ = -1;
  int code_ = BOX_GC_UNREADABLE;
};

bool sameState(const struct stat& a, const struct stat& b) {
  return a.st_dev == b.st_dev && a.st_ino == b.st_ino && a.st_size == b.st_size &&
         a.st_mtim.tv_sec == b.st_mtim.tv_sec && a.st_mtim.tv_nsec == b.st_mtim.tv_nsec;
}

}  // namespace

std::string collectionFailure() { return lastFailure; }

void expectAnalysedBox(const struct stat& analysed) { analysedBox = analysed; }

// NOLINTNEXTLINE(bugprone-reserved-identifier): the library's own name
extern "C" int _BoxGarbageCollect(const char* path) {
  lastFailure.clear();
  const std::optional<struct stat> analysed = analysedBox;
  analysedBox.reset();
  if (!path) return BOX_GC_UNREADABLE;
  // Replace the file itself, not a symbolic link that leads to it.
  char resolved[PATH_MAX];
  if (!realpath(path, resolved)) return failure(BOX_GC_UNREADABLE, std::strerror(errno));
  const BoxLock lock(resolved);
  if (lock.code() != 0) return lock.code();
  if (analysed && !sameState(*analysed, lock.st))
    return failure(BOX_GC_CHANGED, "the box changed after it was analysed");

  SilentAnalysis check(resolved);
  if (!check.ran()) return BOX_GC_UNREADABLE;
  if (check.analysis.file.shrank()) return failure(BOX_GC_CHANGED, "the file shrank while it was being read");
  if (!collectionRefusal(check.analysis).empty()) return BOX_GC_DAMAGED;

  // What was read is the box the lock was taken on, as it was then.
  struct stat st;
  if (fstat(check.analysis.file.fd, &st) != 0) return failure(BOX_GC_UNREADABLE, std::strerror(errno));
  if (!sameState(st, lock.st)) return failure(BOX_GC_CHANGED, "the file changed while it was being read");
  const std::vector<uint8_t> compacted = compact(check.analysis, compactionPlan(check.analysis));
  // A box that shrank while it was copied has zeros in the copy: never write it.
  if (check.analysis.file.shrank()) return failure(BOX_GC_CHANGED, "the file shrank while it was being read");
  return replaceBox(resolved, compacted, st);
}
