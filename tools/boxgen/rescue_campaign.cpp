// Runs trials of the rescue (rescue_trial.h) over every field table and
// every kind of damage, and reports per kind of damage how many of the
// records whose bytes the damage did not touch the new boxes kept, how many
// records they hold that were never cards of the box, and how often the
// rescue said nothing was missing while such a record was.  The records
// are counted as kept when the damaged box's own field table could not be
// taken and the sound box's was given (as --fields-from gives it); the last
// column counts them as lost then.
//
//   rescue_campaign [SEEDS] [FIRST_SEED]      (default 70 seeds from 1)
#include <cstdio>
#include <cstdlib>

#include "rescue_trial.h"

using namespace boxtest;

namespace {

double percent(size_t part, size_t whole) {
  return whole ? 100.0 * static_cast<double>(part) / static_cast<double>(whole) : 100.0;
}

}  // namespace

int main(int argc, char** argv) {
  const unsigned seeds = argc > 1 ? static_cast<unsigned>(std::strtoul(argv[1], nullptr, 10)) : 70;
  const unsigned first = argc > 2 ? static_cast<unsigned>(std::strtoul(argv[2], nullptr, 10)) : 1;
  size_t runs = 0, intact = 0, kept = 0, alone = 0, invented = 0, falseWhole = 0, refused = 0, failed = 0;
  std::printf("%-24s %6s %8s %8s %7s %8s %6s %7s %7s\n", "damage", "runs", "intact", "kept", "kept %",
              "invented", "false0", "refused", "alone %");
  for (int d = 0; d < kDamageCount; ++d) {
    size_t dRuns = 0, dIntact = 0, dKept = 0, dAlone = 0, dInvented = 0, dFalse = 0, dRefused = 0;
    for (int t = 0; t < kTableCount; ++t) {
      for (unsigned s = first; s < first + seeds; ++s) {
        const Trial trial{static_cast<Table>(t), static_cast<Damage>(d), s};
        const TrialResult r = runTrial(trial);
        ++dRuns;
        dIntact += r.intact;
        dKept += r.intactKept;
        dAlone += r.intactAlone;
        dInvented += r.invented;
        dFalse += r.falseWhole;
        dRefused += r.refused;
        failed += r.failed;
        if (!r.note.empty() && (r.intactKept < r.intact || r.invented || r.falseWhole || r.failed))
          std::fprintf(stderr, "%s, %s, seed %u: %s%s\n", damageName(trial.damage), tableName(trial.table), s,
                       r.note.c_str(), r.falseWhole ? " (said nothing is missing)" : "");
      }
    }
    std::printf("%-24s %6zu %8zu %8zu %6.2f%% %8zu %6zu %7zu %6.2f%%\n", damageName(static_cast<Damage>(d)),
                dRuns, dIntact, dKept, percent(dKept, dIntact), dInvented, dFalse, dRefused,
                percent(dAlone, dIntact));
    runs += dRuns;
    intact += dIntact;
    kept += dKept;
    alone += dAlone;
    invented += dInvented;
    falseWhole += dFalse;
    refused += dRefused;
  }
  std::printf("%-24s %6zu %8zu %8zu %6.2f%% %8zu %6zu %7zu %6.2f%%\n", "all", runs, intact, kept,
              percent(kept, intact), invented, falseWhole, refused, percent(alone, intact));
  if (failed) std::printf("%zu runs made no box even with the sound box's field table\n", failed);
  return 0;
}
