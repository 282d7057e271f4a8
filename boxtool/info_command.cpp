// boxtool info's command line; info.cpp does the work.
#include "command.h"
#include "info_report.h"

Command addInfoCommand(CLI::App& boxtool) {
  auto args = std::make_shared<InfoArguments>();
  CLI::App* app = boxtool.add_subcommand(
      "info", "Statistics of a box file: stored and counted totals, cards per class, fields, offset table");
  app->add_flag("--json", args->json, "One JSON object instead of text");
  addBoxArgument(app, args->path);
  return {app, [args] { return runInfo(*args); }};
}
