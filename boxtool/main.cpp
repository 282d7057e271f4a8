// boxtool: checks and reports on box files for people and scripts.
//
//   boxtool check [--json] [--quiet] [--jobs N] BOX...
//   boxtool info [--json] BOX
//   boxtool export [--format json|csv] [--deleted] [--encoding NAME] [-o FILE] BOX
//   boxtool recover [--deleted] [--fields-from SOUND.BOX] [--force] BROKEN.BOX NEW.BOX
//   boxtool compact [--dry-run] [--backup] BOX
//
// A usage error exits 16; each subcommand's own exit status is its own.
#include <CLI/CLI.hpp>
#include <vector>

#include "analysed_file.h"
#include "command.h"

#ifndef BOXTOOL_VERSION
#error "BOXTOOL_VERSION must give the program's version"
#endif

int main(int argc, char** argv) {
  CLI::App app("Checks box files and reports on them, for people and for scripts.", "boxtool");
  app.set_version_flag("--version", "boxtool " BOXTOOL_VERSION);
  app.require_subcommand(1);
  app.failure_message([](const CLI::App*, const CLI::Error& e) {
    return "boxtool: " + std::string(e.what()) + "\nRun 'boxtool --help' for more information.\n";
  });
  const std::vector<Command> commands = {addCheckCommand(app), addInfoCommand(app), addExportCommand(app),
                                         addRecoverCommand(app), addCompactCommand(app)};
  try {
    app.parse(argc, argv);
  } catch (const CLI::ParseError& e) {
    const int status = app.exit(e);  // prints the help, the version or the error
    return status == 0 ? 0 : exit_status::kUsage;
  }
  for (const Command& command : commands) {
    if (command.app->parsed()) return command.run();
  }
  return exit_status::kUsage;
}
