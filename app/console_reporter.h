// The findings sink of the command-line mode: every delivered entry as a
// position line, every finding as a line below it, debug lines as they come,
// all on one stream in delivery order.
#pragma once

#include <cstdio>

#include "reporter.h"

class ConsoleReporter : public Reporter {
 public:
  // out is not owned; the command line writes to standard output.
  explicit ConsoleReporter(FILE* out = stdout) : out_(out) {}

  void message(const char* format, va_list args) override __attribute__((format(printf, 2, 0)));
  void entry(int32_t index, uint32_t offset, uint32_t id, uint32_t size, uint32_t code, const char* text,
             const char* format, va_list args) override __attribute__((format(printf, 8, 0)));

 private:
  FILE* out_;
};
