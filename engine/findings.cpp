#include "findings.h"

#include "card_record.h"
#include "mapping_guard.h"
#include "reporter.h"

Reporter* currentReporter = nullptr;
bool debug = false;
bool verbose = false;
bool noisy = false;
int32_t lastIndex = 0;
uint32_t lastOffset = 0;
uint32_t lastId = 0;
uint32_t lastSize = 0;
time_t lastProgressTime = 0;

namespace {
time_t systemClock() { return time(nullptr); }
ProgressClock progressClock = systemClock;
}  // namespace

ReportTarget::ReportTarget(CardRecord& record) : level_(record.level) {}

Reporter::~Reporter() = default;

int Reporter::progress(int /*stage*/, int /*percent*/) { return 1; }

namespace {

// The sections, from -1 down: the handheld's names and boxtool's.
struct SectionNames {
  const char* title;
  const char* name;
};
constexpr SectionNames kSections[] = {{"Box header", "box header"},
                                      {"Item info", "item info"},
                                      {"Offset table", "offset table"},
                                      {"Data chunck", "data chunks"}};

const SectionNames* section(int32_t index) {
  return index < 0 && index >= kDataChunkSection ? &kSections[-1 - index] : nullptr;
}

}  // namespace

const char* sectionTitle(int32_t index) {
  const SectionNames* s = section(index);
  return s ? s->title : nullptr;
}

const char* sectionName(int32_t index) {
  const SectionNames* s = section(index);
  return s ? s->name : "unknown section";
}

const char* severityName(uint32_t code) {
  if (code & code::kCritical) return "Critical";
  if (code & code::kError) return "Error";
  if (code & code::kWarning) return "Warning";
  return nullptr;
}

void vreport(ReportTarget target, int32_t index, uint32_t offset, uint32_t id, uint32_t size, uint32_t code,
             const char* text, const char* format, va_list args) {
  // A file that shrank under the analysis reads as zeros from there on:
  // nothing more is delivered about it.
  if (currentReporter && !mapping_guard::anyLost()) {
    // First gate: card positions without a severity bit need noisy.
    const bool passesFirst = noisy || index < 0 || (code & code::kDeliveryMask) != 0;
    // Second gate: listing lines need verbose.
    const bool passesSecond = verbose || (code & code::kInfo) == 0;
    if (passesFirst && passesSecond) {
      currentReporter->entry(index, offset, id, size, code, text, format, args);
      target.level() |= code;
    }
  }
  lastIndex = index;
  lastOffset = offset;
  lastId = id;
  lastSize = size;
}

void report(ReportTarget target, int32_t index, uint32_t offset, uint32_t id, uint32_t size, uint32_t code,
            const char* text, const char* format, ...) {
  va_list args;
  va_start(args, format);
  vreport(target, index, offset, id, size, code, text, format, args);
  va_end(args);
}

void reportAt(ReportTarget target, int32_t index, uint32_t code, const char* text, const char* format, ...) {
  va_list args;
  va_start(args, format);
  vreport(target, index, lastOffset, lastId, lastSize, code, text, format, args);
  va_end(args);
}

void reportHere(ReportTarget target, uint32_t code, const char* text, const char* format, ...) {
  va_list args;
  va_start(args, format);
  vreport(target, lastIndex, lastOffset, lastId, lastSize, code, text, format, args);
  va_end(args);
}

void reportProgress(int stage, uint64_t done, uint64_t total) {
  const time_t now = progressClock();
  if (lastProgressTime >= now) return;
  uint64_t percent = done * 100 / (total + 1);
  if (percent > 100) percent = 100;
  if (currentReporter && !mapping_guard::anyLost())
    currentReporter->progress(stage, static_cast<int>(percent));
  lastProgressTime = now;
}

void debugMessage(const char* format, ...) {
  if (!debug || !currentReporter || mapping_guard::anyLost()) return;
  va_list args;
  va_start(args, format);
  currentReporter->message(format, args);
  va_end(args);
}

void setProgressClock(ProgressClock clock) { progressClock = clock ? clock : systemClock; }

void resetReportState() {
  currentReporter = nullptr;
  debug = verbose = noisy = false;
  lastIndex = 0;
  lastOffset = lastId = lastSize = 0;
  lastProgressTime = 0;
}
