#include "result_reporter.h"

#include <cstdio>

#include "entry_format.h"

ResultReporter::ResultReporter(std::shared_ptr<FindingsTree> l, std::shared_ptr<RunProgress> bar, bool e)
    : list(std::move(l)), progressBar(std::move(bar)), echo(e) {}

ResultReporter::~ResultReporter() = default;

void ResultReporter::message(const char* format, va_list args) {
  if (!progressBar->cancelled) writeDebugLine(stderr, format, args);
}

void ResultReporter::entry(int32_t index, uint32_t offset, uint32_t id, uint32_t size, uint32_t code,
                           const char* text, const char* format, va_list args) {
  if (progressBar->cancelled) return;
  const bool known = list->find(index) >= 0;
  va_list echoArgs;
  va_copy(echoArgs, args);
  char buffer[kDetailBuffer];
  const char* detail = nullptr;
  if (code != 0 && format) {
    std::vsnprintf(buffer, sizeof buffer, format, args);  // cut to the buffer
    detail = buffer;
  }
  list->file(index, offset, id, size, code, text, detail);
  if (echo) {
    if (!known) writePositionLine(stderr, index, offset, id, size);
    if (code != 0) writeFindingLine(stderr, code, text, format, echoArgs);
  }
  va_end(echoArgs);
}

int ResultReporter::progress(int stage, int percent) {
  // The window resets the bar as the run starts, shows it from the third
  // call on and moves it to stage * 100 + percent.
  ++calls;
  progressBar->value = stage * 100 + percent;
  progressBar->calls = calls;
  return 1;
}
