// boxtool export's command line; export.cpp does the work.
#include "command.h"
#include "export_records.h"

Command addExportCommand(CLI::App& boxtool) {
  auto args = std::make_shared<ExportArguments>();
  CLI::App* app = boxtool.add_subcommand("export", "The records of a box file as JSON or CSV");
  app->add_option("--format", args->format, "json (default) or csv")->check(CLI::IsMember({"json", "csv"}));
  app->add_flag("--deleted", args->deleted, "Add the deleted records the collector has not yet overwritten");
  app->add_option("--encoding", args->encoding,
                  "The encoding of the texts (default UTF-8; EUC-JP, SHIFT_JIS, ...)");
  app->add_option("-o,--output", args->output, "Write to FILE instead of standard output")->type_name("FILE");
  app->add_flag("-f,--force", args->force, "Replace FILE also when it is read-only");
  app->add_option("--fields-from", args->fieldsFrom,
                  "Read the values with the field table of this box of the same application")
      ->type_name("SOUND.BOX");
  addProgressOptions(app, args->progress);
  addBoxArgument(app, args->path);
  return {app, [args] { return runExport(*args); }};
}
