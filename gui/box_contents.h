// What the window shows of one box file beside the form: its records as
// boxtool export lists them, info's report, and the map of its bytes, all
// made from one analysis of the file as boxtool analyses it.  Loaded on the
// engine's thread (loadBoxContents runs analyses), shown on the window's.
#pragma once

#include <QString>

#include <atomic>
#include <memory>
#include <string>

#include "export_records.h"
#include "file_map.h"
#include "info_report.h"

struct BoxContents {
  QString path;         // as local_path.h keeps it
  std::string problem;  // why the file could not be read; nothing else is set then
  std::unique_ptr<RecordListing> listing;
  Report report;
  FileMap map;

  const AnalysedFile& file() const { return listing->box(); }
};

// Reads and analyses the box file at path (its bytes) into contents.
std::shared_ptr<BoxContents> loadBoxContents(const QString& path);

// The progress of a job that shows it through boxtool's progress hook,
// for BackgroundRun: while it lives, currentProgress() reports into
// progress (0 to 300, as the window's bar counts).
struct RunProgress;
class ProgressHook {
 public:
  explicit ProgressHook(RunProgress& run);
  ~ProgressHook();
  ProgressHook(const ProgressHook&) = delete;
  ProgressHook& operator=(const ProgressHook&) = delete;

 private:
  std::unique_ptr<Progress> progress_;
};
