// boxtool compact: the box library's collector from the command line.  It
// drops the garbage (deleted) cards, keeps every other card with its ID and
// bytes, and rewrites the offset tables and the header totals; a damaged box
// it refuses, saying why.  --dry-run tells what it would do and writes
// nothing; --backup keeps the old box beside the new one.
#include <sys/stat.h>

#include <cstdio>
#include <memory>

#include "analysed_file.h"
#include "boxlib.h"
#include "collection.h"
#include "command.h"
#include "output_file.h"
#include "printable.h"

namespace {

struct CompactArguments {
  bool dryRun = false;
  bool backup = false;
  std::string path;
};

// What the collection drops and the size it leaves, by the collector's plan.
void describe(const BoxAnalysis& a, const std::string& shown, bool dryRun) {
  const CompactionPlan plan = compactionPlan(a);
  std::string list;
  for (const CompactionPlan::Dropped& d : plan.dropped) {
    if (d.cards > 1) {
      list += format("  cards %zu to %zu at 0x%06x, %llu bytes (empty deleted cards back to back)\n", d.card,
                     d.card + d.cards - 1, d.offset, static_cast<unsigned long long>(d.bytes));
    } else {
      list += format("  card %zu at 0x%06x, %llu bytes\n", d.card, d.offset,
                     static_cast<unsigned long long>(d.bytes));
    }
  }
  const size_t count = plan.droppedCards;
  std::printf("%s: %s %zu deleted cards (%llu bytes)%s\n%s", shown.c_str(), dryRun ? "would drop" : "dropped",
              count, static_cast<unsigned long long>(plan.droppedBytes), count ? ":" : "", list.c_str());
  if (plan.addsTerminator)
    std::printf("%s: %s the missing terminator\n", shown.c_str(), dryRun ? "would add" : "added");
  std::printf("%s: %u bytes before, %llu bytes after\n", shown.c_str(), a.file.size,
              static_cast<unsigned long long>(plan.sizeAfter));
}

// Copies the box's bytes to path, which must not exist.
bool copyTo(const std::vector<uint8_t>& bytes, const std::string& path, std::string& error) {
  OutputFile out(path);
  if (out.write(bytes.data(), bytes.size()) && out.commit(false)) return true;
  error = out.error;
  return false;
}

int runCompact(const CompactArguments& args) {
  const std::string shown = printable(args.path);
  const std::string backup = args.path + ".bak";
  if (args.backup && !args.dryRun && pathExists(backup))
    return fail(backup, "exists; the backup never replaces a file", exit_status::kNotWritten);

  // The box as analysed: the collector refuses one that changed since, so
  // that what is printed is what was done.
  struct stat analysed {};
  const bool stated = stat(args.path.c_str(), &analysed) == 0;
  const AnalysedFile file(args.path);
  if (!file.analysed()) return fail(args.path, file.reason, exit_status::kNotAnalysed);
  const std::string refusal = collectionRefusal(*file.analysis);
  if (!refusal.empty()) {
    std::fprintf(stderr,
                 "boxtool: %s: the collector refuses this box: %s\n"
                 "boxtool: 'boxtool recover %s NEW.BOX' rescues its records into a new box\n",
                 shown.c_str(), refusal.c_str(), shown.c_str());
    return exit_status::kRefused;
  }
  if (args.dryRun) {
    describe(*file.analysis, shown, true);
    return exit_status::kClean;
  }

  // The collection renames the new box over the old one's name: other
  // names (hard links) of the old box keep the old box.
  if (stated && analysed.st_nlink > 1)
    std::fprintf(stderr,
                 "boxtool: %s: warning: the box has %llu other names (hard links); they keep the old box\n",
                 shown.c_str(), static_cast<unsigned long long>(analysed.st_nlink - 1));
  if (args.backup) {
    std::vector<uint8_t> bytes;
    std::string error = readBoxFile(args.path.c_str(), bytes);
    if (!error.empty()) return fail(args.path, error, exit_status::kNotAnalysed);
    if (!copyTo(bytes, backup, error)) return fail(backup, error, exit_status::kNotWritten);
  }
  if (stated) expectAnalysedBox(analysed);
  const int result = _BoxGarbageCollect(args.path.c_str()) & 0xFFFF;
  if (result != 0) {
    // The box is as it was; so is the copy, which is not needed.
    if (args.backup) std::remove(backup.c_str());
    const std::string why = collectionFailure();
    const std::string because = why.empty() ? "" : ": " + why;
    switch (result) {
      case BOX_GC_UNREADABLE:
        return fail(args.path, "the collector could not read the box" + because, exit_status::kNotAnalysed);
      case BOX_GC_DAMAGED:
        return fail(args.path, "the collector refuses this box; 'boxtool recover' rescues its records",
                    exit_status::kRefused);
      case BOX_GC_BUSY:
        return fail(args.path, why + "; the box is unchanged", exit_status::kNotWritten);
      case BOX_GC_CHANGED:
        return fail(args.path, why + "; the box is left as the other program made it",
                    exit_status::kNotWritten);
      case BOX_GC_WRITE_FAILED:
        return fail(args.path, "the compacted box could not be written" + because + "; the box is unchanged",
                    exit_status::kNotWritten);
      default:
        return fail(args.path,
                    "the compacted box could not replace the box" + because + "; the box is unchanged",
                    exit_status::kNotWritten);
    }
  }
  describe(*file.analysis, shown, false);
  if (args.backup) std::printf("%s: the old box is kept as %s\n", shown.c_str(), printable(backup).c_str());
  return exit_status::kClean;
}

}  // namespace

Command addCompactCommand(CLI::App& boxtool) {
  auto args = std::make_shared<CompactArguments>();
  CLI::App* app = boxtool.add_subcommand(
      "compact", "Drop the deleted cards of a box file with the box library's collector");
  app->add_flag("-n,--dry-run", args->dryRun, "Tell what would be dropped and the sizes; write nothing");
  app->add_flag("--backup", args->backup, "Keep the old box as BOX.bak (never replacing one)");
  addBoxArgument(app, args->path);
  return {app, [args] { return runCompact(*args); }};
}
