#include "command.h"

void addProgressOptions(CLI::App* app, Progress::Mode& mode) {
  app->add_flag_callback(
      "--progress", [&mode] { mode = Progress::Mode::kAlways; },
      "Show progress on standard error even when it is not a terminal");
  app->add_flag_callback(
      "--no-progress", [&mode] { mode = Progress::Mode::kNever; }, "Show no progress");
}

void addBoxArgument(CLI::App* app, std::string& path, const char* name, const char* help) {
  app->add_option(name, path, help)->required()->type_name("");
}
