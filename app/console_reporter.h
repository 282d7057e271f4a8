// The findings sink of the command-line mode: every delivered entry as a
// position line, every finding as a line below it, debug lines as they come,
// all on one stream in delivery order.
//
// The Japanese debug lines are EUC-JP, as the handheld wrote them.  When the
// stream is a terminal whose locale's character set is another, they are
// converted to it, so that a person can read them; a pipe or a file gets the
// handheld's bytes.
#pragma once

#include <cstdio>

#include "reporter.h"

class ConsoleReporter : public Reporter {
 public:
  // out is not owned; the command line writes to standard output.
  explicit ConsoleReporter(FILE* out = stdout);
  ~ConsoleReporter() override;

  void message(const char* format, va_list args) override __attribute__((format(printf, 2, 0)));
  void entry(int32_t index, uint32_t offset, uint32_t id, uint32_t size, uint32_t code, const char* text,
             const char* format, va_list args) override __attribute__((format(printf, 8, 0)));

  // Flushes the stream: 0, or the error of the first write that failed.
  int finish();

 private:
  void noteError();

  FILE* out_;
  int error_ = 0;
  void* toTerminal_ = nullptr;  // an iconv_t from EUC-JP to the terminal's set, or null
};
