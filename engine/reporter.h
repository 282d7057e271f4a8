// The findings sink through which every check of the analysis reports.
//
// The engine knows only this interface; the console (command-line mode) and
// the result view (graphical mode) implement it.  Formats are printf-style and
// carry no line end: a sink that writes lines adds it.
#pragma once

#include <cstdarg>
#include <cstdint>

class Reporter {
 public:
  Reporter() = default;
  virtual ~Reporter();
  Reporter(const Reporter&) = delete;
  Reporter& operator=(const Reporter&) = delete;

  // One free-form diagnostic (debug) line.
  virtual void message(const char* format, va_list args) __attribute__((format(printf, 2, 0))) = 0;

  // One finding, or a position entry when code is 0.  index >= 0 is a card
  // index; -1 header, -2 item info, -3 offset table, -4 data chunks.  text is
  // null only for code 0; format may be null.
  virtual void entry(int32_t index, uint32_t offset, uint32_t id, uint32_t size, uint32_t code,
                     const char* text, const char* format, va_list args)
      __attribute__((format(printf, 8, 0))) = 0;

  // Progress of stage 0 (card chain trace), 1 (census) or 2 (offset table).
  // The analysis ignores the result.
  virtual int progress(int stage, int percent);
};

// A sink that shows nothing: delivery alone raises the levels that tell
// sound cards from damaged ones, for an analysis run for its results.
class SilentReporter : public Reporter {
 public:
  void message(const char*, va_list) override {}
  void entry(int32_t, uint32_t, uint32_t, uint32_t, uint32_t, const char*, const char*, va_list) override {}
};
