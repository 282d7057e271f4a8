#include "analysed_file.h"

#include <sys/stat.h>

#include "printable.h"
#include "progress.h"
#include "report_scope.h"
#include "reporter.h"

namespace {

constexpr uint32_t kProblemBits = code::kCritical | code::kError | code::kWarning;
constexpr uint32_t kNoOffset = 0xFFFFFFFF;

// Keeps the problem findings; everything else is dropped.
class ProblemCollector : public SilentReporter {
 public:
  explicit ProblemCollector(std::vector<Finding>& findings) : findings_(findings) {}

  int progress(int stage, int percent) override {
    if (Progress* p = currentProgress()) p->show(analysisPercent(stage, percent), 100);
    return 1;
  }
  void entry(int32_t index, uint32_t offset, uint32_t id, uint32_t size, uint32_t code, const char* text,
             const char* format, va_list args) override __attribute__((format(printf, 8, 0))) {
    if ((code & kProblemBits) == 0) return;
    findings_.push_back(
        {index, offset, id, size, code, text ? text : "", format ? vformat(format, args) : ""});
  }

 private:
  std::vector<Finding>& findings_;
};

}  // namespace

AnalysedFile::AnalysedFile(const std::string& path, uint32_t readLimit) : path(path) {
  struct stat st;
  if (stat(path.c_str(), &st) == 0 && S_ISREG(st.st_mode) && static_cast<uint64_t>(st.st_size) <= readLimit) {
    reason = readBoxFile(path.c_str(), bytes_);
    if (!reason.empty()) return;
    analysis = std::make_unique<BoxAnalysis>(ByteView(bytes_.data(), static_cast<uint32_t>(bytes_.size())));
  } else {
    analysis = std::make_unique<BoxAnalysis>(path.c_str());
    reason = analysis->file.problem;
    if (!reason.empty()) {
      analysis.reset();
      return;
    }
  }
  analyse();
}

AnalysedFile::AnalysedFile(const std::string& path, ByteView bytes) : path(path) {
  analysis = std::make_unique<BoxAnalysis>(bytes);
  reason = analysis->file.problem;
  if (!reason.empty()) {
    analysis.reset();
    return;
  }
  analyse();
}

void AnalysedFile::analyse() {
  {
    ProblemCollector collector(findings);
    ReportScope scope(&collector, {});
    analysis->run();
  }
  if (analysis->file.shrank()) {
    // What was found before describes a file that changed under the read.
    reason = "the file shrank while it was being analysed";
    findings.clear();
    analysis.reset();
    return;
  }
  const CardList& cards = analysis->chain->cards;
  for (Finding& f : findings) {
    if (f.isCard() && f.offset == kNoOffset && static_cast<size_t>(f.index) < cards.size())
      f.offset = cards[static_cast<size_t>(f.index)].offset;
    if (f.code & code::kCritical)
      ++counts.critical;
    else if (f.code & code::kError)
      ++counts.errors;
    else
      ++counts.warnings;
  }
}

int AnalysedFile::status() const {
  if (!analysed()) return exit_status::kNotAnalysed;
  // One bit per kind of finding, as over the files of a run: a file with
  // Warnings and Errors gives both.
  int status = exit_status::kClean;
  if (counts.critical + counts.errors > 0) status |= exit_status::kErrors;
  if (counts.warnings > 0) status |= exit_status::kWarnings;
  return status;
}
