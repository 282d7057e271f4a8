// The garbage collector: compacts a box file in a crash-safe way.
#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <climits>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include "box_format.h"
#include "boxlib.h"
#include "collection_refusal.h"
#include "collector_io.h"
#include "findings.h"
#include "silent_analysis.h"

CollectorIo collectorIo = {::write, ::fsync, ::rename};

namespace {
// The new offset of a record the collection drops.
constexpr uint32_t kDropped = UINT32_MAX;
}  // namespace

namespace {

// Offset table Errors that collection does not repair: a link to a card that
// is no offset card, a loop, a run cut off by the end of the file.  Wrong
// entries it repairs, since it rewrites every entry.
constexpr uint32_t kUnrepairableTable =
    displayCode(code::table::kNotOffsetCard | code::table::kLinkLoops | code::table::kRunPastEnd);

}  // namespace

std::string collectionRefusal(const BoxAnalysis& a) {
  const uint32_t header = a.headerCheck->level;
  const uint32_t table = a.offsetTable.level;
  if (header & code::kCritical) return "the box header is broken (a Critical finding)";
  if (a.itemInfo->level & code::kCritical) return "the item info lies outside the file (a Critical finding)";
  if (a.chain->level & code::kCritical) return "the card chain has a Critical finding";
  if (table & code::kCritical) return "the offset table has a Critical finding";
  // The header's only Errors are its four totals, which are rewritten.
  if (a.itemInfo->level & code::kError) return "the item info is damaged";
  if (a.chain->level & code::kError) return "the card chain is broken: the trace gave up";
  if ((table & code::kError) && (table & kUnrepairableTable))
    return "the chain of offset cards is broken (a link to no offset card, a loop, or a run past the end)";
  for (size_t i = 0; i < a.chain->cards.size(); ++i) {
    const CardRecord& card = a.chain->cards[i];
    if (card.level & code::kFailing) {
      char where[96];
      std::snprintf(where, sizeof where, "card %zu at 0x%06x, ID 0x%04x, is damaged", i, card.offset,
                    card.id);
      return where;
    }
  }
  // Everything before the first card is copied as it stands, so that is
  // where the item info must lie: behind it, it could be inside a garbage
  // card that the collection drops (its place there is only unusual).
  const uint64_t first = a.headerCheck->firstCardOffset();
  const uint64_t itemInfoEnd = uint64_t{a.headerCheck->itemInfoOffset()} + a.headerCheck->itemInfoSize();
  if (first > a.file.size || itemInfoEnd > first) return "the item info does not lie before the first card";
  if (a.chain->normalCount > UINT16_MAX) return "more normal cards than the header can count";
  return "";
}

