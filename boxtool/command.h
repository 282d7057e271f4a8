// The subcommands of boxtool.  Each lives in a file of its own and adds
// itself with one function: it declares its options on its own CLI11
// subcommand of the program and returns what runs it once the command line
// has been parsed.  main() lists the functions.
#pragma once

#include <CLI/CLI.hpp>
#include <functional>

#include "progress.h"

struct Command {
  CLI::App* app;             // the subcommand, to tell whether it was chosen
  std::function<int()> run;  // runs it; returns the exit status
};

// --progress and --no-progress: the progress display on standard error
// always, or never, instead of on a terminal only.
void addProgressOptions(CLI::App* app, Progress::Mode& mode);

// The box argument a subcommand requires.
void addBoxArgument(CLI::App* app, std::string& path, const char* name = "BOX",
                    const char* help = "The box file");

// A subcommand's error exit is fail() (printable.h), which its work
// without the command line shares.

Command addCheckCommand(CLI::App& boxtool);
Command addInfoCommand(CLI::App& boxtool);
Command addExportCommand(CLI::App& boxtool);
Command addCompactCommand(CLI::App& boxtool);
Command addRecoverCommand(CLI::App& boxtool);
