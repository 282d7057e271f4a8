// boxtool: checks and reports on box files for people and scripts.
//
//   boxtool check [--json] [--quiet] [--jobs N] BOX...
//   boxtool info [--json] BOX
//   boxtool export [--format json|csv] [--deleted] [--encoding NAME] [--fields-from SOUND.BOX] [-o FILE] BOX
//   boxtool recover [--json] [--deleted] [--fields-from SOUND.BOX] [--force] BROKEN.BOX NEW.BOX
//   boxtool compact [--dry-run] [--backup] BOX
//
// A usage error exits 16; each subcommand's own exit status is its own.
#include <CLI/CLI.hpp>
#include <cerrno>
#include <cstring>
#include <new>
#include <sstream>
#include <vector>

#include "analysed_file.h"
#include "command.h"
#include "printable.h"

#ifndef BOXTOOL_VERSION
#error "BOXTOOL_VERSION must give the program's version"
#endif

namespace {

// What went wrong on the command line, in words that name the culprit, and
// where to read more: the subcommand's own help when one was named.
int usageError(const std::string& what, const std::string& subcommand) {
  std::fprintf(stderr, "boxtool: %s\nRun 'boxtool %s--help' for more information.\n", printable(what).c_str(),
               subcommand.empty() ? "" : (subcommand + " ").c_str());
  return exit_status::kUsage;
}

// The first argument before "--" that looks like an option the subcommand
// does not have; empty when there is none.
std::string unknownOption(const CLI::App& sub, int argc, char** argv, int from) {
  for (int k = from; k < argc; ++k) {
    std::string arg = argv[k];
    if (arg == "--") break;
    if (arg.size() < 2 || arg[0] != '-') continue;
    const std::string name = arg.substr(0, arg.find('='));
    bool known = name == "-h" || name == "--help";
    for (const CLI::Option* option : sub.get_options()) {
      for (const std::string& s : option->get_snames())
        known = known || name == "-" + s || arg.rfind("-" + s, 0) == 0;
      for (const std::string& l : option->get_lnames()) known = known || name == "--" + l;
    }
    if (!known) return arg;
  }
  return "";
}

// Flushes standard output; when a write to it failed, says why and gives
// the status of output not written (a bit of check's status).
int checkedOutput(int status, bool bitmask) {
  const std::string error = outputError();
  if (error.empty()) return status;
  std::fprintf(stderr, "boxtool: standard output: %s\n", error.c_str());
  return bitmask ? status | exit_status::kNotWritten : exit_status::kNotWritten;
}

// Runs the subcommand; when memory runs out, says so for the box it was
// given ("boxtool: BOX: out of memory") and gives the status of a file that
// could not be read.  check says it for each file itself.
int runCommand(const Command& command) {
  try {
    return command.run();
  } catch (const std::bad_alloc&) {
    std::string box;
    for (const CLI::Option* option : command.app->get_options()) {
      if (box.empty() && option->get_positional() && !option->results().empty()) box = option->results()[0];
    }
    std::fprintf(stderr, "boxtool: %s%sout of memory\n", printable(box).c_str(), box.empty() ? "" : ": ");
    return exit_status::kNotAnalysed;
  }
}

int run(int argc, char** argv) {
  CLI::App app("Checks box files and reports on them, for people and for scripts.", "boxtool");
  app.set_version_flag("--version", "boxtool " BOXTOOL_VERSION);
  app.require_subcommand(1);
  const std::vector<Command> commands = {addCheckCommand(app), addInfoCommand(app), addExportCommand(app),
                                         addRecoverCommand(app), addCompactCommand(app)};
  // The subcommand named, and an option it does not have, before CLI11's
  // own words ("A subcommand is required" for both).
  std::string named;
  if (argc > 1 && argv[1][0] != '-') {
    for (const Command& command : commands)
      if (command.app->get_name() == argv[1]) named = argv[1];
    if (named.empty()) {
      return usageError(std::string("'") + argv[1] +
                            "' is not a subcommand; the subcommands are check, info, export, "
                            "recover and compact",
                        "");
    }
    const std::string unknown = unknownOption(*app.get_subcommand(named), argc, argv, 2);
    if (!unknown.empty()) {
      const bool fileLike = unknown.rfind("--", 0) != 0;
      return usageError(
          "unknown option '" + unknown + "'" +
              (fileLike ? " (a box whose name begins with '-' is given as ./NAME, or after --)" : ""),
          named);
    }
  } else if (argc > 1 && std::strcmp(argv[1], "--help") != 0 && std::strcmp(argv[1], "-h") != 0 &&
             std::strcmp(argv[1], "--version") != 0) {
    return usageError(std::string("unknown option '") + argv[1] + "'", "");
  }
  try {
    app.parse(argc, argv);
  } catch (const CLI::Success& e) {  // --help or --version
    std::ostringstream text;
    const int status = app.exit(e, text, text);
    std::fputs(text.str().c_str(), stdout);
    return checkedOutput(status, false);
  } catch (const CLI::ParseError& e) {
    return usageError(e.what(), named);
  }
  for (const Command& command : commands) {
    if (command.app->parsed()) return checkedOutput(runCommand(command), command.app->get_name() == "check");
  }
  return exit_status::kUsage;
}

}  // namespace

// Whatever goes wrong ends with a line that says so, never with an abort.
int main(int argc, char** argv) {
  try {
    return run(argc, argv);
  } catch (const std::bad_alloc&) {
    std::fputs("boxtool: out of memory\n", stderr);
  } catch (const std::exception& e) {
    std::fprintf(stderr, "boxtool: %s\n", printable(e.what()).c_str());
  }
  return exit_status::kNotAnalysed;
}