namespace {

// Writes a run's entries and link at entriesAt in the new box: every entry
// the new offset of the first card with its ID (0 for a free ID).
void rewriteRun(std::vector<uint8_t>& out, uint64_t entriesAt, const OffsetSegment& run, uint32_t link,
                const cardChain& chain, const std::vector<uint32_t>& moved) {
  const uint64_t linkAt = entriesAt + box::kOffsetEntrySize * uint64_t{run.count};
  if (linkAt + box::kOffsetEntrySize > out.size()) return;
  for (uint32_t j = 0; j < run.count; ++j) {
    const int32_t found = chain.findById(static_cast<uint16_t>(run.firstId + j));
    const uint32_t value = found < 0 ? 0 : moved[static_cast<size_t>(found)];
    encodeFixed32(out.data() + entriesAt + box::kOffsetEntrySize * uint64_t{j},
                  value == kDropped ? 0 : value);
  }
  encodeFixed32(out.data() + linkAt, link);
}

// The compacted box.  Everything before the first card (header, default
// table, item info) is copied and then updated; the cards follow in their
// order without the garbage ones.
std::vector<uint8_t> compact(const BoxAnalysis& a) {
  const cardChain& chain = *a.chain;
  const uint8_t* data = a.file.data;
  const uint32_t first = a.headerCheck->firstCardOffset();
  std::vector<uint8_t> out(data, data + first);

  // New offset of every record, kDropped for the dropped ones.
  std::vector<uint32_t> moved(chain.cards.size(), kDropped);
  bool terminated = false;
  for (size_t i = 0; i < chain.cards.size(); ++i) {
    const CardRecord& card = chain.cards[i];
    if (card.id == box::kGarbageId) continue;
    terminated = box::isTerminatorAt(card.offset, card.id, a.file.size);
    const uint64_t length = terminated ? box::kTerminatorSize : uint64_t{box::kCardHeadSize} + card.size;
    moved[i] = static_cast<uint32_t>(out.size());
    out.insert(out.end(), data + card.offset, data + card.offset + length);
  }
  if (!terminated) appendFixed16(out, box::kTerminatorId);

  // The offset table's runs, in the order the analysis walks them; each link
  // gets the new place of the next run's offset card.
  const std::vector<OffsetSegment> runs = offsetRuns(a.file.view(), chain);
  for (size_t s = 0; s < runs.size(); ++s) {
    const OffsetSegment& run = runs[s];
    const uint64_t entriesAt =
        run.card < 0 ? run.offset : uint64_t{moved[static_cast<size_t>(run.card)]} + box::kCardHeadSize;
    const uint32_t link = s + 1 < runs.size() ? moved[static_cast<size_t>(runs[s + 1].card)] : 0;
    rewriteRun(out, entriesAt, run, link, chain, moved);
  }

  encodeFixed32(out.data() + box::kGarbageSizeField, 0);
  encodeFixed16(out.data() + box::kDataSizeField, static_cast<uint16_t>(chain.normalCount));
  encodeFixed16(out.data() + box::kLeastNullIdField, chain.leastNullId);
  encodeFixed16(out.data() + box::kMaxIdField, chain.maxId);
  return out;
}

std::string directoryOf(const std::string& path) {
  const size_t slash = path.rfind('/');
  return slash == std::string::npos ? std::string(".") : path.substr(0, slash == 0 ? 1 : slash);
}

std::string baseOf(const std::string& path) {
  const size_t slash = path.rfind('/');
  return slash == std::string::npos ? path : path.substr(slash + 1);
}

// Temporary files of an earlier collection of the same box that did not
// finish: they hold nothing the box still needs.
void removeStaleTemporaries(const std::string& dir, const std::string& prefix) {
  DIR* d = opendir(dir.c_str());
  if (!d) return;
  while (const dirent* e = readdir(d)) {
    if (std::strncmp(e->d_name, prefix.c_str(), prefix.size()) == 0) {
      unlinkat(dirfd(d), e->d_name, 0);
    }
  }
  closedir(d);
}

bool writeAll(int fd, const std::vector<uint8_t>& bytes) {
  size_t done = 0;
  while (done < bytes.size()) {
    const size_t piece = std::min(kCollectorWriteChunk, bytes.size() - done);
    const ssize_t n = collectorIo.write(fd, bytes.data() + done, piece);
    if (n < 0 && errno == EINTR) continue;
    if (n <= 0) return false;
    done += static_cast<size_t>(n);
  }
  return true;
}

// Writes bytes beside the box, flushes them and renames them over it.
int replaceBox(const std::string& box, const std::vector<uint8_t>& bytes, const struct stat& st) {
  const std::string dir = directoryOf(box);
  // Built by appending: GCC 12 at -O3 warns falsely on "." + string.
  std::string prefix = ".";
  prefix += baseOf(box);
  prefix += ".vorn-gc.";
  removeStaleTemporaries(dir, prefix);

  std::string temp = dir + "/" + prefix + "XXXXXX";
  const int fd = mkostemp(temp.data(), O_CLOEXEC);
  if (fd < 0) return BOX_GC_WRITE_FAILED;
  const bool written =
      fchmod(fd, st.st_mode & 07777) == 0 &&
      (fchown(fd, st.st_uid, st.st_gid) == 0 || (errno == EPERM && st.st_uid == geteuid())) &&
      writeAll(fd, bytes) && collectorIo.fsync(fd) == 0;
  if (close(fd) != 0 || !written) {
    unlink(temp.c_str());
    return BOX_GC_WRITE_FAILED;
  }
  if (collectorIo.rename(temp.c_str(), box.c_str()) != 0) {
    unlink(temp.c_str());
    return BOX_GC_REPLACE_FAILED;
  }
  // Make the rename itself durable.
  const int dirFd = open(dir.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
  if (dirFd >= 0) {
    collectorIo.fsync(dirFd);
    close(dirFd);
  }
  return 0;
}

}  // namespace

extern "C" int _BoxGarbageCollect(const char* path) {
  if (!path) return BOX_GC_UNREADABLE;
  // Replace the file itself, not a symbolic link that leads to it.
  char resolved[PATH_MAX];
  if (!realpath(path, resolved)) return BOX_GC_UNREADABLE;

  SilentAnalysis check(resolved);
  if (!check.ran() || check.analysis.file.shrank()) return BOX_GC_UNREADABLE;
  if (!collectionRefusal(check.analysis).empty()) return BOX_GC_DAMAGED;

  struct stat st;
  if (fstat(check.analysis.file.fd, &st) != 0) return BOX_GC_UNREADABLE;
  const std::vector<uint8_t> compacted = compact(check.analysis);
  // A box that shrank while it was copied has zeros in the copy: never write it.
  if (check.analysis.file.shrank()) return BOX_GC_UNREADABLE;
  return replaceBox(resolved, compacted, st);
}
