#include "box_contents.h"

#include "local_path.h"
#include "result_reporter.h"

std::shared_ptr<BoxContents> loadBoxContents(const QString& path) {
  auto contents = std::make_shared<BoxContents>();
  contents->path = path;
  auto file = std::make_shared<const AnalysedFile>(localFileName(path).toStdString());
  if (!file->analysed()) {
    contents->problem = file->reason;
    return contents;
  }
  contents->listing = std::make_unique<RecordListing>(file);
  if (!contents->listing->problem().empty()) {
    contents->problem = contents->listing->problem();
    contents->listing.reset();
    return contents;
  }
  contents->report = makeReport(*file);
  contents->map = FileMap(*contents->listing);
  return contents;
}

ProgressHook::ProgressHook(RunProgress& run)
    : progress_(std::make_unique<Progress>(std::string(), Progress::Mode::kNever)) {
  progress_->setObserver([&run](uint64_t done, uint64_t total) {
    run.value = total ? static_cast<int>(done * 300 / total) : 0;
    ++run.calls;
  });
  setCurrentProgress(progress_.get());
}

ProgressHook::~ProgressHook() { setCurrentProgress(nullptr); }
