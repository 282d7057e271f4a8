// boxtool check: the problem findings of box files, one line each, and a
// verdict per file, for people (text) and scripts (NDJSON, exit status).
#include <sched.h>
#include <unistd.h>

#include <cstdio>
#include <memory>
#include <new>
#include <vector>

#include "analysed_file.h"
#include "check_json.h"
#include "command.h"
#include "json_text.h"
#include "printable.h"
#include "worker_pool.h"

namespace {

struct CheckOptions {
  bool json = false;
  bool quiet = false;  // summaries only
};

// "card 49 at 0x0019d2, ID 0x0000" or "box header".
std::string place(const Finding& f) {
  if (!f.isCard()) return sectionName(f.index);
  return format("card %d at 0x%06x, ID 0x%04x", f.index, f.offset, f.id);
}

std::string findingLine(const std::string& path, const Finding& f) {
  return format("%s: %s: %s %08x ", path.c_str(), place(f).c_str(), severityName(f.code), f.code) +
         printable(f.text + f.detail) + "\n";
}

// A file that could not be analysed: its reason on standard error, and in
// JSON a summary that says so.
TaskOutput notAnalysed(const std::string& path, const std::string& reason, const CheckOptions& options) {
  TaskOutput output;
  output.status = exit_status::kNotAnalysed;
  output.err = "boxtool: " + printable(path) + ": " + printable(reason) + "\n";
  if (options.json) output.out = checkSummaryLine(path, {}, output.status, reason);
  return output;
}

// Everything check prints for one file, and its status bits.
TaskOutput checkOneFile(const std::string& path, const CheckOptions& options) {
  const AnalysedFile file(path);
  if (!file.analysed()) return notAnalysed(path, file.reason, options);
  TaskOutput output;
  output.status = file.status();
  if (options.json) {
    output.out = checkFileLines(file, options.quiet);
    return output;
  }
  const std::string shown = printable(path);
  if (!options.quiet) {
    for (const Finding& f : file.findings) output.out += findingLine(shown, f);
  }
  if (file.findings.empty()) {
    output.out += shown + ": no problems found\n";
  } else {
    output.out += format("%s: %u critical, %u errors, %u warnings\n", shown.c_str(), file.counts.critical,
                         file.counts.errors, file.counts.warnings);
  }
  return output;
}

// A file whose analysis needs more memory than there is is one that could
// not be analysed; the other files are still checked.
TaskOutput checkFile(const std::string& path, const CheckOptions& options) {
  try {
    return checkOneFile(path, options);
  } catch (const std::bad_alloc&) {
    return notAnalysed(path, "out of memory", options);
  }
}

unsigned processorCount() {
  cpu_set_t set;
  if (sched_getaffinity(0, sizeof set, &set) == 0) return static_cast<unsigned>(CPU_COUNT(&set));
  const long online = sysconf(_SC_NPROCESSORS_ONLN);
  return online > 0 ? static_cast<unsigned>(online) : 1;
}

struct CheckArguments {
  CheckOptions options;
  Progress::Mode progress = Progress::Mode::kAuto;
  unsigned jobs = processorCount();
  std::vector<std::string> paths;
};

// After several files, one line that sums them up.
std::string totalLine(size_t files, const size_t byStatus[4], size_t notAnalysed) {
  return format(
      "%zu files: %zu without problems, %zu with warnings only, %zu with errors, %zu not analysed\n", files,
      byStatus[0], byStatus[1], byStatus[2] + byStatus[3], notAnalysed);
}

int runCheck(const CheckArguments& args) {
  int status = exit_status::kClean;
  size_t done = 0;
  size_t byStatus[4] = {};  // files by their status bits 0..3
  size_t unreadable = 0;
  Progress progress("check", args.progress);
  // A single file's own analysis shows its progress; several files, the
  // files done.
  if (args.paths.size() == 1) setCurrentProgress(&progress);
  const TaskRunner runner{[&](size_t i) { return checkFile(args.paths[i], args.options); },
                          [&](size_t i, const std::string& why) {
                            return notAnalysed(args.paths[i], "analysis " + why, args.options);
                          },
                          [&](const TaskOutput& output) {
                            progress.clear();
                            writeOut(output.out);
                            if (!output.err.empty()) {
                              flushOutput();  // keep the two streams in file order on a terminal
                              std::fwrite(output.err.data(), 1, output.err.size(), stderr);
                            }
                            status |= output.status;
                            if (output.status & exit_status::kNotAnalysed) {
                              ++unreadable;
                            } else {
                              ++byStatus[output.status & 3];
                            }
                            progress.show(++done, args.paths.size(), "files");
                          }};
  runTasksInOrder(args.paths.size(), args.jobs, runner);
  setCurrentProgress(nullptr);
  progress.clear();
  if (args.paths.size() > 1 && !args.options.json) {
    const std::string total = totalLine(args.paths.size(), byStatus, unreadable);
    writeOut(total);
  }
  return status;
}

}  // namespace

Command addCheckCommand(CLI::App& boxtool) {
  auto args = std::make_shared<CheckArguments>();
  CLI::App* app = boxtool.add_subcommand(
      "check", "Check box files: one line per problem (Warning, Error, Critical), a summary per file");
  app->add_flag("--json", args->options.json, "One JSON object per line (NDJSON) instead of text");
  app->add_flag("-q,--quiet", args->options.quiet, "Print only the summary of each file");
  app->add_option("-j,--jobs", args->jobs, "Check N files at a time (default: the number of processors)")
      ->type_name("N")
      ->check(CLI::Range(1u, kMaxJobs));
  addProgressOptions(app, args->progress);
  app->add_option("BOX", args->paths, "Box files to check")->required()->type_name("");
  return {app, [args] { return runCheck(*args); }};
}
